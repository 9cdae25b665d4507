// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupStore.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);

BackupStore::Options optionsOf(const TestTree &tree, bool isCloudOn = false)
{
    return {tree.path("Moorix/backups.json"), isCloudOn, [] { return noon; }};
}

} // namespace

/// The list of jobs in its file, and what a record may lack.
class BackupStoreTest final : public QObject
{
    Q_OBJECT

private slots:
    void whatARecordLacksIsWhatANewJobHas()
    {
        const BackupLibrary library = BackupLibrary::decode(
            R"({"jobs":[{}, {"name":null,"frequency":"monthly","hour":5,"destinationServerID":null}]})");
        BackupJob expected;
        expected.id = library.jobs.at(0).id;
        QVERIFY(!expected.id.isNull() && library.jobs.at(0) == expected);
        QCOMPARE(expected.name, u"New Backup"_s);
        QVERIFY(library.jobs.at(1).frequency == BackupFrequency::monthly && library.jobs.at(1).hour == 5);
        for (const char *job : {R"({"frequency":"hourly"})", R"({"sourcePaths":[1]})", R"({"zip":"yes"})", "7"})
            QVERIFY(!messageOf([&] { BackupLibrary::decode(R"({"jobs":[)" + QByteArray(job) + "]}"); }).isEmpty());
    }

    void aFullRecordComesBackAsItWas()
    {
        BackupJob job;
        job.name = u"a \"b\""_s;
        job.sourcePaths = {u"/x"_s, u"/y z"_s};
        job.destinationServerID = QUuid::createUuid();
        job.lastRun = noon;
        job.lastStatus = u"zip failed"_s;
        job.encrypt = true;
        const BackupLibrary library{{job, BackupJob()}, noon};
        QVERIFY(BackupLibrary::decode(library.encode()) == library);
    }

    void aFirstStartWritesNothingAndADamagedFileIsSetAside()
    {
        const TestTree tree{{"Moorix/", ""}};
        KeyValueStore cloud{QString()};
        QVERIFY(BackupStore(optionsOf(tree), cloud).jobs().isEmpty());
        QVERIFY(!tree.exists("Moorix/backups.json"));
        tree.write("Moorix/backups.json", "garbage");
        BackupStore store(optionsOf(tree), cloud);
        QVERIFY(store.problem().contains(u"backups.corrupt-.json"_s));
        QCOMPARE(tree.read("Moorix/backups.corrupt-.json"), QByteArray("garbage"));
        store.upsert(BackupJob());
        QCOMPARE(BackupLibrary::decode(tree.read("Moorix/backups.json")).lastModified, std::optional(noon));
    }

    void anEditNeverUndoesWhatARunHasNoted()
    {
        const TestTree tree;
        KeyValueStore cloud{QString()};
        BackupStore store(optionsOf(tree), cloud);
        BackupStore other(optionsOf(tree), cloud);
        BackupJob job;
        store.upsert(job);
        other.refresh();
        other.noteRun(job.id, noon, true, u"Completed"_s);
        job.name = u"renamed"_s;
        store.upsert(job);
        other.refresh();
        QCOMPARE(other.job(job.id)->name, u"renamed"_s);
        QCOMPARE(other.job(job.id)->lastRun, std::optional(noon));
        QVERIFY(other.job(job.id)->lastSuccess);
    }

    void theNewerOfFileAndCloudWins()
    {
        BackupJob cloudJob;
        const TestTree tree{{"cloud/backupLibrary.v1.json", BackupLibrary{{cloudJob}, noon.addDays(1)}.encode()},
                            {"Moorix/backups.json", BackupLibrary{{BackupJob()}, noon}.encode()}};
        KeyValueStore cloud{tree.path("cloud")};
        BackupStore store(optionsOf(tree, true), cloud);
        QVERIFY(store.jobs() == QList{cloudJob});
        store.move(cloudJob.id, 5);
        store.upsert(BackupJob());
        store.move(cloudJob.id, 5);
        QCOMPARE(store.jobs().last().id, cloudJob.id);
        QCOMPARE(tree.read("cloud/backupLibrary.v1.json"), tree.read("Moorix/backups.json"));
    }
};

MOORIX_TEST(BackupStoreTest)
#include "BackupStoreTest.moc"
