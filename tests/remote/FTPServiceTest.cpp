// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPService.h"
#include "platform/SystemProcessRunner.h"
#include "remote/HostKeys.h"
#include "support/FTPServer.h"
#include "support/FileServiceContract.h"
#include "support/TestMain.h"

#include <QDir>

#include <algorithm>
#include <future>
#include <utility>

using namespace moorix;
using namespace Qt::StringLiterals;
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

    std::unique_ptr<FTPService> serviceFor(const ServerConnection &record,
                                           const ConnectionCredentials &secrets = FTPServer::credentials()) const
    {
        return std::make_unique<FTPService>(record, secrets, std::make_shared<SystemProcessRunner>(), certificates());
    }
    FTPCertificates certificates() const { return FTPCertificates(m_data.path("keys.json")); }

    /// An empty folder the account may write into.
    QString newFolder()
    {
        m_folder = std::make_unique<QTemporaryDir>(server.sharedPath() + u"/t-XXXXXX"_s);
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777));
        return m_folder->path();
    }
    QStringList listed(const QString &folder) const
    {
        return namesOf(service->list(folder, HiddenFiles::included, neverStops));
    }

private:
    TestTree m_data;
    std::unique_ptr<QTemporaryDir> m_folder;

public:
    FTPServer server;
    std::unique_ptr<FTPService> service;
};

/// Ends the test function, so it cannot be a function itself.
#define NEED(program)                                                                                                  \
    if (const QString missing = FTPServer::missing(program); !missing.isEmpty())                                       \
    QSKIP(qPrintable(missing))

} // namespace

/// Everything that is asked of any file service, of both servers, in clear and encrypted.
class FTPContractTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase_data()
    {
        QTest::addColumn<Program>("program");
        QTest::addColumn<Encryption>("encryption");
        QTest::newRow("vsftpd in clear") << Program::vsftpd << Encryption::none;
        QTest::newRow("vsftpd encrypted") << Program::vsftpd << Encryption::required;
        QTest::newRow("ProFTPD in clear") << Program::proftpd << Encryption::none;
        QTest::newRow("ProFTPD encrypted") << Program::proftpd << Encryption::required;
    }

    void contractOfFileServicesHolds_data() { FileServiceContract::addRows({u" [ab]{a,b}#?\"a\\b ü ☺ %41;type=a"_s}); }
    void contractOfFileServicesHolds()
    {
        QFETCH_GLOBAL(const Program, program);
        QFETCH_GLOBAL(const Encryption, encryption);
        NEED(program);
        if (!m_bench || m_kind != std::pair(program, encryption))
            m_bench = std::make_unique<FTPBench>(program, encryption);
        m_kind = {program, encryption};
        FileServiceContract::runRow({*m_bench->service, m_bench->newFolder()});
    }

    void cleanupTestCase() { m_bench.reset(); }

private:
    std::pair<Program, Encryption> m_kind;
    std::unique_ptr<FTPBench> m_bench;
};

