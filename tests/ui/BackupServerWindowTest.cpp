// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupEngine.h"
#include "backup/BackupStore.h"
#include "support/TestServer.h"
#include "ui/WindowBench.h"

#include <QCheckBox>
#include <QDir>
#include <QTreeView>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QString secret = u"six words nobody would guess"_s;

} // namespace

/// Backups in the window whose archives go to a real server, and runs that do not come to their end.
class BackupServerWindowTest final : public QObject
{
    Q_OBJECT

    struct Bench : WindowBench
    {
        using WindowBench::WindowBench;

        QString text(const char *name) const
        {
            const auto *label = find<QLabel>(name);
            return label ? label->text() : QString();
        }
        BackupJob addJob(const QString &folder, const std::optional<QUuid> &server) const
        {
            BackupJob job;
            job.name = u"Site"_s;
            job.sourcePaths = {home.path("left/site")};
            job.destinationPath = folder;
            job.destinationServerID = server;
            job.encrypt = true;
            model->backups().upsert(job);
            KeychainStore(keychain).set(secret, job.id, SecretKind::passphrase);
            return job;
        }
        void showBackups() const { key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier); }
        QStringList staged() const { return QDir(home.path("tmp")).entryList({u"moorix-backup*"_s}, QDir::Dirs); }
        void give(const QString &passphrase) const
        {
            [this] { QTRY_VERIFY(find("archivePassphrase")); }();
            QTest::keyClicks(find("archivePassphrase"), passphrase);
            key(Qt::Key_Return);
        }
    };

    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;

    std::unique_ptr<Bench> open() const
    {
        auto bench = std::make_unique<Bench>(
            std::initializer_list<TestTree::Entry>{{"left/site/index.html", "<html>"}, {"disk/", ""}, {"tmp/", ""}},
            m_clients);
        qputenv("TMPDIR", QFile::encodeName(bench->home.path("tmp")));
        return bench;
    }

private slots:
    void initTestCase()
    {
        m_sshd = std::make_unique<TestServer>();
        m_clients = std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
    }
    void cleanup() { qunsetenv("TMPDIR"); }
    void cleanupTestCase() { m_sshd.reset(); }

    void anArchiveOnAServerIsFetchedOnceForAnyNumberOfPassphrases()
    {
        const auto bench = open();
        ServerConnection server = m_sshd->connection();
        server.name = u"nas"_s;
        bench->model->servers().upsert(server);
        const BackupJob job = bench->addJob(m_sshd->sharedPath(), server.id);
        bench->showBackups();
        bench->click(bench->find("backupRun"));
        QTRY_COMPARE(bench->text("backupStatus"), u"Completed"_s);
        const QStringList archives = QDir(m_sshd->sharedPath()).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(archives.size(), 1);
        QCOMPARE(bench->staged(), QStringList());

        KeychainStore(bench->keychain).remove(job.id, SecretKind::passphrase);
        bench->click(bench->find("backupArchives"));
        QTRY_VERIFY(bench->find("archiveRestore") && bench->find("archiveRestore")->isEnabled());
        bench->click(bench->find("archiveRestore"));
        bench->give(u"wrong"_s);
        const QString path = m_sshd->sharedPath() + u'/' + archives.first();
        const QString sentence =
            u"“%1” could not be decrypted: the passphrase is wrong, or the file is damaged."_s.arg(path);
        QTRY_COMPARE(bench->text("passphraseReason"), sentence);
        const auto runs = [this] { return m_clients->runs(u"/usr/bin/sftp"_s) + m_clients->runs(u"/usr/bin/ssh"_s); };
        const int before = runs();
        bench->give(u"wrong again"_s);
        QTRY_COMPARE(bench->text("passphraseReason"), sentence);
        bench->give(secret);
        QTRY_VERIFY(bench->find("archiveTree"));
        bench->click(bench->find("archiveVerify"));
        QTRY_VERIFY(bench->text("messageBarText").contains(u"are whole"_s));
        QCOMPARE(runs(), before);
        QCOMPARE(bench->staged().size(), 1);
        bench->key(Qt::Key_Escape);
        QTRY_COMPARE(bench->staged(), QStringList());
    }

    void aCancelledRunLeavesNothing()
    {
        const auto bench = open();
        for (int i = 0; i < 40; ++i)
            bench->home.write(u"left/site/%1"_s.arg(i), QByteArray(500'000, char('a' + i % 26)));
        bench->addJob(bench->home.path("disk"), std::nullopt);
        bench->showBackups();
        bench->click(bench->find("backupRun"));
        QTRY_COMPARE(bench->text("backupProgress"), u"Compressing…"_s);
        bench->click(bench->find("backupCancel"));
        QTRY_COMPARE(bench->text("backupStatus"), u"Cancelled"_s);
        QVERIFY(!bench->find("backupCancel") && bench->find("backupRun")->isEnabled());
        QCOMPARE(bench->text("backupLastGood"), u"No good backup yet"_s);
        QVERIFY(QDir(bench->home.path("disk")).isEmpty());
        QCOMPARE(bench->staged(), QStringList());
    }

    void aKeychainThatIsMissingIsSaidInWords()
    {
        const auto bench = open();
        bench->addJob(bench->home.path("disk"), std::nullopt);
        for (const KeychainVariant variant : {KeychainVariant::synchronizable, KeychainVariant::deviceOnly})
            bench->keychain->setBroken(variant, true);
        bench->showBackups();
        bench->click(bench->find("backupRun"));
        QTRY_COMPARE(bench->text("backupStatus"), u"Encryption passphrase unavailable — backup not run"_s);
        QCOMPARE(bench->text("backupNotes"), u"The keychain is locked."_s);
        QVERIFY(QDir(bench->home.path("disk")).isEmpty());
        bench->click(bench->find("backupEdit"));
        for (const char *field : {"backupPassphrase", "backupPassphraseAgain"})
            QTest::keyClicks(bench->find(field), secret);
        bench->click(bench->find("backupSave"));
        QTRY_VERIFY(bench->text("messageBarText").contains(u"its passphrase is not in the keychain"_s));
        QVERIFY(!bench->text("messageBarText").contains(secret));
        bench->click(bench->find("backupRun"));
        QTRY_COMPARE(bench->text("backupStatus"), u"Completed"_s);
    }

    void anEncryptedArchiveIsOpenedByReturnInAList()
    {
        const auto bench = open();
        const BackupJob job = bench->addJob(bench->home.path("right"), std::nullopt);
        QVERIFY(!bench->model->backupEngine().run(job.id));
        QTRY_VERIFY(!bench->model->backupEngine().runningJobID());
        QTRY_COMPARE(bench->pane(Side::right)->displayed().size(), 1);
        bench->activateList(Side::right);
        bench->select(Side::right, bench->pane(Side::right)->displayed().first().name.toUtf8().constData());
        bench->key(Qt::Key_Return);
        bench->give(secret);
        QTRY_VERIFY(bench->find("archiveTree"));
        QCOMPARE(bench->text("archiveSummary"), u"1 file, 6 bytes when unpacked"_s);
    }
};

MOORIX_TEST(BackupServerWindowTest)
#include "BackupServerWindowTest.moc"
