// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "base/Error.h"
#include "platform/KeyValueStore.h"
#include "platform/SystemProcessRunner.h"
#include "servers/KeychainStore.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// An engine over documents of its own, at a time that only the test moves.
struct Scene
{
    Scene()
    {
        job.name = u"Web"_s;
        job.sourcePaths = {tree.path("site")};
        job.destinationPath = tree.path("to");
        job.hour = 7;
        qputenv("TMPDIR", QFile::encodeName(tree.path("tmp")));
    }
    ~Scene() { qunsetenv("TMPDIR"); }

    void addJob()
    {
        store.upsert(job);
        engine.tick();
    }
    /// Lets the time pass and the engine do what it then has to.
    void pass(qint64 seconds)
    {
        now = now.addSecs(seconds);
        engine.tick();
        // The look for the destination comes first.
        QTRY_VERIFY(!engine.runningJobID());
        QTest::qWait(0);
    }
    QStringList archives() const { return QDir(tree.path("to")).entryList(QDir::Files); }
    BackupJob saved() const { return *store.job(job.id); }
    BackupEngine::Options options()
    {
        return {{std::make_shared<SystemProcessRunner>(), keychain, {}},
                {tree.path("data/run.lock"), [](const QUuid &) { return std::optional<QString>(); }},
                [this] { return now; },
                [] { return QTimeZone::utc(); }};
    }

    TestTree tree{{"site/a", "text"}, {"to/", ""}, {"tmp/", ""}};
    QDateTime now{QDate(2025, 3, 7), QTime(6, 0), Qt::UTC};
    BackupJob job;
    std::shared_ptr<KeychainStore> keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
    KeyValueStore cloud{QString()};
    BackupStore store{{tree.path("data/backups.json"), false, [this] { return now; }}, cloud};
    BackupHistoryStore history{tree.path("data/backup-runs.json")};
    BackupEngine engine{store, history, options()};
    QSignalSpy ended{&engine, &BackupEngine::runEnded};
    QSignalSpy raised{&engine, &BackupEngine::failureRaised};
};

constexpr qint64 hour = 3600;
constexpr qint64 day = 24 * hour;

} // namespace

/// The scheduler: what runs when, what is noted, and what the user is told.
class BackupEngineTest final : public QObject
{
    Q_OBJECT

private slots:
    void aJobRunsAtItsTimeAndOnlyOnce()
    {
        Scene scene;
        scene.addJob();
        scene.pass(hour - 60);
        QCOMPARE(scene.ended.count(), 0);
        scene.pass(60);
        QTRY_COMPARE(scene.ended.count(), 1);
        QCOMPARE(scene.saved().lastStatus, u"Completed"_s);
        QCOMPARE(scene.saved().lastRun, std::optional(scene.now));
        QVERIFY(scene.saved().lastSuccess && scene.archives().size() == 1);
        for (int tick = 0; tick < 3; ++tick)
            scene.pass(60);
        QCOMPARE(scene.ended.count(), 1);
        QCOMPARE(scene.history.state(scene.job.id)->lastGoodArchive, scene.archives().constFirst());
        QVERIFY(scene.history.state(scene.job.id)->runs.constFirst().notes.filter(u"Made up"_s).isEmpty());
    }

    void missedRunsAreMadeUpForOnceAndSaidSo()
    {
        Scene scene;
        scene.addJob();
        scene.pass(5 * day + 2 * hour);
        QTRY_COMPARE(scene.ended.count(), 1);
        scene.pass(60);
        QCOMPARE(scene.ended.count(), 1);
        const QStringList notes = scene.history.state(scene.job.id)->runs.constFirst().notes;
        QVERIFY2(notes.constFirst().startsWith(u"Made up for the run of "_s), qPrintable(notes.join(u' ')));
    }

    void neitherANewJobNorANewScheduleRunsForThePast()
    {
        Scene scene;
        scene.now = scene.now.addSecs(6 * hour);
        scene.addJob();
        scene.pass(60);
        QCOMPARE(scene.ended.count(), 0);
        scene.job.hour = 10;
        scene.addJob();
        scene.pass(60);
        scene.store.setEnabled(scene.job.id, false);
        scene.pass(3 * day);
        scene.store.setEnabled(scene.job.id, true);
        scene.pass(60);
        QCOMPARE(scene.ended.count(), 0);
    }

