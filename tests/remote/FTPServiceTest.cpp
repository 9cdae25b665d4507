// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "platform/SystemProcessRunner.h"
#include "remote/FTPService.h"
#include "remote/HostKeys.h"
#include "support/FTPServer.h"
#include "support/FileServiceContract.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "support/TestTree.h"

#include <QDir>
#include <QTest>

#include <algorithm>

using namespace moorix;
using namespace moorix::test;

namespace {

using Program = FTPServer::Program;
using Encryption = FTPServer::Encryption;

/// One real server, a service that is connected to it, and a folder for each test. ProFTPD runs without root too.
class FTPBench
{
public:
    FTPBench(Program program, Encryption encryption)
        : server(program, encryption)
        , service(serviceFor(server.connection()))
    {
        service->connect(neverStops);
    }

    std::unique_ptr<FTPService> serviceFor(const ServerConnection &record, FTPPatience patience = {}) const
    {
        return std::make_unique<FTPService>(record, FTPServer::credentials(), std::make_shared<SystemProcessRunner>(),
                                            certificates(), patience);
    }
    FTPCertificates certificates() const { return FTPCertificates(m_data.filePath(QStringLiteral("keys.json"))); }

    /// An empty folder the account may write into.
    QString newFolder()
    {
        m_folder = std::make_unique<QTemporaryDir>(server.sharedPath() + QStringLiteral("/t-XXXXXX"));
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777));
        return folder();
    }
    QString folder() const { return m_folder->path(); }

private:
    QTemporaryDir m_data;
    std::unique_ptr<QTemporaryDir> m_folder;

public:
    FTPServer server;
    std::unique_ptr<FTPService> service;
};

} // namespace

/// Everything that is asked of any file service, of both servers; each login costs time, so that the second one answers
/// only for what the servers do differently.
class FTPContractTest final : public QObject
{
    Q_OBJECT

private slots:
    void contractHoldsOnVsftpd_data()
    {
        FileServiceContract::addRows({QStringLiteral(" [ab]{a,b}#?\"a\\b ü ☺ %41;type=a")});
    }

    void contractHoldsOnVsftpd() { runOn(Program::vsftpd); }

    void contractHoldsOnProftpd_data()
    {
        FileServiceContract::addRows({}, {QStringLiteral("listing and stat tell what is there"),
                                          QStringLiteral("missing entries are refused"),
                                          QStringLiteral("links are listed, followed and removed as links"),
                                          QStringLiteral("trees with links are removed without following them")});
    }

    void contractHoldsOnProftpd() { runOn(Program::proftpd); }

    void cleanupTestCase() { m_bench.reset(); }

private:
    void runOn(Program program)
    {
        if (const QString missing = FTPServer::missing(program); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        if (!m_bench || m_program != program)
            m_bench = std::make_unique<FTPBench>(program, Encryption::none);
        m_program = program;
        FileServiceContract::runRow(
            {*m_bench->service, m_bench->newFolder(),
             [](const QString &target, const QString &link) { QVERIFY(QFile::link(target, link)); }});
    }

    Program m_program = Program::vsftpd;
    std::unique_ptr<FTPBench> m_bench;
};

/// What the contract does not ask: transfers, trust, names, and what must not be seen.
class FTPServiceTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (const QString missing = FTPServer::missing(Program::proftpd); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_plain = std::make_unique<FTPBench>(Program::proftpd, Encryption::none);
        m_encrypted = std::make_unique<FTPBench>(Program::proftpd, Encryption::required);
    }

    void cleanupTestCase()
    {
        m_plain.reset();
        m_encrypted.reset();
    }

    void filesTravelOverAnEncryptedConnection_data()
    {
        QTest::addColumn<int>("program");
        QTest::newRow("vsftpd") << int(Program::vsftpd);
        QTest::newRow("ProFTPD") << int(Program::proftpd);
    }