/// What the contract does not ask: transfers, trust, names, and what must not be seen.
class FTPServiceTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { NEED(Program::proftpd); }

    void initTestCase()
    {
        if (!FTPServer::missing(Program::proftpd).isEmpty())
            return;
        qputenv("TMPDIR", m_temporary.path().toUtf8());
        m_plain = std::make_unique<FTPBench>(Program::proftpd, Encryption::none);
        m_encrypted = std::make_unique<FTPBench>(Program::proftpd, Encryption::required);
    }

    void cleanupTestCase()
    {
        m_plain.reset();
        m_encrypted.reset();
        qunsetenv("TMPDIR");
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
        QVERIFY2(message.contains(u"the certificate of 127.0.0.1 has changed"_s), qPrintable(message));
        QVERIFY(caseOf(connect) == FileServiceError::Case::connectionFailed);
        QVERIFY(!service->isConnected());
        QCOMPARE(bench.certificates().known(record), first);
        // The connection that lives goes on expecting the old key.
        QVERIFY(messageOf([&] {
                    bench.service->list(bench.server.sharedPath(), HiddenFiles::included, neverStops);
                }).contains(u"has changed"_s));
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

    void connectionIsRefusedInWords()
    {
        struct Row
        {
            const FTPBench &bench;
            std::function<void(ServerConnection &, ConnectionCredentials &)> change;
            const char *words;
        };
        const FTPBench &plain = *m_plain;
        const FTPBench &encrypted = *m_encrypted;
        const Row rows[] = {
            {encrypted, [](auto &server, auto &) { server.strictHostKeyChecking = true; },
             "Could not connect: the certificate of 127.0.0.1 is not trusted"},
            {encrypted,
             [](auto &server, auto &) { server.networkProtocol = NetworkProtocol::ftp, server.useTLS = false; },
             "Authentication failed: 127.0.0.1 takes logins only over an encrypted connection."},
            {encrypted, [](auto &server, auto &) { server.passiveMode = false; },
             "Could not connect: encryption and active data connections do not work together."},
            {encrypted, [](auto &server, auto &) { server.useTLS = false; },
             "Could not connect: this FTPS server is set to use no encryption."},
            {plain, [](auto &server, auto &) { server.useTLS = true; },
             "Could not connect: 127.0.0.1 offers no encryption. No name and no password were sent."},
            {plain, [](auto &, auto &secrets) { secrets.password = u"wrong"_s; },
             "Authentication failed: 127.0.0.1 did not accept the login of “moorix-test”."},
            {plain, [](auto &, auto &secrets) { secrets.password = u"a\nDELE x"_s; },
             "Could not connect: the password holds a control character"},
            {plain, [](auto &server, auto &) { server.username = u"a\rQUIT"_s; },
             "Could not connect: the user name holds a control character"},
            {plain, [](auto &server, auto &) { server.host = u"a?b"_s; }, "Could not connect: “a?b” is no host name"},
            {plain, [](auto &server, auto &) { server.host = u"none.invalid"_s; },
             "Could not connect: the name “none.invalid” cannot be found."},
            {plain, [](auto &server, auto &) { server.charset = u"x-none"_s; },
             "Could not connect: the character set “x-none” is not known."},
            {plain, [](auto &server, auto &) { server.port = 1; },
             "Could not connect: nothing answers on port 1 of 127.0.0.1."}};
        for (const auto &[bench, change, words] : rows) {
            ServerConnection record = bench.server.connection();
            ConnectionCredentials secrets = FTPServer::credentials();
            change(record, secrets);
            const auto service = bench.serviceFor(record, secrets);
            const QString message = messageOf([&] { service->connect(neverStops); });
            QVERIFY2(message.startsWith(QString::fromUtf8(words)), qPrintable(message));
            QVERIFY(caseOf([&] { service->list(u"/"_s, HiddenFiles::included, neverStops); }) ==
                    FileServiceError::Case::notConnected);
        }
    }

    void activeDataConnectionsWorkWithoutEncryption()
    {
        ServerConnection record = m_plain->server.connection();
        record.passiveMode = false;
        const auto service = m_plain->serviceFor(record);
        service->connect(neverStops);
        QCOMPARE(service->defaultDirectory(neverStops), m_plain->server.homePath());
        const QString folder = m_plain->newFolder();
        service->write("x", folder + u"/a"_s, neverStops);
        QCOMPARE(m_plain->listed(folder), QStringList{u"a"_s});
    }

    void serverThatTakesFewConnectionsMakesTheOthersWait()
    {
        for (const auto &[program, limit] :
             {std::pair(Program::vsftpd, "max_per_ip=2\n"), std::pair(Program::proftpd, "MaxClientsPerHost 2\n")}) {
            if (!FTPServer::missing(program).isEmpty())
                continue;
            const FTPServer server(program, Encryption::none, limit);
            const auto service = server.service();
            std::vector<std::future<QList<FileItem>>> listings;
            for (int i = 0; i < 8; ++i)
                listings.push_back(std::async(std::launch::async, [&] {
                    return service->list(server.homePath(), HiddenFiles::included, neverStops);
                }));
            for (auto &listing : listings)
                QCOMPARE(messageOf([&] { listing.get(); }), QString());
        }
    }

    void listingsInTheServersZoneTellWhenFilesWereChanged()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const TestTree local{{"sent", "x"}};
        setTimeAndMode(local.path("sent"), now.addDays(-2), QFile::Permissions(0x6644));
        // vsftpd takes and tells all times in its zone, so that only what it was given is known.
        for (const auto &[program, settings, zone] : {std::tuple(Program::proftpd, "TimesGMT off\n", "TST-5:45"),
                                                      std::tuple(Program::proftpd, "TimesGMT off\n", "TST3:30"),
                                                      std::tuple(Program::vsftpd, "use_localtime=YES\n", "TST-5:45")}) {
            if (!FTPServer::missing(program).isEmpty())
                continue;
            const FTPServer server(program, Encryption::none, settings, QLatin1String(zone));
            const auto service = server.service();
            service->upload(local.path("sent"), server.sharedPath() + u"/2"_s, {true, {}}, neverStops);
            for (const int days : program == Program::proftpd ? QList{0, 3, 700} : QList<int>()) {
                const QString path = u"%1/%2"_s.arg(server.sharedPath()).arg(days);
                putFile(path, "x");
                setTimeAndMode(path, now.addDays(-days), QFile::Permissions(0x6666));
            }
            for (const FileItem &item : service->list(server.sharedPath(), HiddenFiles::included, neverStops)) {
                const qint64 later = item.modified->secsTo(now.addDays(-item.name.toInt()));
                const bool isMidnight = item.modified->toUTC().time() == QTime(0, 0);
                QVERIFY2(item.name == u"700" ? isMidnight : later >= 0 && later < 60, qPrintable(item.name));
            }
        }
    }

    void namesThatAreOneForTheServerDoNotReplaceEachOther()
    {
        // As on a disk that ignores case.
        const FTPServer server(Program::proftpd, Encryption::none,
                               "LoadModule mod_rewrite.c\nRewriteEngine on\n"
                               "RewriteCondition %m RNTO|SIZE|MDTM|CWD\nRewriteRule ^(.*)/A$ $1/a\n");
        const auto service = server.service();
        const QString at = server.sharedPath() + u'/';
        std::vector<RemoteStep> steps;
        for (const QChar name : u"aAbB"_s) {
            service->write(QByteArray(1, name.toLatin1()), at + u"part-"_s + name, neverStops);
            steps.push_back({RemoteStep::Kind::rename, at + u"part-"_s + name, at + name});
        }
        service->takeSteps(steps, neverStops);
        for (const RemoteStep &step : steps)
            QCOMPARE(step.state, step.toPath.endsWith(u'A') ? RemoteStep::State::failed : RemoteStep::State::done);
        QVERIFY(!messageOf([&] { service->rename(entryAt(at + u"b"_s), u"A"_s, neverStops); }).isEmpty());
        QVERIFY(!messageOf([&] { service->copy(entryAt(at + u"b"_s), at + u"A"_s, neverStops); }).isEmpty());
        QCOMPARE(contentOf(at + u'a') + contentOf(at + u'B'), QByteArray("aB"));
    }

    void onlyWhatFitsItsBeginningGoesOn()
    {
        const QString file = m_plain->newFolder() + u"/a"_s;
        const TestTree local{{"whole", "0123456789"}, {"longer", "0123456789x"}};
        RemoteTransferOptions onwards;
        onwards.resumes = true;
        m_plain->service->upload(local.path("whole"), file, onwards, neverStops);
        QCOMPARE(contentOf(file), QByteArray("0123456789"));
        const QString message =
            messageOf([&] { m_plain->service->download(file, local.path("longer"), onwards, neverStops); });
        QVERIFY2(message.contains(u"cannot be continued"_s), qPrintable(message));
    }

    void largeTransfersTellHowFarTheyAreAndStopAtOnce()
    {
        for (const bool isUpload : {true, false}) {
            for (const bool isStopped : {false, true}) {
                tellsHowFarItIs(isUpload, isStopped);
                if (QTest::currentTestFailed())
                    QFAIL(qPrintable(u"upload %1, stopped %2"_s.arg(isUpload).arg(isStopped)));
            }
        }
    }

    void namesTravelExactlyInTheServersCharacterSet()
    {
        const QString folder = m_plain->newFolder();
        ServerConnection record = m_plain->server.connection();
        record.charset = u"ISO-8859-1"_s;
        const auto latin = m_plain->serviceFor(record);
        latin->connect(neverStops);
        latin->write("1", folder + u"/café"_s, neverStops);
        QCOMPARE(namesOf(latin->list(folder, HiddenFiles::included, neverStops)), QStringList{u"café"_s});
        QVERIFY(messageOf([&] {
                    latin->write("1", folder + u"/☺"_s, neverStops);
                }).contains(u"cannot be written in the server's character set ISO-8859-1"_s));
        // To a service that expects UTF-8 the same name is an odd one, and still the same file.
        const QList<FileItem> odd = m_plain->service->list(folder, HiddenFiles::included, neverStops);
        QCOMPARE(namesOf(odd), QStringList{u"caf"_s + QChar(0xDCE9)});
        QCOMPARE(m_plain->service->read(odd.constFirst().path, neverStops), QByteArray("1"));
        m_plain->service->remove(odd.constFirst(), neverStops);
        QVERIFY(latin->list(folder, HiddenFiles::included, neverStops).isEmpty());
    }

    void removingAFolderLeavesAloneWhatItsLinksLeadTo()
    {
        const QString folder = m_plain->newFolder();
        for (const QString &path : {folder + u"/tree"_s, folder + u"/outside"_s}) {
            QVERIFY(QDir().mkdir(path));
            QFile::setPermissions(path, QFile::Permissions(0x7777));
        }
        writeFile(folder + u"/outside/file"_s, "1");
        QVERIFY(QFile::link(folder + u"/outside"_s, folder + u"/tree/l"_s));
        // Listed as a row of its own.
        writeFile(folder + u"/tree/x\ndrwxr-xr-x   1 a b 7 Jan  5 10:00 l"_s, "1");
        QVERIFY(!messageOf([&] { m_plain->service->remove(entryAt(folder + u"/tree/"_s), neverStops); }).isEmpty());
        QVERIFY(QFile::exists(folder + u"/outside/file"_s));
    }

    void pathsThatWouldBeReadAsCommandsAreRefused()
    {
        const QString folder = m_plain->newFolder();
        for (const char *name : {"a\nDELE b", "a\rb", "tab\t", "del\x7f", "esc\x1b"}) {
            const QString path = folder + u'/' + QString::fromLatin1(name);
            QVERIFY(messageOf([&] {
                        m_plain->service->createDirectory(path, neverStops);
                    }).contains(u"invalid control characters"_s));
            QVERIFY_THROWS_EXCEPTION(FileServiceError, m_plain->service->write("x", path, neverStops));
        }
        FileItem file;
        file.path = folder + u"/blank "_s;
        writeFile(file.path, "1");
        QVERIFY(messageOf([&] {
                    m_plain->service->setPermissions(file.path, u"600"_s, Recursive::no, neverStops);
                }).contains(u"ends in a blank"_s));
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                 QStringList{u"blank "_s});
    }

