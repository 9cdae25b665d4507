// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FTPServer.h"
#include "support/TestServer.h"
#include "sync/SyncScene.h"

#include <QElapsedTimer>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// Sets the time zone of this process, and of servers and clients it starts, for a while.
class TimeZone final
{
public:
    explicit TimeZone(const QByteArray &name)
    {
        if (!name.isEmpty())
            qputenv("TZ", name);
        ::tzset();
    }
    ~TimeZone()
    {
        qunsetenv("TZ");
        ::tzset();
    }
    Q_DISABLE_COPY_MOVE(TimeZone)
};

constexpr qint64 day = 24 * 3600;
const QList<qint64> ages{0,         61,        3599,      day,        40 * day + 7, 120 * day + 100,
                         179 * day, 184 * day, 300 * day, 5000 * day, -2 * day};

void put(const QString &path, const QByteArray &content)
{
    QDir().mkpath(path.section(u'/', 0, -2));
    if (!path.endsWith(u'/'))
        putFile(path, content);
}

void fillWithFilesOfAllAges(const SyncScene &scene, const QString &folder)
{
    for (qsizetype i = 0; i < ages.size(); ++i) {
        const QString path = u"%1/d%2/file %3"_s.arg(folder).arg(i % 3).arg(i);
        put(path, QByteArray(int(i), 'x'));
        setTimeAndMode(path, scene.now.addSecs(-ages.at(i)), QFile::Permissions(0x6644));
    }
    for (const char *path : {"/.dot", "/.hidden/a", "/empty/", "/größe/b", "/$(x) \"a\\b"})
        put(folder + QString::fromUtf8(path), path);
}

} // namespace

/// Syncs with real servers through the real clients.
class SyncServerTest final : public QObject
{
    Q_OBJECT

    enum class Kind { shell, noShell, vsftpd, vsftpdLocalTime, proftpd, proftpdLocalTime };

private slots:
    void initTestCase() { m_sshd = std::make_unique<TestServer>(); }

