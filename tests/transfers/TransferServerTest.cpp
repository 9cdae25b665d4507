// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/NativePath.h"
#include "remote/FTPService.h"
#include "remote/SFTPService.h"
#include "support/DelayProxy.h"
#include "support/FTPServer.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "transfers/TransferChecksums.h"
#include "transfers/TransferScene.h"

#include <csignal>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

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
        m_service = connected(m_sshd->connection());
    }

    void cleanupTestCase()
    {
        m_service->disconnect();
        m_service.reset();
        m_sshd.reset();
    }

    void killedClientIsMadeUpFor_data() { addWays(); }
    void killedClientIsMadeUpFor()
    {
        QFETCH(const bool, isUpload);
        // The client itself, and what carries its bytes.
        const QByteArray victim = isUpload ? "sftp" : "ssh";
        constexpr qsizetype size = 20 * 1024 * 1024;
        QByteArray content(size, Qt::Uninitialized);
        std::generate(content.begin(), content.end(), [state = 1u]() mutable {
            state = state * 1664525 + 1013904223;
            return char(state >> 24);
        });
        const DelayProxy proxy(m_sshd->port());
        Scene scene({{"from/a", content}, {"to/", ""}});
        (isUpload ? scene.request.destination : scene.request.source) = through(proxy);
        scene.callbacks.reconnectDelays = {1ms, 50ms, 200ms, 1s};
        std::atomic<bool> killed = false;
        scene.callbacks.progress = [&](const TransferCounts &counts) {
            if (counts.bytesDone < size / 2 || killed)
                return;
            for (const qint64 child : childrenNamed(victim))
                killed = ::kill(pid_t(child), SIGKILL) == 0;
        };
        scene.add("from/a");
        const TransferOutcome outcome = scene.run();
        QVERIFY(killed);
        QCOMPARE(outcome.failures, QStringList());
        QVERIFY(scene.tree.read("to/a") == content);
        QCOMPARE(scene.under(u"to/"_s).size(), 1);
        QCOMPARE(outcome.notes, QStringList{u"1 file went on where its copy had stopped."_s});
    }

    void folderGoesThroughAShellAsOneStream_data() { addWays(); }
    void folderGoesThroughAShellAsOneStream()
    {
        QFETCH(const bool, isUpload);
        Scene scene({{"from/d/größe", "1"},
                     {"from/d/two  spaces", "2"},
                     {"from/d/-rf", "3"},
                     {"from/d/$(touch x)", "4"},
                     {"from/d/a\\b", "5"},
                     {"from/d/it's \"q\"", "6"},
                     {"from/d/.hidden", "7"},
                     {"from/d/e/* {a,b}", "8"},
                     {"from/d/e/empty", ""},
                     {"from/d/e/large", QByteArray(300'000, 'x')},
                     {"to/", ""}});
        scene.tree.link("from/d/e/link", "/nowhere/at all");
        (isUpload ? scene.request.destination : scene.request.source) = m_service;
        scene.request.isMove = true;
        scene.add("from/d");
        const TreeSnapshot expected = scene.under(u"from/"_s);
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), expected);
        QCOMPARE(scene.under(u"from/"_s), TreeSnapshot());
        QVERIFY2(outcome.notes.value(0).contains(u"as one stream: “d”, 11 files"_s),
                 qPrintable(outcome.notes.join(u'|')));
    }

    void oneOfManyFilesFailsAlone_data()
    {
        QTest::addColumn<bool>("isUpload");
        QTest::addColumn<QString>("account");
        for (const bool isUpload : {true, false}) {
            const char *const way = isUpload ? "up" : "down";
            QTest::addRow("SFTP and a shell, %s", way) << isUpload << TestServer::user();
            QTest::addRow("SFTP alone, %s", way) << isUpload << TestServer::userWithoutShell();
            QTest::addRow("FTP, %s", way) << isUpload << QString();
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
        if (account.isEmpty()) {
            if (const QString missing = FTPServer::missing(FTPServer::Program::vsftpd); !missing.isEmpty())
                QSKIP(qPrintable(missing));
            ftp = std::make_unique<FTPServer>(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
            service = std::make_shared<FTPService>(ftp->connection(), FTPServer::credentials(), m_clients);
            service->connect({});
        } else {
            ServerConnection record = m_sshd->connection();
            record.username = account;
            service = connected(record);
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
        scene.add("from/d");
        const TransferOutcome outcome = scene.run();
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
        ServerConnection record = m_sshd->connection();
        record.username = TestServer::userWithoutShell();
        record.port = proxy.port();
        const qsizetype before = m_sshd->sessions().size();
        for (const bool isUpload : {true, false}) {
            const auto service = connected(record);
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
            scene.add("from/d");
            const TransferOutcome outcome = scene.run();
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
            QVERIFY2(most >= before + 4, qPrintable(QString::number(most)));
            service->disconnect();
            QTRY_COMPARE(m_sshd->sessions().size(), before);
        }
    }

    void linksTravelAsLinks()
    {
        for (const bool isUpload : {true, false}) {
            Scene scene({{"from/d/a", "a"}, {"to/", ""}});
            scene.tree.link("from/d/link", "/no where");
            (isUpload ? scene.request.destination : scene.request.source) = m_service;
            scene.add("from/d");
            QCOMPARE(scene.run().failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
        }
    }

    void cutLineIsMadeUpForInAStreamAndInALane()
    {
        for (const int files : {12, 2})
            cutLineIsMadeUpFor(files);
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
        scene.add("from/a");
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().contains(u"write remote"_s), qPrintable(outcome.failures.first()));
        QVERIFY(m_service->freeSpace(m_sshd->fullDiskPath(), {}).value_or(-1) < 64 * 1024);
        QCOMPARE(m_service->read(old, {}), QByteArray("old"));
        QCOMPARE(m_service->list(m_sshd->fullDiskPath(), HiddenFiles::included, {}).size(), 1);
        QVERIFY(scene.tree.exists("from/a"));
    }

    void treeIsListedInOneGoAsFolderByFolder()
    {
        const TestTree tree{{"a", "1"}, {" two  blanks", "22"}, {".hidden/größe \"q\" \\x", "333"}, {"empty/", ""}};
        tree.link("link", ".hidden");
        tree.write(NativePath::text("\xff"), "4");
        auto all = m_service->listTree(tree.path(), {});
        QVERIFY(all && all->size() == 2 && all->value(tree.path()).size() == 6);
        for (const QString &folder : all->keys()) {
            for (FileItem listed : m_service->list(folder, HiddenFiles::included, {})) {
                const QList<FileItem> &items = all->value(folder);
                const auto found = std::find_if(items.begin(), items.end(),
                                                [&listed](const FileItem &item) { return item.path == listed.path; });
                QVERIFY2(found != items.end(), qPrintable(listed.path));
                QVERIFY(found->modified && std::abs(found->modified->secsTo(*listed.modified)) < 60);
                listed.modified = found->modified;
                // Listings of the client merge blanks that names hold.
                listed.name = found->name;
                QVERIFY2(*found == listed, qPrintable(listed.path));
            }
        }
        // Half a tree would look like all of it.
        QVERIFY(!m_service->listTree(tree.path("missing"), {}));
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
        ServerConnection record = m_sshd->connection();
        record.username = TestServer::userWithoutShell();
        const auto service = connected(record);
        QVERIFY(!service->checksums(paths, {}));
        service->disconnect();
    }

private:
    static void addWays()
    {
        QTest::addColumn<bool>("isUpload");
        QTest::newRow("up") << true;
        QTest::newRow("down") << false;
    }

    std::shared_ptr<SFTPService> connected(const ServerConnection &server,
                                           const ConnectionCredentials &credentials = {}) const
    {
        auto service = std::make_shared<SFTPService>(server, credentials, m_clients);
        service->connect({});
        return service;
    }
    std::shared_ptr<SFTPService> through(const DelayProxy &proxy) const
    {
        ServerConnection far = m_sshd->connection();
        far.port = proxy.port();
        return connected(far);
    }

    void cutLineIsMadeUpFor(int files) const
    {
        Scene scene({{"from/d/", ""}, {"to/", ""}});
        for (int i = 0; i < files; ++i)
            scene.tree.write(u"from/d/%1"_s.arg(i), QByteArray(200'000, char('a' + i)));
        DelayProxy proxy(m_sshd->port());
        scene.request.destination = through(proxy);
        scene.callbacks.reconnectDelays = {1ms, 50ms, 200ms, 1s};
        std::atomic<bool> isCut = false;
        const qint64 before = proxy.bytesPassed();
        std::jthread scissors([&](const std::stop_token &stop) {
            while (!stop.stop_requested() && proxy.bytesPassed() < before + 150'000)
                std::this_thread::yield();
            proxy.cut();
            isCut = true;
        });
        scene.add("from/d");
        const TransferOutcome outcome = scene.run();
        QVERIFY(isCut);
        QCOMPARE(outcome.failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
        const QString way = files > 8 ? u"“d” broke off as one stream"_s : u"Sent in bundles of up to 256: 2 files."_s;
        QVERIFY2(outcome.notes.value(0).startsWith(way), qPrintable(outcome.notes.value(0)));
    }

    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
    std::shared_ptr<SFTPService> m_service;
};

MOORIX_TEST(TransferServerTest)
#include "TransferServerTest.moc"