    void aDestinationThatIsAwayIsWaitedForQuietlyAndThenLoudly()
    {
        Scene scene;
        QDir().rename(scene.tree.path("to"), scene.tree.path("unplugged"));
        scene.addJob();
        scene.pass(hour);
        QTRY_VERIFY(scene.history.state(scene.job.id)->absentSince);
        scene.pass(2 * day - 60);
        QCOMPARE(scene.raised.count() + scene.ended.count(), 0);
        scene.pass(60);
        QTRY_COMPARE(scene.raised.count(), 1);
        QVERIFY(!scene.saved().lastSuccess && scene.saved().lastStatus.contains(u"has been away since"_s));
        scene.pass(day);
        QCOMPARE(scene.raised.count(), 1);
        QDir().rename(scene.tree.path("unplugged"), scene.tree.path("to"));
        scene.pass(60);
        QTRY_COMPARE(scene.ended.count(), 1);
        QVERIFY(scene.saved().lastSuccess && !scene.history.state(scene.job.id)->absentSince);
    }

    void aFailureIsNotedAndRaisedAndTheLastGoodRunStaysKnown()
    {
        Scene scene;
        scene.addJob();
        QVERIFY(!scene.engine.run(scene.job.id));
        QCOMPARE(scene.engine.progress(), u"Starting “Web”…"_s);
        QCOMPARE(scene.engine.run(scene.job.id), std::optional(u"Another backup is running."_s));
        QTRY_COMPARE(scene.ended.count(), 1);
        const QDateTime good = scene.now;
        QFile::remove(scene.tree.path("site/a"));
        QDir().rmdir(scene.tree.path("site"));
        scene.pass(day);
        QTRY_COMPARE(scene.raised.count(), 1);
        QVERIFY(scene.saved().lastStatus.contains(u"/site” cannot be backed up: No such file"_s));
        QVERIFY(!scene.saved().lastSuccess && !scene.engine.runningJobID() && scene.engine.progress().isEmpty());
        QCOMPARE(scene.history.state(scene.job.id)->lastGoodRun, std::optional(good));
        QCOMPARE(BackupHistoryStore(scene.tree.path("data/backup-runs.json")).state(scene.job.id)->runs.size(), 2);
    }

    void twoProgramsNeverRunTheSameJob()
    {
        Scene scene;
        BackupEngine other(scene.store, scene.history, scene.options());
        QSignalSpy otherEnded(&other, &BackupEngine::runEnded);
        scene.addJob();
        scene.now = scene.now.addSecs(hour);
        scene.engine.tick();
        other.tick();
        QTRY_COMPARE(scene.ended.count() + otherEnded.count(), 1);
        scene.engine.tick();
        other.tick();
        QTest::qWait(50);
        QTRY_VERIFY(!scene.engine.runningJobID() && !other.runningJobID());
        QCOMPARE(scene.archives().size(), 1);
    }

    void aCancelledRunLeavesNothingAndIsNotStartedAgain()
    {
        Scene scene;
        for (int i = 0; i < 40; ++i)
            scene.tree.write(u"site/%1"_s.arg(i), QByteArray(500'000, char('a' + i % 26)));
        scene.addJob();
        QVERIFY(!scene.engine.run(scene.job.id));
        QTRY_COMPARE(scene.engine.progress(), u"Compressing…"_s);
        scene.engine.cancel();
        QTRY_COMPARE(scene.ended.count(), 1);
        QCOMPARE(scene.saved().lastStatus, u"Cancelled"_s);
        QCOMPARE(scene.raised.count(), 0);
        QVERIFY(QDir(scene.tree.path("to")).isEmpty());
        QVERIFY(QDir(scene.tree.path("tmp")).isEmpty());
    }
};

MOORIX_TEST(BackupEngineTest)
#include "BackupEngineTest.moc"
