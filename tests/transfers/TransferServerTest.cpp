// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/TransferSpeed.h"
#include "support/DelayProxy.h"
#include "support/FTPServer.h"
#include "support/FakeProcessRunner.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "transfers/TransferChecksums.h"
#include "transfers/TransferScene.h"

#include <QDir>
#include <QRandomGenerator>

#include <csignal>
#include <sys/stat.h>
#include <thread>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Transfers to and from a real sshd through the real clients.
class TransferServerTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_sshd = std::make_unique<TestServer>();
        m_clients = std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
        m_service = connected();
    }

    void cleanupTestCase()
    {
        m_service->disconnect();
        m_service.reset();
        m_sshd.reset();
    }

    void killedClientIsMadeUpFor()
    {
        QByteArray content(20 * 1024 * 1024, Qt::Uninitialized);
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(content.data()), content.size() / 4);
        // The client itself, and what carries its bytes.
        for (const char *victim : {"sftp", "ssh"}) {
            const DelayProxy proxy(m_sshd->port());
            Scene scene({{"from/a", content}, {"to/", ""}});
            (victim == QByteArray("sftp") ? scene.request.destination : scene.request.source) =
                connected({}, proxy.port());
            scene.callbacks.reconnectDelays = {1ms, 50ms, 200ms, 1s};
            std::atomic<bool> killed = false;
            scene.callbacks.progress = [&](const TransferCounts &counts) {
                if (counts.bytesDone < content.size() / 2 || killed)
                    return;
                for (const qint64 child : childrenNamed(victim))
                    killed = ::kill(pid_t(child), SIGKILL) == 0;
            };
            const TransferOutcome outcome = scene.run("from/a");
            QVERIFY2(killed, victim);
            QCOMPARE(outcome.failures, QStringList());
            QVERIFY2(scene.tree.read("to/a") == content, victim);
            QCOMPARE(scene.under(u"to/"_s).size(), 1);
            QCOMPARE(outcome.notes, QStringList{u"1 file went on where its copy had stopped."_s});
        }
    }

    void folderGoesThroughAShellAsOneStream()
    {
        for (const bool isUpload : {true, false}) {
            Scene scene({{"from/d/e/empty", ""}, {"from/d/e/large", QByteArray(300'000, 'x')}, {"to/", ""}});
            for (const char *name :
                 {"größe", "two  spaces", "-rf", "$(touch x)", "a\\b", "it's \"q\"", ".hidden", "e/* {a,b}"})
                scene.tree.write(u"from/d/"_s + QString::fromUtf8(name), name);
            scene.tree.link("from/d/e/link", "/nowhere/at all");
            (isUpload ? scene.request.destination : scene.request.source) = m_service;
            scene.request.isMove = true;
            const TreeSnapshot expected = scene.under(u"from/"_s);
            const TransferOutcome outcome = scene.run("from/d");
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), expected);
            QCOMPARE(scene.under(u"from/"_s), TreeSnapshot());
            QVERIFY2(outcome.notes.value(0).contains(u"as one stream: “d”, 11 files"_s),
                     qPrintable(outcome.notes.join(u'|')));
        }
    }

    void oneOfManyFilesFailsAlone_data()
    {
        QTest::addColumn<bool>("isUpload");
        QTest::addColumn<QString>("account");
        for (const QString &account : {TestServer::user(), TestServer::userWithoutShell(), u"over FTP"_s}) {
            QTest::addRow("up, %s", qPrintable(account)) << true << account;
            QTest::addRow("down, %s", qPrintable(account)) << false << account;
        }
    }
    void oneOfManyFilesFailsAlone()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can make accounts.");
        QFETCH(const bool, isUpload);
        QFETCH(const QString, account);
        std::unique_ptr<FTPServer> ftp;
        std::shared_ptr<RemoteFileService> service;
        if (account == u"over FTP"_s) {
            if (const QString missing = FTPServer::missing(FTPServer::Program::vsftpd); !missing.isEmpty())
                QSKIP(qPrintable(missing));
            ftp = std::make_unique<FTPServer>(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
            service = std::make_shared<FTPService>(ftp->connection(), FTPServer::credentials(), m_clients);
            service->connect({});
        } else {
            service = connected(account);
        }
        // Some bundles full.
        Scene scene(
            {{"from/d/größe \"q\" {a,b}", "1"}, {"from/d/e/a\\b", "2"}, {"from/d/e/empty", ""}, {"to/d/e/", ""}});
        for (int i = 0; i < 150; ++i)
            scene.tree.write(u"from/d/%1"_s.arg(i), QByteArray(32 * 1024 - 75 + i, char('a' + i % 26)));
        QVERIFY(::mkfifo(QFile::encodeName(scene.tree.path("from/d/e/pipe")).constData(), 0666) == 0);
        for (const char *folder : {"", "to", "to/d", "to/d/e"})
            QFile::setPermissions(scene.tree.path(QString::fromLatin1(folder)), QFile::Permissions(0x7777));
        scene.tree.write("to/d/7", "old");
        scene.request.policy = TransferConflictPolicy::overwrite;
        (isUpload ? scene.request.destination : scene.request.source) = service;
        const auto runs = [&] {
            return m_clients->runs(u"/usr/bin/ssh"_s) + m_clients->runs(u"/usr/bin/sftp"_s) +
                   m_clients->runs(u"/usr/bin/curl"_s);
        };
        const int before = runs();
        const TransferOutcome outcome = scene.run("from/d");
        QVERIFY2(runs() - before < 40, qPrintable(QString::number(runs() - before)));
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().contains(u"“pipe” was not copied"_s), qPrintable(outcome.failures.first()));
        QVERIFY(::unlink(QFile::encodeName(scene.tree.path("from/d/e/pipe")).constData()) == 0);
        QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
        QCOMPARE(outcome.notes.join(u'|').contains(u"in streams of"_s), account == TestServer::user());
        service->disconnect();
    }

    void smallFilesOfAServerFarAwayGoOverFurtherConnections()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can make accounts.");
        const DelayProxy proxy(m_sshd->port(), 30ms);
        const qsizetype before = m_sshd->sessions().size();
        for (const bool isUpload : {true, false}) {
            const auto service = connected(TestServer::userWithoutShell(), proxy.port());
            Scene scene({{"from/d/e/$(x) \"a\\b", "1"}, {"to/", ""}});
            for (int i = 0; i < 60; ++i)
                scene.tree.write(u"from/d/%1"_s.arg(i), QByteArray(i, 'x'));
            QVERIFY(QFile::setPermissions(scene.tree.path("to"), QFile::Permissions(0x7777)));
            QVERIFY(QFile::setPermissions(scene.tree.path(""), QFile::Permissions(0x7755)));
            (isUpload ? scene.request.destination : scene.request.source) = service;
            std::atomic<qsizetype> most = 0;
            scene.callbacks.progress = [&](const TransferCounts &) {
                most = std::max(most.load(), m_sshd->sessions().size());
            };
            const TransferOutcome outcome = scene.run("from/d");
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
            QVERIFY2(most >= before + 4, qPrintable(QString::number(most)));
            service->disconnect();
            QTRY_COMPARE(m_sshd->sessions().size(), before);
        }
    }

    void movedFilesOfAServerAreRemovedTogether()
    {
        Scene scene({{"to/", ""}});
        for (int i = 0; i < 60; ++i) {
            scene.tree.write(u"from/%1"_s.arg(i), QByteArray(i, 'x'));
            scene.add(u"from/%1"_s.arg(i));
        }
        scene.request.source = m_service;
        scene.request.isMove = true;
        const int before = m_clients->runs(u"/usr/bin/sftp"_s);
        QCOMPARE(scene.run().failures, QStringList());
        QVERIFY(m_clients->runs(u"/usr/bin/sftp"_s) - before < 30);
        QCOMPARE(scene.under(u"to/"_s).size(), 60);
        QCOMPARE(scene.under(u"from/"_s), TreeSnapshot());
    }

    void clientsAreToldTheLimitWhereTheyMoveFiles()
    {
        const auto speed = std::make_shared<TransferSpeed>();
        const auto heard = std::make_shared<FakeProcessRunner>(
            [this](const ProcessRequest &request) { return m_clients->run(request, {}); });
        std::unique_ptr<FTPServer> ftp;
        std::vector<std::shared_ptr<RemoteFileService>> services{
            std::make_shared<SFTPService>(m_sshd->connection(), ConnectionCredentials(), heard, SSHPatience(), speed)};
        if (FTPServer::missing(FTPServer::Program::vsftpd).isEmpty()) {
            ftp = std::make_unique<FTPServer>(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
            services.push_back(std::make_shared<FTPService>(ftp->connection(), FTPServer::credentials(), heard,
                                                            FTPCertificates::ofThisUser(), FTPPatience(), speed));
        }
        int movers = 0;
        for (const auto &service : services) {
            service->connect({});
            for (const bool isUpload : {true, false}) {
                Scene scene({{"from/large", QByteArray(300'000, 'x')}, {"from/1", "1"}, {"from/2", "2"}, {"to/", ""}});
                for (const char *folder : {"", "to"})
                    QFile::setPermissions(scene.tree.path(QString::fromLatin1(folder)), QFile::Permissions(0x7777));
                (isUpload ? scene.request.destination : scene.request.source) = service;
                speed->setLimit(isUpload ? TransferSpeed::most : TransferSpeed::most / 2);
                const qsizetype before = heard->requests().size();
                QCOMPARE(scene.run("from/large", "from/1", "from/2").failures, QStringList());
                for (const ProcessRequest &request : heard->requests().mid(before)) {
                    const QByteArray told = request.arguments.join(u' ').toUtf8() + request.standardInput;
                    const bool moves = told.contains("put -p") || told.contains("get -p") ||
                                       told.contains("upload-file = ") || told.contains("remote-time");
                    const bool isTold = told.contains(isUpload ? "-l 7812500 -P " : "-l 3906250 -P ") ||
                                        told.contains(isUpload ? "rate = \"1000000000\"" : "rate = \"500000000\"");
                    QVERIFY2(moves == isTold, told.constData());
                    movers += moves;
                }
            }
            service->disconnect();
        }
        QVERIFY(movers >= 4 * int(services.size()));
    }

    void pacedStreamStopsAtOnce()
    {
        const auto service = connected({}, 0, std::make_shared<TransferSpeed>(TransferSpeed::least));
        for (const bool isUpload : {true, false}) {
            Scene scene({{"from/d/", ""}, {"to/", ""}});
            for (int i = 0; i < 40; ++i)
                scene.tree.write(u"from/d/%1"_s.arg(i), QByteArray(100'000, 'x'));
            (isUpload ? scene.request.destination : scene.request.source) = service;
            // At this speed it would take minutes.
            scene.callbacks.progress = [&](const TransferCounts &counts) {
                if (counts.bytesDone > 0)
                    scene.stop.request_stop();
            };
            QVERIFY(scene.run("from/d").wasCancelled);
            QTRY_COMPARE(scene.under(u"to/"_s), TreeSnapshot());
        }
        service->disconnect();
    }

    void changedLimitReachesALargeFileUnderWay()
    {
        const auto speed = std::make_shared<TransferSpeed>();
        const auto service = connected({}, 0, speed);
        for (const bool isUpload : {true, false}) {
            Scene scene({{"from/a", QByteArray(20'000'000, 'x')}, {"to/", ""}});
            (isUpload ? scene.request.destination : scene.request.source) = service;
            // At this speed it would take half an hour.
            speed->setLimit(TransferSpeed::least);
            const int before = m_clients->runs(u"/usr/bin/sftp"_s);
            std::jthread user([&](const std::stop_token &isOver) {
                while (!isOver.stop_requested() && QDir(scene.tree.path("to")).isEmpty(QDir::Files | QDir::Hidden))
                    std::this_thread::yield();
                speed->setLimit(0);
            });
            QCOMPARE(scene.run("from/a").failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
            QVERIFY(m_clients->runs(u"/usr/bin/sftp"_s) >= before + 2);
        }
        service->disconnect();
    }

    void linksTravelAsLinks()
    {
        for (const bool isUpload : {true, false}) {
            Scene scene({{"from/d/a", "a"}, {"to/", ""}});
            scene.tree.link("from/d/link", "/no where");
            (isUpload ? scene.request.destination : scene.request.source) = m_service;
            QCOMPARE(scene.run("from/d").failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
        }
    }

    void cutLineIsMadeUpForInAStreamAndInALane()
    {
        for (const int files : {12, 2}) {
            Scene scene({{"from/d/", ""}, {"to/", ""}});
            for (int i = 0; i < files; ++i)
                scene.tree.write(u"from/d/%1"_s.arg(i), QByteArray(200'000, char('a' + i)));
            DelayProxy proxy(m_sshd->port());
            scene.request.destination = connected({}, proxy.port());
            scene.callbacks.reconnectDelays = {1ms, 50ms, 200ms, 1s};
            std::atomic<bool> isCut = false;
            const qint64 before = proxy.bytesPassed();
            std::jthread scissors([&](const std::stop_token &stop) {
                while (!stop.stop_requested() && proxy.bytesPassed() < before + 150'000)
                    std::this_thread::yield();
                proxy.cut();
                isCut = true;
            });
            const TransferOutcome outcome = scene.run("from/d");
            QVERIFY(isCut);
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
            const QString way =
                files > 8 ? u"“d” broke off as one stream"_s : u"Sent in bundles of up to 256: 2 files."_s;
            QVERIFY2(outcome.notes.value(0).startsWith(way), qPrintable(outcome.notes.value(0)));
        }
    }

    void fullDiskLeavesTheOldFileWhole()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can mount a small disk.");
        const QString old = m_sshd->fullDiskPath() + u"/a"_s;
        m_service->write("old", old, {});
        Scene scene({{"from/a", QByteArray(100'000, 'x')}});
        scene.request.destination = m_service;
        scene.request.targetFolder = m_sshd->fullDiskPath();
        scene.request.policy = TransferConflictPolicy::overwrite;
        scene.request.isMove = true;
        const TransferOutcome outcome = scene.run("from/a");
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().contains(u"write remote"_s), qPrintable(outcome.failures.first()));
        QVERIFY(m_service->freeSpace(m_sshd->fullDiskPath(), {}).value_or(-1) < 64 * 1024);
        QCOMPARE(m_service->read(old, {}), QByteArray("old"));
        QCOMPARE(m_service->list(m_sshd->fullDiskPath(), HiddenFiles::included, {}).size(), 1);
        QVERIFY(scene.tree.exists("from/a"));
    }

    void folderThatSomebodyElseMakesMeanwhileKeepsItsModes()
    {
        if (const QString missing = FTPServer::missing(FTPServer::Program::proftpd); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const FTPServer ftp(FTPServer::Program::proftpd, FTPServer::Encryption::none);
        const auto service = ftp.service();
        Scene scene({{"from/d/e/x", "ours"}});
        for (int i = 0; i < 10; ++i)
            scene.tree.write(u"from/d/%1"_s.arg(i), "ours");
        scene.request.destination = service;
        scene.request.targetFolder = ftp.sharedPath();
        // The target has been looked at when the source is read.
        scene.callbacks.entriesOf = [&](const QString &folder) {
            const QString theirs = ftp.sharedPath() + folder.mid(scene.tree.path("from").size());
            service->createDirectory(theirs, {});
            service->setPermissions(theirs, u"700"_s, Recursive::no, {});
            return scene.disk->list(folder, HiddenFiles::included, {});
        };
        QCOMPARE(scene.run("from/d").failures.filter(u"could not take its name"_s).size(), 1);
        for (const char *path : {"/d", "/d/e"})
            QCOMPARE(*service->stat(ftp.sharedPath() + QLatin1String(path), {})->permissions, u"rwx------"_s);
    }

    void checksumsOfManyFilesComeInOneGo()
    {
        const TestTree tree{{"plain", "1"}, {"two  spaces", "2"}, {"it's \"q\" \\x", "3"}, {"größe", "4"}};
        QStringList paths;
        for (const QString &name : tree.snapshot().keys())
            paths << tree.path(name);
        LocalFileService disk;
        const auto local = transferChecksums::of(disk, paths, {});
        QCOMPARE(m_service->checksums(paths, {}), local);
        QCOMPARE(m_service->checksums(paths + QStringList{tree.path("missing")}, {}), local);
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can make accounts without a shell.");
        const auto service = connected(TestServer::userWithoutShell());
        QVERIFY(!service->checksums(paths, {}));
        service->disconnect();
    }

private:
    std::shared_ptr<SFTPService> connected(const QString &user = {}, quint16 port = 0,
                                           std::shared_ptr<TransferSpeed> speed = nullptr) const
    {
        ServerConnection server = m_sshd->connection();
        server.username = user.isEmpty() ? server.username : user;
        server.port = port ? port : server.port;
        auto service =
            std::make_shared<SFTPService>(server, ConnectionCredentials(), m_clients, SSHPatience(), std::move(speed));
        service->connect({});
        return service;
    }

    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
    std::shared_ptr<SFTPService> m_service;
};

MOORIX_TEST(TransferServerTest)
#include "TransferServerTest.moc"
