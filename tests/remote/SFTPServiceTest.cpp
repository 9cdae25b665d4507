// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPService.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "remote/SSHAuthHelper.h"
#include "support/DelayProxy.h"
#include "support/FakeProcessRunner.h"
#include "support/FileServiceContract.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QProcess>

#include <future>

#include <sys/stat.h>

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
    return {password, {}, {}, {}};
}

/// Clients this program has started and that still run.
qsizetype runningClients()
{
    return childrenNamed("sftp").size() + childrenNamed("ssh").size();
}

enum class End { reached, serverDies, lineBreaks, cancelled };

} // namespace

/// The service against a real sshd through the real clients, and what goes wrong on the way. Whatever happened, no
/// secret and no client stays.
class SFTPServiceTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_sshd = std::make_shared<TestServer>();
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

    void cleanup()
    {
        for (const auto &service : m_services)
            service->disconnect();
        m_services.clear();
        qunsetenv("TMPDIR");
        QCOMPARE(QDir(m_temporary->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
        QCOMPARE(runningClients(), 0);
    }

    void hiddenFilesAreListedOnRequestOnly()
    {
        putFile(at("new"), "x");
        putFile(at(".hidden"), "x");
        QCOMPARE(namesOf(connected().list(m_folder->path(), HiddenFiles::asTheSourceDoes, neverStops)),
                 QStringList{u"new"_s});
    }

    // The names that `sftp`, a shell and `ls` would each misread; the others pass through the tests of quoting.
    void contractOfFileServicesHolds_data()
    {
        FileServiceContract::addRows({u"a\\b"_s, u"{a,b}"_s, u"$(touch x)"_s, u" *?[ab]'q\"#`id`;!$x\\ ü -> b"_s});
    }

    void contractOfFileServicesHolds() { FileServiceContract::runRow({connected(), m_folder->path()}); }

    void failuresInsideABatchAreThrown()
    {
        SFTPService &service = connected();
        const QString none = at("none");
        const FileItem item = entryAt(none);
        const std::function<void()> onNothing[] = {
            [&] { service.remove(item, neverStops); },
            [&] { service.list(none, HiddenFiles::asTheSourceDoes, neverStops); },
            [&] { service.read(none, neverStops); },
            [&] { service.createDirectory(none + u"/x"_s, neverStops); },
            [&] { service.setPermissions(none, u"644"_s, Recursive::no, neverStops); },
            [&] { service.rename(item, u"other"_s, neverStops); }};
        for (const auto &action : onNothing) {
            QCOMPARE(messageOf(action), u"Not found: "_s + none);
            QVERIFY(caseOf(action) == FileServiceError::Case::notFound);
        }
        const std::pair<QString, std::function<void()>> others[] = {
            {u"the server refused it without a reason."_s,
             [&] { service.createDirectory(m_folder->path(), neverStops); }},
            {u"No such file or directory"_s, [&] { service.write("x", none + u"/x"_s, neverStops); }},
            {u"No such file or directory"_s, [&] { service.upload(none, at("x"), {}, neverStops); }},
            {u"“%1” could not be copied"_s.arg(none), [&] { service.copyRemote(none, at("x"), neverStops); }}};
        for (const auto &[words, action] : others)
            QVERIFY2(messageOf(action).contains(words), qPrintable(messageOf(action)));
    }

    void failedClientIsAFailedConnection()
    {
        const auto messageAfter = [this](const ProcessResult &end) {
            SFTPService service(m_sshd->connection(), {},
                                std::make_shared<FakeProcessRunner>([end](const ProcessRequest &) { return end; }));
            return messageOf([&] { service.connect(neverStops); });
        };
        QCOMPARE(messageAfter({255, false, {}, " something new \r\n"}), u"Could not connect: something new"_s);
        QCOMPARE(messageAfter({255, false, {}, {}}), u"Could not connect: sftp exited with code 255"_s);
        QCOMPARE(messageAfter({9, true, {}, {}}),
                 u"Could not connect: sftp was ended by signal 9; the connection was probably lost"_s);
        // Names no home.
        QVERIFY(messageAfter({0, false, "?\nsftp> quit\n", {}}).startsWith(u"Could not connect"_s));
    }

    void clientThatMissesTheEndingMasterIsRunOnceMore()
    {
        const ProcessResult missed{255, false, {}, "mux_client_request_alive: write packet: Broken pipe\r\n"};
        int runs = 0;
        const auto processes = std::make_shared<FakeProcessRunner>([&](const ProcessRequest &) {
            return ++runs == 1 ? missed : FakeProcessRunner::success("Remote working directory: /home\n");
        });
        SFTPService service(m_sshd->connection(), {}, processes);
        service.connect(neverStops);
        QCOMPARE(runs, 2);
        SFTPService other(m_sshd->connection(), {}, std::make_shared<FakeProcessRunner>([&](const ProcessRequest &) {
                              ++runs;
                              return missed;
                          }));
        QVERIFY(messageOf([&] { other.connect(neverStops); }).contains(u"Broken pipe"_s));
        QCOMPARE(runs, 4);
    }

    void nothingIsDoneWithoutAConnection()
    {
        SFTPService &service = connected();
        service.disconnect();
        QVERIFY(caseOf([&] { service.list(u"/"_s, HiddenFiles::included, neverStops); }) ==
                FileServiceError::Case::notConnected);
        service.connect(neverStops);
        QCOMPARE(service.defaultDirectory(neverStops), QDir::homePath());
    }

    void refusedPathsStartNoProcess()
    {
        const auto started = [this] {
            return m_clients->runs(u"/usr/bin/sftp"_s) + m_clients->runs(u"/usr/bin/ssh"_s);
        };
        SFTPService &service = connected();
        const int before = started();
        const FileItem item = entryAt(u"/a\nb"_s);
        QCOMPARE(messageOf([&] { service.remove(item, neverStops); }), u"Path contains invalid control characters."_s);
        const QString longPath = u'/' + QString(2040, u'x');
        QVERIFY(messageOf([&] { service.createDirectory(longPath, neverStops); }).contains(u"this one has 2049"_s));
        QVERIFY(!messageOf([&] { service.rename(item, u"a/b"_s, neverStops); }).isEmpty());
        QVERIFY(!messageOf([&] { service.setPermissions(u"/a"_s, u"u+x"_s, Recursive::no, neverStops); }).isEmpty());
        QCOMPARE(started(), before);
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
        ConnectionCredentials secrets{{}, {}, {}, TestServer::password()};
        const int before = m_clients->runs(u"/usr/bin/sftp"_s);
        const QString message = messageOf([&] { make(server, secrets).connect(neverStops); });
        QVERIFY2(message.startsWith(u"Authentication failed: the passphrase does not open the key."_s),
                 qPrintable(message));
        QCOMPARE(m_clients->runs(u"/usr/bin/sftp"_s), before);
        secrets.passphrase = TestServer::passphrase();
        make(server, secrets).connect(neverStops);
        // It opens this one, which the server does not accept, and it would open the account.
        const TestTree keys;
        server.privateKeyPath = keys.path("unknown");
        secrets.passphrase = TestServer::password();
        QCOMPARE(QProcess::execute(u"ssh-keygen"_s, {u"-q"_s, u"-t"_s, u"ed25519"_s, u"-N"_s, *secrets.passphrase,
                                                     u"-f"_s, *server.privateKeyPath}),
                 0);
        QVERIFY(messageOf([&] { make(server, secrets).connect(neverStops); }).contains(u"did not accept the"_s));
    }

    void pastedKeyOpensTheAccountAndIsGoneAfterwards()
    {
        ServerConnection server = m_sshd->connection();
        server.authMethod = AuthMethod::privateKeyPasted;
        const QString key = QString::fromUtf8(contentOf(m_sshd->keyPath()));
        connected(server, {{}, key, {}, {}}).list(u"/"_s, HiddenFiles::asTheSourceDoes, neverStops);
    }

    void accountWithoutShellDoesTheSame_data()
    {
        FileServiceContract::addRows({u"in\\ner"_s}, {u"trees are copied, moved and removed whole"_s,
                                                      u"permissions are set on the item or the tree"_s,
                                                      u"a whole tree is told as its folders are"_s});
    }

    void accountWithoutShellDoesTheSame()
    {
        NEED_ACCOUNTS();
        FileServiceContract::runRow({connectedAs(TestServer::userWithoutShell()), m_folder->path()});
    }

    void accountThatMayNotReadEverythingTellsTheRest_data()
    {
        FileServiceContract::addRows({}, {u"a whole tree is told as its folders are"_s});
    }

    void accountThatMayNotReadEverythingTellsTheRest()
    {
        NEED_ACCOUNTS();
        FileServiceContract::runRow({connectedAs(TestServer::user()), m_folder->path()});
    }

    void filesAreReplacedEvenWhereNothingIsRenamedOverAnother()
    {
        NEED_ACCOUNTS();
        SFTPService &service = connectedAs(TestServer::userWithoutShell());
        const auto written = [&](const QByteArray &content) {
            service.write(content, at("new"), neverStops);
            return at("new");
        };
        service.write("1", at("file"), neverStops);
        service.moveRemote(written("2"), at("file"), neverStops);
        QCOMPARE(snapshotOf(m_folder->path()), (TreeSnapshot{{u"file"_s, "2"}}));
        std::vector<RemoteStep> steps{{RemoteStep::Kind::replace, written("3"), at("file")},
                                      {RemoteStep::Kind::replace, at("missing"), at("file")}};
        service.takeSteps(steps, neverStops);
        QVERIFY(steps.at(0).state == RemoteStep::State::done && steps.at(1).state == RemoteStep::State::failed);
        QVERIFY(!messageOf([&] { service.moveRemote(at("missing"), at("file"), neverStops); }).isEmpty());
        QCOMPARE(snapshotOf(m_folder->path()), (TreeSnapshot{{u"file"_s, "3"}}));
    }

    void farAwayTheShellTakesManyStepsAndTheClientWhatItCannot()
    {
        DelayProxy proxy(m_sshd->port(), std::chrono::milliseconds(100));
        ServerConnection server = m_sshd->connection();
        server.port = proxy.port();
        SFTPService &service = connected(server);
        // Which tells how far away it is.
        service.list(m_folder->path(), HiddenFiles::included, neverStops);
        const QString odd = at("-n $(x) \"a\\b' ü");
        QDir folder(m_folder->path());
        const auto steps = [&] {
            putFile(odd, "new");
            putFile(at("old"), "old");
            folder.mkpath(u"part/inner"_s);
            using Kind = RemoteStep::Kind;
            return std::vector<RemoteStep>{{Kind::replace, odd, at("old")},
                                           {Kind::rename, at("old"), odd},
                                           {Kind::remove, at("missing")},
                                           {Kind::renameFolder, at("part"), at("folder")},
                                           {Kind::setMode, at("folder"), {}, u"750"_s},
                                           {Kind::removeFolder, at("folder/inner")},
                                           {Kind::remove, odd}};
        };
        std::vector<RemoteStep> all = steps();
        const int before = m_clients->runs(u"/usr/bin/sftp"_s);
        service.takeSteps(all, neverStops);
        for (const RemoteStep &step : all)
            QVERIFY2(step.state == RemoteStep::State::done, qPrintable(step.path + step.failure));
        QCOMPARE(m_clients->runs(u"/usr/bin/sftp"_s), before);
        QCOMPARE(snapshotOf(m_folder->path()), (TreeSnapshot{{u"folder/"_s, {}}}));
        QCOMPARE(QFile::permissions(at("folder")) & 0x77, QFile::Permissions(0x50));
        // What stands in the way stays, and is told in the client's words.
        QVERIFY(folder.rmdir(u"folder"_s) && folder.mkdir(u"taken"_s));
        putFile(at("file"), "stays");
        all = steps();
        const std::vector<RemoteStep> refused{{RemoteStep::Kind::rename, at("old"), at("file")},
                                              {RemoteStep::Kind::replace, at("file"), at("taken")},
                                              {RemoteStep::Kind::rename, at("file"), at("taken")}};
        all.insert(all.begin() + 1, refused.begin(), refused.end());
        service.takeSteps(all, neverStops);
        for (std::size_t i = 0; i < all.size(); ++i)
            QCOMPARE(all.at(i).failure.isEmpty(), i < 1 || i > refused.size());
        QCOMPARE(snapshotOf(m_folder->path()),
                 (TreeSnapshot{{u"folder/"_s, {}}, {u"taken/"_s, {}}, {u"file"_s, "stays"}}));
    }

    void shellTellsNamesAndTimesExactlyAndTheClientTheRest()
    {
        NEED_ACCOUNTS();
        SFTPService &service = connectedAs(TestServer::user());
        QDir folder(m_folder->path());
        QVERIFY(folder.mkpath(u"a\nsftp> b/locked \\'ü\n"_s) && folder.mkpath(u"noentry/deeper"_s));
        const QString file = at("a\nsftp> b/") + NativePath::text("\xff\n");
        LocalFileService().write("x", file, neverStops);
        const auto tree = [&] { return service.listTree(m_folder->path(), {}, neverStops); };
        const int before = m_clients->runs(u"/usr/bin/sftp"_s);
        QCOMPARE(sorted(tree().folders.keys()),
                 (QStringList{m_folder->path(), at("a\nsftp> b"), at("a\nsftp> b/locked \\'ü\n"), at("noentry"),
                              at("noentry/deeper")}));
        QCOMPARE(m_clients->runs(u"/usr/bin/sftp"_s), before);
        QFile::setPermissions(at("a\nsftp> b/locked \\'ü\n"), QFile::Permissions(0x7000));
        QFile::setPermissions(at("noentry"), QFile::Permissions(0x7744));
        const ListedTree partly = tree();
        QCOMPARE(sorted(partly.unread.keys()), (QStringList{at("a\nsftp> b/locked \\'ü\n"), at("noentry")}));
        QCOMPARE(partly.folders.size(), 2);
        QVERIFY(partly.times.precision == ListedTimes::Precision::seconds);
        const QList<FileItem> inner = partly.entries(at("a\nsftp> b"));
        QCOMPARE(inner.size(), 2);
        QVERIFY(inner.constFirst().path == file || inner.constLast().path == file);
        QCOMPARE(m_clients->runs(u"/usr/bin/sftp"_s), before + 1);
        // The client's listing of such a name looks like the answer to one more command.
        SFTPService &withoutShell = connectedAs(TestServer::userWithoutShell());
        QString deep = u"plain2"_s;
        for (int i = 0; i < 40; ++i)
            deep += u"/%1"_s.arg(i);
        QVERIFY(folder.mkpath(u"plain/a\nsftp> b"_s) && folder.mkpath(deep));
        const ListedTree listed = withoutShell.listTree(m_folder->path(), {}, neverStops);
        QVERIFY(listed.folders.contains(folder.filePath(deep)));
    }

    void foldersThatMayNotBeReadSayWhy()
    {
        NEED_ACCOUNTS();
        SFTPService &service = connectedAs(TestServer::user());
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
        SFTPService &service = connected();
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

    void transferMeetsItsEndHalfway_data()
    {
        QTest::addColumn<bool>("isUpload");
        QTest::addColumn<End>("end");
        QTest::newRow("upload goes on") << true << End::reached;
        QTest::newRow("download goes on") << false << End::reached;
        QTest::newRow("server dies during an upload") << true << End::serverDies;
        QTest::newRow("line breaks during a download") << false << End::lineBreaks;
        QTest::newRow("upload is cancelled") << true << End::cancelled;
    }

    void transferMeetsItsEndHalfway()
    {
        QFETCH(bool, isUpload);
        QFETCH(End, end);
        const auto sshd = end == End::serverDies ? std::make_shared<TestServer>() : m_sshd;
        DelayProxy proxy(sshd->port());
        ServerConnection server = sshd->connection();
        server.port = proxy.port();
        SFTPService &service = connected(server);
        putFile(at("large"), QByteArray(largeFileBytes, 'x'));
        std::atomic<qint64> last = 0;
        std::atomic<bool> isSound = true;
        const RemoteTransferOptions options{false, [&](qint64 bytes) {
                                                isSound = isSound && bytes >= last && bytes <= largeFileBytes;
                                                last = bytes;
                                            }};
        std::stop_source source;
        auto transfer = std::async(std::launch::async, [&] {
            isUpload ? service.upload(at("large"), at("target"), options, source.get_token())
                     : service.download(at("large"), at("target"), options, source.get_token());
        });
        const qint64 before = proxy.bytesPassed();
        QTRY_VERIFY(proxy.bytesPassed() - before > largeFileBytes / 4);
        proxy.stall();
        QTRY_VERIFY(last > 0 && runningClients() > 0);
        if (end == End::cancelled) {
            source.request_stop();
            QVERIFY_THROWS_EXCEPTION(Cancelled, transfer.get());
            return;
        }
        if (end == End::serverDies)
            sshd->kill();
        if (end == End::lineBreaks)
            proxy.cut();
        proxy.resume();
        const QString message = messageOf([&] { transfer.get(); });
        QVERIFY(isSound);
        if (end == End::reached)
            QVERIFY(message.isEmpty() && QFileInfo(at("target")).size() == largeFileBytes);
        else
            QVERIFY2(message.startsWith(u"Could not connect: the connection to 127.0.0.1 was lost."_s),
                     qPrintable(message));
    }

    void cancelledLoginLeavesNoProcess()
    {
        NEED_ACCOUNTS();
        DelayProxy proxy(m_sshd->port());
        proxy.stall();
        ServerConnection server = m_sshd->connectionByPassword(TestServer::user());
        server.port = proxy.port();
        SFTPService &service = make(server, withPassword());
        std::stop_source source;
        auto login = std::async(std::launch::async, [&] { service.connect(source.get_token()); });
        QTRY_VERIFY(runningClients() == 2);
        source.request_stop();
        QVERIFY_THROWS_EXCEPTION(Cancelled, login.get());
    }

private:
    QString at(const char *name) const { return m_folder->path() + u'/' + QString::fromUtf8(name); }

    SFTPService &make(const ServerConnection &server, const ConnectionCredentials &secrets = {})
    {
        m_services.push_back(std::make_unique<SFTPService>(server, secrets, m_clients));
        return *m_services.back();
    }
    SFTPService &connected(const ServerConnection &server, const ConnectionCredentials &secrets = {})
    {
        SFTPService &service = make(server, secrets);
        service.connect(neverStops);
        return service;
    }
    SFTPService &connected() { return connected(m_sshd->connection()); }
    SFTPService &connectedAs(const QString &user)
    {
        return connected(m_sshd->connectionByPassword(user), withPassword());
    }

    std::shared_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QTemporaryDir> m_temporary;
    std::vector<std::unique_ptr<SFTPService>> m_services;
};

MOORIX_TEST(SFTPServiceTest)
#include "SFTPServiceTest.moc"
