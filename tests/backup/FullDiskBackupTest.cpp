// SPDX-License-Identifier: GPL-3.0-or-later
// The temporary folder's disk or the destination's fills up before or in the middle of a run. The runs happen in a
// program of their own, which alone sees the small disk.
#include "backup/BackupRun.h"
#include "platform/SystemProcessRunner.h"
#include "servers/KeychainStore.h"
#include "support/MemoryKeychain.h"
#include "support/SmallDisk.h"
#include "support/TestMain.h"

#include <QDir>
#include <QRandomGenerator>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Skipped unless started by the test below.
class SmallDiskBackupProgram final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        if (!SmallDisk::folder())
            QSKIP("Only a part of FullDiskBackupTest.");
    }

    void olderArchivesStayAndNothingElse_data()
    {
        QTest::addColumn<bool>("isDestination");
        QTest::addColumn<bool>("makesArchive");
        QTest::addColumn<QString>("fillsAt");
        QTest::newRow("no room to make it") << false << true << u"Starting “Web”…"_s;
        QTest::newRow("while packing") << false << true << u"Compressing…"_s;
        QTest::newRow("while encrypting") << false << true << u"Encrypting…"_s;
        QTest::newRow("no room at the destination") << true << true << u"Starting “Web”…"_s;
        QTest::newRow("while copying") << true << true << u"Copying…"_s;
        QTest::newRow("while copying files") << true << false << u"Copying…"_s;
    }

    void olderArchivesStayAndNothingElse()
    {
        QFETCH(bool, isDestination);
        QFETCH(bool, makesArchive);
        QFETCH(QString, fillsAt);
        const QString disk = SmallDisk::folder().value();
        QDir(disk).removeRecursively();
        const TestTree tree{{"to/", ""}, {"tmp/", ""}};
        const QString to = isDestination ? disk + u"/to"_s : tree.path("to");
        const QString temporary = isDestination ? tree.path("tmp") : disk + u"/tmp"_s;
        QVERIFY(QDir().mkpath(to) && QDir().mkpath(temporary));
        qputenv("TMPDIR", QFile::encodeName(temporary));
        QByteArray noise(SmallDisk::bytes / 4, Qt::Uninitialized);
        QRandomGenerator(1).generate(reinterpret_cast<quint32 *>(noise.data()),
                                     reinterpret_cast<quint32 *>(noise.data() + noise.size()));
        tree.write("site/a", noise);
        const QString old = to + (makesArchive ? u"/Web-20240101-000000.zip.enc"_s : u"/Web-20240101-000000/x"_s);
        QVERIFY(QDir().mkpath(old.section(u'/', 0, -2)));
        putFile(old, "old");

        BackupJob job;
        job.name = u"Web"_s;
        job.sourcePaths = {tree.path("site")};
        job.destinationPath = to;
        job.zip = job.encrypt = makesArchive;
        job.keepVersions = 1;
        const auto keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
        keychain->rememberForThisRun(u"p"_s, job.id, SecretKind::passphrase);
        BackupRun::Surroundings surroundings;
        surroundings.transferID = QUuid::createUuid();
        int reports = 0;
        const auto fillUp = [&](const BackupProgress &progress) {
            QFile other(disk + u"/other"_s);
            // The copy's own first report comes when it has found the room to be enough.
            const bool isMoment = progress.text == fillsAt && (fillsAt != u"Copying…" || ++reports == 2);
            if (!isMoment || other.exists() || !other.open(QIODevice::WriteOnly))
                return;
            // To the last byte: a disk that is full takes what it can.
            while (other.write(QByteArray(16'384, 'o')) > 0 && other.flush()) {
            }
        };
        BackupRun run(job, {std::make_shared<SystemProcessRunner>(), keychain, {}}, surroundings, fillUp);
        const BackupOutcome outcome = run.run(QDateTime(QDate(2025, 3, 7), QTime(14, 5, 9)), {});

        QVERIFY(!outcome.succeeded() && outcome.archive.isEmpty());
        const QString why = outcome.failure;
        QVERIFY2(why.contains(u" free"_s) || why.contains(u"space"_s) || why.contains(u"full"_s), qPrintable(why));
        QVERIFY2(!why.contains(u".part"_s), qPrintable(why));
        QCOMPARE(contentOf(old), QByteArray("old"));
        QCOMPARE(QDir(to).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
        QVERIFY(QDir(temporary).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
        QFile::remove(disk + u"/other"_s);
    }
};

class FullDiskBackupTest final : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsLost() { SmallDisk::verify("SmallDiskBackupProgram", "while copying files"); }
};

MOORIX_TEST(SmallDiskBackupProgram)
MOORIX_TEST(FullDiskBackupTest)
#include "FullDiskBackupTest.moc"
