// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "remote/ControlSocket.h"
#include "remote/SFTPService.h"
#include "support/SlowProxy.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QTest>

#include <future>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// Ends the test function, so it cannot be a function itself.
#define NEED_ACCOUNTS()                                                                                                \
    if (!m_sshd->hasAccounts())                                                                                        \
    QSKIP("Only root can give the test server accounts.")

constexpr qint64 largeFileBytes = 24 * 1024 * 1024;

ConnectionCredentials withPassword(const QString &password = TestServer::password())
{
    ConnectionCredentials secrets;
    secrets.password = password;
    return secrets;
}

/// Clients this program has started and that still run.
QStringList runningClients()
{
    QStringList found;
    for (const qint64 process : descendants(::getpid())) {
        const QByteArray name = contentOf(u"/proc/%1/comm"_s.arg(process)).trimmed();
        if (name == "sftp" || name == "ssh")
            found << QString::fromLatin1(name);
    }
    return found;
}

} // namespace

/// What goes wrong on the way to a server and back, with a real sshd and the real clients.
class ServerFailureTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_sshd = std::make_unique<TestServer>();
        m_clients = std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
    }

    void cleanupTestCase() { m_sshd.reset(); }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>(m_sshd->sharedPath() + u"/t-XXXXXX"_s);
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777));
        m_temporary = std::make_unique<QTemporaryDir>();
        qputenv("TMPDIR", m_temporary->path().toUtf8());
    }

    /// Whatever happened, no secret and no client stays.
    void cleanup()
    {
        for (const auto &service : m_services)
            service->disconnect();
        m_services.clear();
        qunsetenv("TMPDIR");
        QCOMPARE(QDir(m_temporary->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
        QCOMPARE(runningClients(), QStringList());
    }

    void wrongPasswordIsTriedOnceAndExplained()
    {
        NEED_ACCOUNTS();
        SFTPService &service = make(m_sshd->connectionByPassword(TestServer::user()), withPassword(u"no"_s));
        const QString message = messageOf([&] { service.connect(neverStops); });
        QVERIFY2(message.startsWith(u"Could not connect: 127.0.0.1 did not accept the login of "
                                    "“moorix-test”. Check user name and password, or the key.\n"_s),
                 qPrintable(message));
        QCOMPARE(message.count(u"Permission denied"_s), 1);
    }

    void passphraseThatOpensNoKeyIsNeverOfferedAsPassword()
    {
        NEED_ACCOUNTS();
        ServerConnection server = m_sshd->connectionByPassword(TestServer::user());
        server.authMethod = AuthMethod::privateKeyFile;
        server.privateKeyPath = m_sshd->encryptedKeyPath();
        ConnectionCredentials secrets;
        secrets.passphrase = TestServer::password();
        const int before = m_clients->runs(u"/usr/bin/sftp"_s);
        const QString message = messageOf([&] { make(server, secrets).connect(neverStops); });
        QVERIFY2(message.startsWith(u"Authentication failed: the passphrase does not open the key."_s),
                 qPrintable(message));
        QCOMPARE(m_clients->runs(u"/usr/bin/sftp"_s), before);
        secrets.passphrase = TestServer::passphrase();
        make(server, secrets).connect(neverStops);
    }

    void pastedKeyOpensTheAccountAndIsGoneAfterwards()
    {
        ServerConnection server = m_sshd->connection();
        server.authMethod = AuthMethod::privateKeyPasted;
        ConnectionCredentials secrets;
        secrets.privateKeyText = QString::fromUtf8(contentOf(m_sshd->keyPath()));
        SFTPService &service = make(server, secrets);
        service.connect(neverStops);
        service.list(u"/"_s, HiddenFiles::asTheSourceDoes, neverStops);
    }

    void accountWithoutShellCopiesChangesAndDeletesFolders()
    {
        NEED_ACCOUNTS();
        SFTPService &service = make(m_sshd->connectionByPassword(TestServer::userWithoutShell()), withPassword());
        service.connect(neverStops);
        const QString from = at("from");
        service.createDirectory(from, neverStops);
        service.createDirectory(from + u"/in\\ner"_s, neverStops);
        service.write("1", from + u"/in\\ner/.hidden"_s, neverStops);
        FileItem folder = *service.stat(from, neverStops);
        service.copy(folder, at("copy"), neverStops);
        QCOMPARE(service.read(at("copy/in\\ner/.hidden"), neverStops), QByteArray("1"));
        putFile(at("outside"), "kept");
        QVERIFY(QFile::link(at("outside"), from + u"/link"_s));
        service.setPermissions(from, u"700"_s, Recursive::yes, neverStops);
        QVERIFY(!(QFile::permissions(from + u"/in\\ner/.hidden"_s) & QFile::ReadOther));
        QVERIFY(QFile::permissions(at("outside")) & QFile::ReadOther);
        service.remove(folder, neverStops);
        QVERIFY(!QFileInfo::exists(from));
        QVERIFY(QFileInfo::exists(at("outside")));
    }

    void fullDiskFailsTheUpload()
    {
        NEED_ACCOUNTS();
        SFTPService &service = make(m_sshd->connection(), {});
        service.connect(neverStops);
        const QString target = m_sshd->fullDiskPath() + u"/file"_s;
        const QString message = messageOf([&] { service.write(QByteArray(200'000, 'x'), target, neverStops); });
        QVERIFY2(message.contains(u"write remote"_s), qPrintable(message));
        QVERIFY(service.freeSpace(m_sshd->fullDiskPath(), neverStops).value_or(-1) < 64 * 1024);
    }

    void foldersThatMayNotBeReadSayWhy()
    {
        NEED_ACCOUNTS();
        SFTPService &service = make(m_sshd->connectionByPassword(TestServer::user()), withPassword());
        service.connect(neverStops);
        QVERIFY(QDir(m_folder->path()).mkdir(u"locked"_s));
        putFile(at("locked/file"), "x");
        const auto messageWithMode = [&](int mode) {
            QFile::setPermissions(at("locked"), QFile::Permissions(mode));
            return messageOf([&] { service.list(at("locked"), HiddenFiles::asTheSourceDoes, neverStops); });
        };
        QVERIFY(messageWithMode(0x7700).contains(u"could not be listed: permission denied."_s));
        QVERIFY(messageWithMode(0x7744).contains(u"may not enter this folder"_s));
        QCOMPARE(messageWithMode(0x7755), QString());
    }

    void linksLeftOutOfATreeAreReported()
    {
        SFTPService &service = make(m_sshd->connection(), {});
        service.connect(neverStops);
        QVERIFY(QDir(m_folder->path()).mkdir(u"tree"_s));
        putFile(at("tree/file"), "1");
        QVERIFY(QFile::link(u"file"_s, at("tree/link")));
        const QString down = messageOf([&] { service.downloadRecursive(at("tree"), at("down"), neverStops); });
        QVERIFY2(down.startsWith(u"Copied without"_s) && down.contains(at("tree/link")), qPrintable(down));
        QVERIFY(QFileInfo::exists(at("down/file")));
        const QString up = messageOf([&] { service.uploadRecursive(at("tree"), at("up"), neverStops); });
        QVERIFY2(up.startsWith(u"Copied without"_s), qPrintable(up));
        QVERIFY(QFileInfo::exists(at("up/file")));
    }

    void serverThatDiesInTheMiddleOfAnUploadFailsIt()
    {
        TestServer sshd;
        SlowProxy proxy(sshd.port());
        SFTPService &service = makeThrough(proxy, sshd);
        auto upload = startTransfer(proxy, [&](const auto &options, const std::stop_token &stop) {
            service.upload(at("large"), at("target"), options, stop);
        });
        sshd.kill();
        proxy.resume();
        const QString message = messageOf([&] { upload.get(); });
        QVERIFY2(message.startsWith(u"Could not connect: the connection to 127.0.0.1 was lost."_s),
                 qPrintable(message));
    }

    void lineThatBreaksInTheMiddleOfADownloadFailsIt()
    {
        SlowProxy proxy(m_sshd->port());
        SFTPService &service = makeThrough(proxy, *m_sshd);
        auto download = startTransfer(proxy, [&](const auto &options, const std::stop_token &stop) {
            service.download(at("large"), at("target"), options, stop);
        });
        proxy.cut();
        QVERIFY(caseOf([&] { download.get(); }) == FileServiceError::Case::connectionFailed);
    }

    void cancelledTransferLeavesNoProcess()
    {
        SlowProxy proxy(m_sshd->port());
        SFTPService &service = makeThrough(proxy, *m_sshd);
        std::stop_source source;
        auto upload = startTransfer(proxy, [&](const auto &options, const std::stop_token &) {
            service.upload(at("large"), at("target"), options, source.get_token());
        });
        QVERIFY(!runningClients().isEmpty());
        source.request_stop();
        QVERIFY_THROWS_EXCEPTION(Cancelled, upload.get());
        QCOMPARE(runningClients(), QStringList());
    }

    void cancelledLoginLeavesNoProcess()
    {
        NEED_ACCOUNTS();
        SlowProxy proxy(m_sshd->port());
        proxy.stall();
        ServerConnection server = m_sshd->connectionByPassword(TestServer::user());
        server.port = proxy.port();
        SFTPService &service = make(server, withPassword());
        std::stop_source source;
        auto login = std::async(std::launch::async, [&] { service.connect(source.get_token()); });
        QTRY_VERIFY(runningClients().size() == 2);
        source.request_stop();
        QVERIFY_THROWS_EXCEPTION(Cancelled, login.get());
    }

    void progressGrowsAndNeverPassesTheSize_data()
    {
        QTest::addColumn<bool>("isUpload");
        QTest::newRow("upload") << true;
        QTest::newRow("download") << false;
    }

    void progressGrowsAndNeverPassesTheSize()
    {
        QFETCH(bool, isUpload);
        SlowProxy proxy(m_sshd->port());
        SFTPService &service = makeThrough(proxy, *m_sshd);
        auto transfer = startTransfer(proxy, [&](const auto &options, const std::stop_token &stop) {
            if (isUpload)
                service.upload(at("large"), at("target"), options, stop);
            else
                service.download(at("large"), at("target"), options, stop);
        });
        QTRY_VERIFY(m_lastProgress > 0);
        proxy.resume();
        transfer.get();
        QVERIFY(m_progressIsSound);
        QCOMPARE(QFileInfo(at("target")).size(), largeFileBytes);
    }

    void twoUsersOfOneRecordNeverShareAConnection()
    {
        NEED_ACCOUNTS();
        ServerConnection server = m_sshd->connection();
        SFTPService &first = make(server, {});
        first.connect(neverStops);
        QVERIFY(ControlSocket::isPresent(server));
        server.username = TestServer::user();
        SFTPService &second = make(server, {});
        second.connect(neverStops);
        QVERIFY(second.defaultDirectory(neverStops).endsWith(u'/' + TestServer::user()));
        second.write("x", at("whose"), neverStops);
        QVERIFY(QFileInfo(at("whose")).ownerId() != ::getuid());
    }

    void socketOfSomebodyElseIsNeverUsed()
    {
        NEED_ACCOUNTS();
        const ServerConnection server = m_sshd->connection();
        const QByteArray path = QFile::encodeName(ControlSocket::path(server));
        const int trap = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        QVERIFY(::bind(trap, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0);
        QVERIFY(::listen(trap, 1) == 0 && ::chown(path.constData(), 64001, 64001) == 0);
        QVERIFY(::chmod(path.constData(), 0777) == 0);
        SFTPService &service = make(server, {});
        service.connect(neverStops);
        QVERIFY(service.isConnected());
        service.disconnect();
        QVERIFY(QFile::exists(ControlSocket::path(server)));
        ::close(trap);
        ::unlink(path.constData());
    }

private:
    QString at(const char *name) const { return m_folder->path() + u'/' + QString::fromUtf8(name); }

    SFTPService &make(const ServerConnection &server, const ConnectionCredentials &secrets)
    {
        m_services.push_back(std::make_unique<SFTPService>(server, secrets, m_clients));
        return *m_services.back();
    }

    SFTPService &makeThrough(const SlowProxy &proxy, const TestServer &sshd)
    {
        ServerConnection server = sshd.connection();
        server.port = proxy.port();
        SFTPService &service = make(server, {});
        service.connect(neverStops);
        return service;
    }

    /// Starts a transfer of the file "large" on a thread and returns once the line stands still in its middle.
    std::future<void>
    startTransfer(SlowProxy &proxy,
                  std::function<void(const RemoteTransferOptions &, const std::stop_token &)> transfer)
    {
        putFile(at("large"), QByteArray(largeFileBytes, 'x'));
        m_lastProgress = 0;
        m_progressIsSound = true;
        RemoteTransferOptions options;
        options.progress = [this](qint64 bytes) {
            m_progressIsSound = m_progressIsSound && bytes >= m_lastProgress && bytes <= largeFileBytes;
            m_lastProgress = bytes;
        };
        auto running = std::async(std::launch::async, [=] { transfer(options, neverStops); });
        const qint64 before = proxy.bytesPassed();
        [&] { QTRY_VERIFY(proxy.bytesPassed() - before > largeFileBytes / 4); }();
        proxy.stall();
        return running;
    }

    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QTemporaryDir> m_temporary;
    std::vector<std::unique_ptr<SFTPService>> m_services;
    std::atomic<qint64> m_lastProgress = 0;
    std::atomic<bool> m_progressIsSound = true;
};

MOORIX_TEST(ServerFailureTest)
#include "ServerFailureTest.moc"