    void filesTravelOverAnEncryptedConnection()
    {
        QFETCH(int, program);
        if (const QString missing = FTPServer::missing(Program(program)); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        FTPBench bench(Program(program), Encryption::required);
        const QString folder = bench.newFolder();
        bench.service->createDirectory(folder + QStringLiteral("/sub"), neverStops);
        bench.service->write("first", folder + QStringLiteral("/sub/a"), neverStops);
        QFile::setPermissions(folder + QStringLiteral("/sub/a"), QFile::Permissions(0x6640));
        bench.service->write("second", folder + QStringLiteral("/sub/a"), neverStops);
        QCOMPARE(bench.service->read(folder + QStringLiteral("/sub/a"), neverStops), QByteArray("second"));
        const QList<FileItem> items =
            bench.service->list(folder + QStringLiteral("/sub"), HiddenFiles::included, neverStops);
        QCOMPARE(namesOf(items), QStringList{QStringLiteral("a")});
        QCOMPARE(items.constFirst().size, 6);
        QVERIFY(qAbs(items.constFirst().modified->secsTo(QDateTime::currentDateTime())) < 120);
        QCOMPARE(items.constFirst().permissions, QStringLiteral("rw-r-----"));
        bench.service->remove(*bench.service->stat(folder + QStringLiteral("/sub"), neverStops), neverStops);
        QVERIFY(bench.service->list(folder, HiddenFiles::included, neverStops).isEmpty());
    }

    void keyIsRememberedAtFirstAndItsChangeStopsTheConnection()
    {
        FTPBench &bench = *m_encrypted;
        const ServerConnection record = bench.server.connection();
        const std::optional<QByteArray> first = bench.certificates().known(record);
        QVERIFY(first && first->startsWith("sha256//"));
        bench.server.renewCertificate();
        const auto service = bench.serviceFor(record);
        const auto connect = [&] { service->connect(neverStops); };
        const QString message = messageOf(connect);
        QVERIFY2(message.contains(QStringLiteral("the certificate of 127.0.0.1 has changed")), qPrintable(message));
        QVERIFY(caseOf(connect) == FileServiceError::Case::connectionFailed);
        QVERIFY(!service->isConnected());
        QCOMPARE(bench.certificates().known(record), first);
        // The connection that lives goes on expecting the old key.
        QVERIFY(messageOf([&] {
                    bench.service->list(bench.server.sharedPath(), HiddenFiles::included, neverStops);
                }).contains(QStringLiteral("has changed")));
        bench.certificates().forget(record);
        service->connect(neverStops);
        QVERIFY(service->isConnected());
        QVERIFY(bench.certificates().known(record) != first);
        bench.service->connect(neverStops);
    }

    void keysAreShownAndTrustedAsThoseOfOtherServers()
    {
        const TestTree data;
        qputenv("XDG_DATA_HOME", data.path().toUtf8());
        SystemProcessRunner runner;
        const ServerConnection record = m_encrypted->server.connection();
        const auto known = [&] { return HostKeys::knownFingerprints(record, runner, neverStops); };
        const QStringList offered = HostKeys::offeredFingerprints(record, runner, neverStops);
        QCOMPARE(offered.size(), 1);
        QVERIFY_THROWS_EXCEPTION(Error, HostKeys::trust(record, {offered.constFirst() + u'x'}, runner, neverStops));
        QCOMPARE(known(), QStringList());
        HostKeys::trust(record, offered, runner, neverStops);
        QCOMPARE(known(), offered);
        qunsetenv("XDG_DATA_HOME");
    }

    void connectionIsRefusedInWords_data()
    {
        QTest::addColumn<bool>("isEncrypted");
        QTest::addColumn<std::function<void(ServerConnection &, ConnectionCredentials &)>>("change");
        QTest::addColumn<QString>("words");
        using Change = std::function<void(ServerConnection &, ConnectionCredentials &)>;
        const auto row = [](const char *title, bool isEncrypted, const Change &change, const char *words) {
            QTest::newRow(title) << isEncrypted << change << QString::fromUtf8(words);
        };
        row(
            "authorities judge", true, [](auto &server, auto &) { server.strictHostKeyChecking = true; },
            "Could not connect: the certificate of 127.0.0.1 is not trusted");
        row(
            "server wants encryption", true,
            [](auto &server, auto &) {
                server.useTLS = false;
                server.networkProtocol = NetworkProtocol::ftp;
            },
            "Authentication failed: 127.0.0.1 takes logins only over an encrypted connection.");
        row(
            "server has no encryption", false, [](auto &server, auto &) { server.useTLS = true; },
            "Could not connect: 127.0.0.1 offers no encryption. No name and no password were sent.");
        row(
            "wrong password", false, [](auto &, auto &secrets) { secrets.password = QStringLiteral("wrong"); },
            "Authentication failed: 127.0.0.1 did not accept the login of “moorix-test”.");
        row(
            "command in the password", false,
            [](auto &, auto &secrets) { secrets.password = QStringLiteral("a\nDELE x"); },
            "Could not connect: the password holds a control character");
        row(
            "command in the user", false, [](auto &server, auto &) { server.username = QStringLiteral("a\rQUIT"); },
            "Could not connect: the user name holds a control character");
        row(
            "encryption with active data connections", true, [](auto &server, auto &) { server.passiveMode = false; },
            "Could not connect: encryption and active data connections do not work together.");
        row(
            "FTPS without encryption", true, [](auto &server, auto &) { server.useTLS = false; },
            "Could not connect: this FTPS server is set to use no encryption.");
        row(
            "host with a path", false, [](auto &server, auto &) { server.host = QStringLiteral("a?b"); },
            "Could not connect: “a?b” is no host name");
        row(
            "unknown character set", false, [](auto &server, auto &) { server.charset = QStringLiteral("x-none"); },
            "Could not connect: the character set “x-none” is not known.");
        row(
            "nobody listens", false, [](auto &server, auto &) { server.port = 1; },
            "Could not connect: nothing answers on port 1 of 127.0.0.1.");
        row(
            "no such host", false, [](auto &server, auto &) { server.host = QStringLiteral("none.invalid"); },
            "Could not connect: the name “none.invalid” cannot be found.");
    }

    void connectionIsRefusedInWords()
    {
        QFETCH(bool, isEncrypted);
        QFETCH(std::function<void(ServerConnection &, ConnectionCredentials &)>, change);
        QFETCH(QString, words);
        const FTPBench &bench = isEncrypted ? *m_encrypted : *m_plain;
        ServerConnection record = bench.server.connection();
        ConnectionCredentials secrets = FTPServer::credentials();
        change(record, secrets);
        FTPService service(record, secrets, std::make_shared<SystemProcessRunner>(), bench.certificates());
        const QString message = messageOf([&] { service.connect(neverStops); });
        QVERIFY2(message.startsWith(words), qPrintable(message));
        QVERIFY(caseOf([&] { service.list(QStringLiteral("/"), HiddenFiles::included, neverStops); }) ==
                FileServiceError::Case::notConnected);
    }

    void activeDataConnectionsWorkWithoutEncryption()
    {
        ServerConnection record = m_plain->server.connection();
        record.passiveMode = false;
        const auto service = m_plain->serviceFor(record);
        service->connect(neverStops);
        QCOMPARE(service->defaultDirectory(neverStops), m_plain->server.homePath());
        service->write("x", m_plain->newFolder() + QStringLiteral("/a"), neverStops);
        QCOMPARE(m_plain->service->list(m_plain->folder(), HiddenFiles::included, neverStops).size(), 1);
    }

    void transfersGoOnWhereTheyBrokeOff()
    {
        const QString folder = m_plain->newFolder();
        const TestTree local{{"whole", "0123456789"}, {"part", "01234"}, {"longer", "0123456789x"}};
        RemoteTransferOptions onwards;
        onwards.resumes = true;
        writeFile(folder + QStringLiteral("/begun"), "0123");
        m_plain->service->upload(local.path("whole"), folder + QStringLiteral("/begun"), onwards, neverStops);
        QCOMPARE(contentOf(folder + QStringLiteral("/begun")), QByteArray("0123456789"));
        m_plain->service->upload(local.path("whole"), folder + QStringLiteral("/new"), onwards, neverStops);
        QCOMPARE(contentOf(folder + QStringLiteral("/new")), QByteArray("0123456789"));
        m_plain->service->download(folder + QStringLiteral("/new"), local.path("part"), onwards, neverStops);
        QCOMPARE(local.read("part"), QByteArray("0123456789"));
        const QString message = messageOf([&] {
            m_plain->service->download(folder + QStringLiteral("/new"), local.path("longer"), onwards, neverStops);
        });
        QVERIFY2(message.contains(QStringLiteral("cannot be continued")), qPrintable(message));
        QCOMPARE(local.read("longer"), QByteArray("0123456789x"));
    }

    void timesAndModeTravelWithTheFile()
    {
        const QString folder = m_plain->newFolder();
        const TestTree local{{"a", "1"}};
        const QDateTime then(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
        QFile file(local.path("a"));
        QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(then, QFileDevice::FileModificationTime));
        file.close();
        QFile::setPermissions(local.path("a"), QFile::Permissions(0x6600));
        m_plain->service->upload(local.path("a"), folder + QStringLiteral("/b"), {true, {}}, neverStops);
        QCOMPARE(QFileInfo(folder + QStringLiteral("/b")).lastModified().toUTC(), then);
        QCOMPARE(m_plain->service->stat(folder + QStringLiteral("/b"), neverStops)->permissions,
                 QStringLiteral("rw-------"));
        m_plain->service->download(folder + QStringLiteral("/b"), local.path("c"), {true, {}}, neverStops);
        QCOMPARE(QFileInfo(local.path("c")).lastModified().toUTC(), then);
    }

    void largeTransfersTellHowFarTheyAreAndStopAtOnce_data()
    {
        QTest::addColumn<bool>("isUpload");
        QTest::addColumn<bool>("isStopped");
        QTest::newRow("upload") << true << false;
        QTest::newRow("upload, stopped") << true << true;
        QTest::newRow("download") << false << false;
        QTest::newRow("download, stopped") << false << true;
    }

    void largeTransfersTellHowFarTheyAreAndStopAtOnce()
    {
        QFETCH(bool, isUpload);
        QFETCH(bool, isStopped);
        constexpr qint64 size = 16'000'000;
        const QString remote = m_plain->newFolder() + QStringLiteral("/big");
        const TestTree local{{"big", isUpload ? QByteArray(size, 'x') : QByteArray("")}};
        if (!isUpload)
            writeFile(remote, QByteArray(size, 'x'));
        const QStringList before = temporaryFiles();
        std::stop_source source;
        QList<qint64> seen;
        QByteArray visible;
        const RemoteTransferOptions options{false, [&](qint64 bytes) {
                                                seen << bytes;
                                                visible += whatOthersSeeOfChildren();
                                                if (isStopped)
                                                    source.request_stop();
                                            }};
        const auto transfer = [&] {
            if (isUpload)
                m_plain->service->upload(local.path("big"), remote, options, source.get_token());
            else
                m_plain->service->download(remote, local.path("big"), options, source.get_token());
        };
        if (isStopped)
            QVERIFY_THROWS_EXCEPTION(Cancelled, transfer());
        else
            transfer();
        QVERIFY(!seen.isEmpty());
        QVERIFY(std::is_sorted(seen.begin(), seen.end()));
        QVERIFY(seen.constLast() <= size && (isStopped || seen.constLast() > 0));
        QVERIFY(visible.contains("curl") && !visible.contains(FTPServer::credentials().password->toUtf8()));
        QVERIFY(descendantsNamed("curl").isEmpty());
        QCOMPARE(temporaryFiles(), before);
        const QStringList names = QDir(m_plain->folder()).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(names, isUpload && isStopped ? QStringList() : QStringList{QStringLiteral("big")});
        if (!isStopped)
            QCOMPARE(isUpload ? QFileInfo(remote).size() : QFileInfo(local.path("big")).size(), size);
    }

    void namesTravelExactlyInTheServersCharacterSet()
    {
        const QString folder = m_plain->newFolder();
        ServerConnection record = m_plain->server.connection();
        record.charset = QStringLiteral("ISO-8859-1");
        const auto latin = m_plain->serviceFor(record);
        latin->connect(neverStops);
        latin->write("1", folder + QStringLiteral("/café"), neverStops);
        QCOMPARE(namesOf(latin->list(folder, HiddenFiles::included, neverStops)), QStringList{QStringLiteral("café")});
        QVERIFY(messageOf([&] {
                    latin->write("1", folder + QStringLiteral("/☺"), neverStops);
                }).contains(QStringLiteral("cannot be written in the server's character set ISO-8859-1")));
        // To a service that expects UTF-8 the same name is an odd one, and still the same file.
        const QList<FileItem> odd = m_plain->service->list(folder, HiddenFiles::included, neverStops);
        QCOMPARE(namesOf(odd), QStringList{QStringLiteral("caf") + QChar(0xDCE9)});
        QCOMPARE(m_plain->service->read(odd.constFirst().path, neverStops), QByteArray("1"));
        m_plain->service->remove(odd.constFirst(), neverStops);
        QVERIFY(latin->list(folder, HiddenFiles::included, neverStops).isEmpty());
    }

    void pathsThatWouldBeReadAsCommandsAreRefused()
    {
        const QString folder = m_plain->newFolder();
        for (const char *name : {"a\nDELE b", "a\rb", "tab\t", "del\x7f", "esc\x1b"}) {
            const QString path = folder + u'/' + QString::fromLatin1(name);
            QVERIFY(messageOf([&] {
                        m_plain->service->createDirectory(path, neverStops);
                    }).contains(QStringLiteral("invalid control characters")));
            QVERIFY_THROWS_EXCEPTION(FileServiceError, m_plain->service->write("x", path, neverStops));
        }
        FileItem file;
        file.path = folder + QStringLiteral("/blank ");
        writeFile(file.path, "1");
        QVERIFY(messageOf([&] {
                    m_plain->service->setPermissions(file.path, QStringLiteral("600"), Recursive::no, neverStops);
                }).contains(QStringLiteral("ends in a blank")));
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                 QStringList{QStringLiteral("blank ")});
    }

private:
    static void writeFile(const QString &path, const QByteArray &content)
    {
        putFile(path, content);
        QFile::setPermissions(path, QFile::Permissions(0x6666));
    }

    static QStringList temporaryFiles() { return QDir::temp().entryList({QStringLiteral("moorix-*")}, QDir::Files); }

    static QList<qint64> descendantsNamed(const QByteArray &program)
    {
        QList<qint64> found;
        for (const qint64 process : descendants(QCoreApplication::applicationPid())) {
            if (contentOf(QStringLiteral("/proc/%1/comm").arg(process)).trimmed() == program)
                found << process;
        }
        return found;
    }

    static QByteArray whatOthersSeeOfChildren()
    {
        QByteArray all;
        for (const qint64 process : descendantsNamed("curl")) {
            all += contentOf(QStringLiteral("/proc/%1/cmdline").arg(process));
            all += contentOf(QStringLiteral("/proc/%1/environ").arg(process));
        }
        return all;
    }

    std::unique_ptr<FTPBench> m_plain;
    std::unique_ptr<FTPBench> m_encrypted;
};

Q_DECLARE_METATYPE(std::function<void(moorix::ServerConnection &, moorix::ConnectionCredentials &)>)

MOORIX_TEST(FTPContractTest)
MOORIX_TEST(FTPServiceTest)
#include "FTPServiceTest.moc"