private:
    void tellsHowFarItIs(bool isUpload, bool isStopped)
    {
        constexpr qint64 size = 16'000'000;
        const QString remote = m_plain->newFolder() + u"/big"_s;
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
                                                if (isStopped && bytes > 0)
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
        QVERIFY(std::is_sorted(seen.begin(), seen.end()));
        QVERIFY(seen.constLast() > 0 && seen.constLast() <= size);
        QVERIFY(visible.contains("curl") && !visible.contains(FTPServer::credentials().password->toUtf8()));
        QVERIFY(childrenNamed("curl").isEmpty());
        QCOMPARE(temporaryFiles(), before);
        const QStringList names = QFileInfo(remote).dir().entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(names, isUpload && isStopped ? QStringList() : QStringList{u"big"_s});
        if (!isStopped)
            QCOMPARE(isUpload ? QFileInfo(remote).size() : QFileInfo(local.path("big")).size(), size);
    }

    static void writeFile(const QString &path, const QByteArray &content)
    {
        putFile(path, content);
        QFile::setPermissions(path, QFile::Permissions(0x6666));
    }

    static QStringList temporaryFiles() { return QDir::temp().entryList({u"moorix-*"_s}, QDir::Files); }

    static QByteArray whatOthersSeeOfChildren()
    {
        QByteArray all;
        for (const qint64 process : childrenNamed("curl")) {
            all += contentOf(u"/proc/%1/cmdline"_s.arg(process));
            all += contentOf(u"/proc/%1/environ"_s.arg(process));
        }
        return all;
    }

    const TestTree m_temporary;
    std::unique_ptr<FTPBench> m_plain;
    std::unique_ptr<FTPBench> m_encrypted;
};

MOORIX_TEST(FTPContractTest)
MOORIX_TEST(FTPServiceTest)
#include "FTPServiceTest.moc"