    void secondSyncDoesNothing_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QByteArray>("serverZone");
        QTest::addColumn<QByteArray>("ownZone");
        const auto row = [](const char *name, Kind kind, const QByteArray &server, const QByteArray &own) {
            QTest::addRow("%s", name) << int(kind) << server << own;
        };
        row("shell", Kind::shell, "", "");
        row("shell, zones", Kind::shell, "Asia/Tokyo", "America/New_York");
        row("no shell", Kind::noShell, "", "");
        row("no shell, zones", Kind::noShell, "Asia/Tokyo", "Europe/Berlin");
        row("vsftpd", Kind::vsftpd, "", "Europe/Berlin");
        row("vsftpd in local time", Kind::vsftpdLocalTime, "Europe/Berlin", "America/New_York");
        row("ProFTPD", Kind::proftpd, "", "");
        row("ProFTPD in local time", Kind::proftpdLocalTime, "America/St_Johns", "Europe/Berlin");
    }
    void secondSyncDoesNothing()
    {
        QFETCH(const int, kind);
        QFETCH(const QByteArray, serverZone);
        QFETCH(const QByteArray, ownZone);
        std::unique_ptr<FTPServer> ftp;
        {
            const TimeZone zone(serverZone);
            ftp = ftpServer(Kind(kind));
        }
        const TimeZone zone(ownZone);
        SyncScene scene;
        useServer(scene, Kind(kind), ftp.get());
        if (QTest::currentTestFailed())
            return;
        fillWithFilesOfAllAges(scene, scene.tree.path("here"));
        const SyncOutcome first = scene.sync();
        QCOMPARE(problems(first), QString());
        QCOMPARE(scene.files(m_root), scene.here());
        QCOMPARE(scene.found().join(u'\n'), QString());
        // What is new on the server comes back the same way.
        fillWithFilesOfAllAges(scene, m_root + u"/from there"_s);
        QCOMPARE(problems(scene.sync()), QString());
        QCOMPARE(scene.files(m_root), scene.here());
        QCOMPARE(scene.found().join(u'\n'), QString());
        // Nor does it matter when nothing is remembered.
        QVERIFY(QDir(scene.tree.path("state")).removeRecursively());
        QCOMPARE(scene.found().join(u'\n'), QString());
        QVERIFY(scene.plan.isFirst);
    }

    void changesAndDeletionsGoBothWays_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("shell") << int(Kind::shell);
        QTest::newRow("no shell") << int(Kind::noShell);
        QTest::newRow("FTP") << int(Kind::vsftpd);
    }
    void changesAndDeletionsGoBothWays()
    {
        QFETCH(const int, kind);
        const auto ftp = ftpServer(Kind(kind));
        SyncScene scene;
        useServer(scene, Kind(kind), ftp.get());
        if (QTest::currentTestFailed())
            return;
        fillWithFilesOfAllAges(scene, scene.tree.path("here"));
        QCOMPARE(problems(scene.sync()), QString());
        scene.tree.write("here/d0/file 0", "edited here");
        put(m_root + u"/d1/file 1"_s, "edited over there");
        scene.tree.write("here/d2/file 2", "edited here, in conflict");
        put(m_root + u"/d2/file 2"_s, "edited over there, in conflict");
        QFile::remove(scene.tree.path("here/d0/file 3"));
        QVERIFY(QDir(m_root + u"/.hidden"_s).removeRecursively());
        QVERIFY(QDir(scene.tree.path("here/größe")).removeRecursively());
        QVERIFY(QDir(m_root + u"/empty"_s).removeRecursively());
        QCOMPARE(scene.found(),
                 (QStringList{u".hidden: deleteLocal"_s, u".hidden/a: deleteLocal"_s, u"d0/file 0: updateRemote"_s,
                              u"d0/file 3: deleteRemote"_s, u"d1/file 1: updateLocal"_s, u"d2/file 2: conflict"_s,
                              u"empty: deleteLocal"_s, u"größe: deleteRemote"_s, u"größe/b: deleteRemote"_s}));
        scene.decide = [](SyncPlan &plan) {
            for (SyncRow &row : plan.rows) {
                if (row.diff.bucket == SyncBucket::conflict)
                    row.action = SyncAction::keepBoth;
            }
        };
        QCOMPARE(problems(scene.sync()), QString());
        QCOMPARE(scene.files(m_root), scene.here());
        QCOMPARE(scene.here().size(), 16);
        QCOMPARE(scene.tree.read("here/d1/file 1"), "edited over there");
        QCOMPARE(scene.found().join(u'\n'), QString());
    }

    void whatTheServerBeginsToHideIsNotDeleted()
    {
        FTPServer shown(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
        const FTPServer hiding(FTPServer::Program::vsftpd, FTPServer::Encryption::none, "hide_file={*.txt,secret}\n");
        SyncScene scene;
        useServer(scene, Kind::vsftpd, &shown);
        for (const char *path : {"here/a.txt", "here/secret/b", "here/c", "here/e"})
            scene.tree.write(path, path);
        QCOMPARE(problems(scene.sync()), QString());
        scene.service = hiding.service();
        QVERIFY(QFile::remove(m_root + u"/e"_s));
        const SyncOutcome outcome = scene.sync();
        QCOMPARE(SyncScene::results(outcome),
                 (QStringList{u"a.txt: skipped: it is still on the server"_s, u"e: deleted on this computer"_s,
                              u"secret: skipped: it is still on the server"_s,
                              u"secret/b: skipped: it is still on the server"_s}));
        QVERIFY(scene.tree.exists("here/a.txt") && scene.tree.exists("here/secret/b"));
    }

    void fullServerDiskIsSaidAndNothingIsHalf()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can mount a small disk.");
        SyncScene scene;
        useServer(scene, Kind::shell, nullptr);
        scene.remoteRoot = m_sshd->fullDiskPath();
        scene.tree.write("here/large", QByteArray(200'000, 'x'));
        scene.tree.write("here/small", "1");
        const SyncOutcome full = scene.sync();
        QVERIFY2(problems(full).contains(u"free, but"_s), qPrintable(problems(full)));
        QCOMPARE(scene.found(), (QStringList{u"large: createOnRemote"_s, u"small: createOnRemote"_s}));
        scene.tree.write("here/large", "2");
        QCOMPARE(problems(scene.sync()), QString());
        QCOMPARE(scene.found(), QStringList());
    }

    void cleanupTestCase() { m_sshd.reset(); }

private:
    static std::unique_ptr<FTPServer> ftpServer(Kind kind)
    {
        using Program = FTPServer::Program;
        const auto plain = FTPServer::Encryption::none;
        switch (kind) {
        case Kind::vsftpd:
            return std::make_unique<FTPServer>(Program::vsftpd, plain);
        case Kind::vsftpdLocalTime:
            return std::make_unique<FTPServer>(Program::vsftpd, plain, "use_localtime=YES\n");
        case Kind::proftpd:
            return std::make_unique<FTPServer>(Program::proftpd, plain);
        case Kind::proftpdLocalTime:
            return std::make_unique<FTPServer>(Program::proftpd, plain, "TimesGMT off\n");
        case Kind::shell:
        case Kind::noShell:
            break;
        }
        return nullptr;
    }

    void useServer(SyncScene &scene, Kind kind, const FTPServer *ftp)
    {
        if (ftp) {
            m_server = std::make_unique<TestTree>(ftp->sharedPath());
            scene.service = ftp->service();
        } else {
            if (kind == Kind::noShell && !m_sshd->hasAccounts())
                QSKIP("Only root can make accounts.");
            m_server = std::make_unique<TestTree>(m_sshd->sharedPath());
            const auto clients = std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
            ServerConnection record = m_sshd->connection();
            ConnectionCredentials credentials;
            if (kind == Kind::noShell) {
                record = m_sshd->connectionByPassword(TestServer::userWithoutShell());
                credentials.password = TestServer::password();
            }
            const auto service = std::make_shared<SFTPService>(record, credentials, clients);
            service->connect({});
            scene.service = service;
        }
        QFile::setPermissions(m_server->path(), QFile::Permissions(0x7777));
        scene.remoteRoot = m_root = m_server->path();
    }

    static QString problems(const SyncOutcome &outcome)
    {
        QStringList rows;
        for (const SyncRow &row : outcome.rows) {
            if (row.result != SyncResult::done)
                rows << row.diff.relPath + u": "_s + rawText(row.diff.bucket) + u": "_s + SyncText::result(row);
        }
        for (auto left = outcome.leftOut.cbegin(); left != outcome.leftOut.cend(); ++left)
            rows << left.key() + u": "_s + left->reason;
        if (!outcome.failure.isEmpty())
            rows << outcome.failure;
        return rows.join(u'\n');
    }

    std::unique_ptr<TestServer> m_sshd;
    std::unique_ptr<TestTree> m_server;
    QString m_root;
};

MOORIX_TEST(SyncServerTest)
#include "SyncServerTest.moc"
