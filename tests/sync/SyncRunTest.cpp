// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

void makeOlder(const QString &path, qint64 seconds)
{
    setTimeAndMode(path, systemNow().addSecs(-seconds), QFile::ReadOwner | QFile::WriteOwner);
}

} // namespace

/// Whole syncs between two folders, and what must never happen in them.
class SyncRunTest final : public QObject
{
    Q_OBJECT

private slots:
    void aHistoryThatCannotBeWrittenIsANoteBesideTheResult()
    {
        SyncScene scene;
        scene.tree.write("here/a", "new");
        const QString history = scene.tree.path("state/pair.state.json");
        scene.server->halfway = [&history](const QString &) { QDir().mkpath(history); };
        const SyncOutcome outcome = scene.sync();
        QCOMPARE(scene.results(outcome), QStringList(u"a: copied to the server"_s));
        QVERIFY2(outcome.notes.last().startsWith(u"This sync is not in the pair's history: "_s),
                 qPrintable(outcome.notes.join(u'\n')));
        QVERIFY(QDir().rmdir(history));
        QCOMPARE(scene.found(), QStringList());
    }

    void changesGoBothWaysAndThenThereIsNothingToDo()
    {
        SyncScene scene;
        for (const char *path : {"here/same", "here/d/edited here", "here/d/edited there", "here/deleted there",
                                 "here/deleted/here", "here/.dot", "here/empty/"})
            scene.tree.write(path, path);
        scene.tree.write("there/only there", "3");
        QVERIFY(scene.work().review({}).isFirst);
        const SyncOutcome first = scene.sync();
        QCOMPARE(first.count(SyncResult::failed), 0);
        QCOMPARE(scene.here(), scene.there());
        QCOMPARE(scene.here().size(), 10);
        QCOMPARE(scene.found(), QStringList());

        scene.tree.write("here/d/edited here", "much longer");
        scene.tree.write("there/d/edited there", "longer than it was");
        QVERIFY(QFile::remove(scene.tree.path("there/deleted there")));
        QVERIFY(QDir(scene.tree.path("here/deleted")).removeRecursively());
        scene.tree.write("there/new/deep/file", "new");
        QCOMPARE(scene.found(), (QStringList{u"d/edited here: updateRemote"_s, u"d/edited there: updateLocal"_s,
                                             u"deleted: deleteRemote"_s, u"deleted there: deleteLocal"_s,
                                             u"deleted/here: deleteRemote"_s, u"new: createOnLocal"_s,
                                             u"new/deep: createOnLocal"_s, u"new/deep/file: createOnLocal"_s}));
        const SyncOutcome second = scene.sync();
        QCOMPARE(second.count(SyncResult::failed) + second.count(SyncResult::skipped), 0);
        QCOMPARE(scene.here(), scene.there());
        QCOMPARE(scene.here().size(), 10);
        QCOMPARE(scene.tree.read("here/d/edited there"), "longer than it was");
        QCOMPARE(scene.versions(), (QList<QByteArray>{"here/d/edited there", "here/deleted there"}));
        QCOMPARE(scene.found(), QStringList());
    }

    void whatLooksLikeAMistakeIsAskedFirst()
    {
        using Kind = SyncQuestion::Kind;
        const auto kinds = [](const SyncPlan &plan) {
            QList<Kind> all;
            for (const SyncQuestion &question : plan.questions)
                all << question.kind;
            return all;
        };
        SyncScene scene;
        for (int i = 0; i < 5; ++i)
            scene.tree.write(u"here/%1"_s.arg(i), "x");
        scene.sync();
        QFile::remove(scene.tree.path("there/0"));
        QFile::remove(scene.tree.path("there/1"));
        QCOMPARE(kinds(scene.work().review({})), QList<Kind>());
        QFile::remove(scene.tree.path("there/2"));
        QCOMPARE(kinds(scene.work().review({})), QList<Kind>{Kind::manyDeletions});
        // As when a disk is not mounted.
        QVERIFY(QDir().rename(scene.tree.path("there"), scene.tree.path("away")));
        QVERIFY(messageOf([&] { scene.work().review({}); }).contains(u"not on web any more"_s));
        scene.tree.write("there/", "");
        const SyncPlan emptied = scene.work().review({});
        QCOMPARE(kinds(emptied), (QList<Kind>{Kind::emptied, Kind::missingMarker, Kind::manyDeletions}));
        QCOMPARE(
            emptied.questions.first().text,
            u"“%1” on web is empty, but held 5 files and folders after the last sync. Going on deletes them on this computer."_s
                .arg(scene.remoteRoot));
        QVERIFY(QDir().rename(scene.tree.path("here"), scene.tree.path("not here")));
        QVERIFY(messageOf([&] { scene.work().review({}); }).contains(u"is not there"_s));
    }

    void whatCannotBeSyncedIsSaidAndTheRestGoesOn()
    {
        SyncScene scene;
        scene.tree.write("here/ok", "1");
        scene.tree.write("here/clash", "a file");
        scene.tree.write("there/clash/inner", "in a folder");
        scene.tree.write("here/case", "lower");
        scene.tree.write("there/Case", "upper");
        scene.tree.write("here/ctrl\x01", "c");
        scene.tree.write("here/a  b", "two blanks");
        scene.tree.write("here/skip.o", "ignored");
        scene.tree.link("here/link", "ok");
        scene.tree.write("there/link", "a file where the other side has a link");
        scene.patterns = {u"*.o"_s};
        scene.server->times.precision = ListedTimes::Precision::minutesOrDays;
        const SyncOutcome outcome = scene.sync();
        QCOMPARE(SyncScene::results(outcome),
                 (QStringList{u"Case: skipped: it differs only in upper and lower case from “case” on the other side"_s,
                              u"case: skipped: it differs only in upper and lower case from “Case” on the other side"_s,
                              u"clash: conflict: it is a file on this computer, but a folder on the server"_s,
                              u"clash/inner: skipped: its folder is a file on the other side"_s,
                              u"ok: copied to the server"_s}));
        QCOMPARE(outcome.leftOut.keys(), (QStringList{u"a  b"_s, u"ctrl\u0001"_s, u"link"_s, u"skip.o"_s}));
        QCOMPARE(scene.there().size(), 5);
        // Neither a pattern that comes nor one that goes looks like a deletion.
        scene.patterns = {u"*.o"_s, u"ok"_s};
        scene.sync();
        QFile::remove(scene.tree.path("there/ok"));
        scene.patterns = {};
        QVERIFY(scene.found().contains(u"ok: createOnRemote"_s));
        QVERIFY(scene.tree.exists("here/ok"));
    }

    void conflictsAreLeftOrSettledAsTheUserSays()
    {
        for (const SyncAction action :
             {SyncAction::leave, SyncAction::copyToLocal, SyncAction::copyToRemote, SyncAction::keepBoth}) {
            SyncScene scene;
            scene.tree.write("here/d/a.tar.gz", "here");
            scene.sync();
            scene.tree.write("here/d/a.tar.gz", "edited here");
            scene.tree.write("there/d/a.tar.gz", "edited over there");
            QCOMPARE(scene.found(), QStringList{u"d/a.tar.gz: conflict"_s});
            scene.decide = [action](SyncPlan &plan) {
                for (SyncRow &row : plan.rows) {
                    if (row.diff.bucket == SyncBucket::conflict)
                        row.action = action;
                }
            };
            const SyncOutcome outcome = scene.sync();
            scene.decide = [](SyncPlan &) {};
            QCOMPARE(outcome.openCount(), action == SyncAction::leave ? 1 : 0);
            if (action == SyncAction::leave) {
                QCOMPARE(scene.found(), QStringList{u"d/a.tar.gz: conflict"_s});
                continue;
            }
            QCOMPARE(scene.here(), scene.there());
            QCOMPARE(scene.found(), QStringList());
            const QString kept = u"d/a (%1 %2).tar.gz"_s.arg(QSysInfo::machineHostName(),
                                                             scene.now.toLocalTime().toString(u"yyyy-MM-dd HH.mm"_s));
            TreeSnapshot expected{{u"d/"_s, {}}, {u"d/a.tar.gz"_s, "edited over there"}};
            if (action == SyncAction::copyToRemote)
                expected[u"d/a.tar.gz"_s] = "edited here";
            if (action == SyncAction::keepBoth)
                expected[kept] = "edited here";
            QCOMPARE(scene.here(), expected);
            if (action == SyncAction::copyToLocal)
                QCOMPARE(scene.versions(), QList<QByteArray>{"edited here"});
        }
    }

    void whatChangesMeanwhileIsNeitherReplacedNorDeleted()
    {
        SyncScene scene;
        for (const char *path : {"here/a", "here/b", "here/c", "here/e"})
            scene.tree.write(path, "old");
        scene.sync();
        scene.tree.write("here/a", "edited here");
        scene.tree.write("there/b", "edited there");
        QFile::remove(scene.tree.path("there/c"));
        QFile::remove(scene.tree.path("here/e"));
        scene.decide = [&](SyncPlan &) {
            scene.tree.write("there/a", "quick edit on the server");
            scene.tree.write("here/b", "quick edit here");
            scene.tree.write("there/c", "it is back");
            scene.tree.write("here/e", "it is back, too");
        };
        const SyncOutcome outcome = scene.sync();
        QCOMPARE(SyncScene::results(outcome), (QStringList{u"a: skipped: it has changed on the server meanwhile"_s,
                                                           u"b: skipped: it has changed on this computer meanwhile"_s,
                                                           u"c: skipped: it is still on the server"_s,
                                                           u"e: skipped: it is still on this computer"_s}));
        QCOMPARE(scene.tree.read("there/a"), "quick edit on the server");
        QCOMPARE(scene.tree.read("here/b"), "quick edit here");
        QCOMPARE(scene.tree.read("here/c"), "old");
        // An old preview is looked at once more as a whole.
        scene.decide = [&](SyncPlan &plan) {
            for (SyncRow &row : plan.rows)
                row.action = row.choices().first();
            scene.tree.write("here/a", "edited yet again, and longer");
            scene.now = scene.now.addSecs(3600);
        };
        QVERIFY(SyncScene::results(scene.sync()).contains(u"a: skipped: it has changed since the preview"_s));
    }

    void fileThatChangesWhileItIsCopiedIsSkipped()
    {
        for (const bool isTakingMany : {false, true}) {
            SyncScene scene;
            scene.server->isTakingMany = isTakingMany;
            scene.tree.write("here/log", "line 1\n");
            scene.tree.write("here/other", "2");
            scene.server->halfway = [&scene](const QString &source) {
                if (source.endsWith(u"log"_s))
                    scene.tree.write("here/log", "line X\n");
            };
            makeOlder(scene.tree.path("here/log"), 1000);
            const SyncOutcome outcome = scene.sync();
            QVERIFY2(SyncScene::results(outcome).contains(u"log: failed: it changed while it was being copied"_s),
                     qPrintable(SyncScene::results(outcome).join(u'\n')));
            QVERIFY(!scene.tree.exists("there/log"));
            QCOMPARE(scene.tree.read("there/other"), "2");
        }
    }

    void editAfterAnInterruptedSyncIsNoConflict()
    {
        SyncScene scene;
        for (const char *path : {"here/a", "here/b", "here/c"})
            scene.tree.write(path, "old");
        scene.sync();
        for (const char *path : {"here/a", "here/b", "here/c"})
            scene.tree.write(path, "edited");
        // Broken off in the middle of the second file; what is remembered stays that of the first sync.
        std::stop_source stop;
        std::atomic<int> files = 0;
        scene.server->isTakingMany = false;
        scene.gate = std::make_shared<TransferGate>(1);
        scene.server->halfway = [&](const QString &) {
            if (++files == 1)
                return;
            // The first may still be about to take its name.
            for (int look = 0; look < 500 && scene.tree.read("there/a") != "edited"; ++look)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            stop.request_stop();
        };
        QVERIFY(!scene.sync(stop.get_token()).manifest);
        QCOMPARE(scene.tree.read("there/a"), "edited");
        scene.server->halfway = {};
        scene.tree.write("here/a", "edited after the interruption");
        scene.tree.write("here/b", "edited after the interruption");
        scene.tree.write("here/c", "edited after the interruption");
        QCOMPARE(scene.found(), (QStringList{u"a: updateRemote"_s, u"b: updateRemote"_s, u"c: updateRemote"_s}));
        scene.sync();
        QCOMPARE(scene.here(), scene.there());
        QCOMPARE(scene.found(), QStringList());
    }

    void filesThatHoldTheSameAreNoConflict()
    {
        SyncScene scene;
        scene.server->hasShell = true;
        for (const char *path : {"here/same", "there/same"})
            scene.tree.write(path, "equal");
        scene.tree.write("here/other", "12345");
        scene.tree.write("there/other", "54321");
        makeOlder(scene.tree.path("there/same"), 100'000);
        makeOlder(scene.tree.path("there/other"), 100'000);
        QCOMPARE(scene.found(), QStringList{u"other: conflict"_s});
        scene.sync();
        QCOMPARE(scene.found(), QStringList{u"other: conflict"_s});
        scene.tree.write("there/same", "edited");
        QVERIFY(scene.found().contains(u"same: updateLocal"_s));
    }

    void unreadableFolderAndDamagedStateDeleteNothing()
    {
        SyncScene scene;
        scene.tree.write("here/d/a", "1");
        scene.tree.write("here/b", "2");
        scene.sync();
        QVERIFY(QDir(scene.tree.path("there/d")).removeRecursively());
        scene.tree.write("there/d/", "");
        scene.server->unreadable = scene.tree.path("there/d");
        QCOMPARE(scene.found(), QStringList());
        QCOMPARE(scene.plan.questions.size(), 1);
        scene.sync();
        scene.server->unreadable.clear();
        QCOMPARE(scene.found(), QStringList{u"d/a: deleteLocal"_s});
        scene.tree.write("state/pair.json", "{");
        QCOMPARE(scene.found(), QStringList{u"d/a: createOnRemote"_s});
        QVERIFY(scene.plan.isFirst);
        QVERIFY(QDir(scene.tree.path("state")).entryList({u"pair.corrupt-*.json"_s}).size() == 1);
    }

    void onlyOneSyncOfAPairAtATime()
    {
        SyncScene scene;
        const auto lock = SyncStateStore(scene.tree.path("state")).lock(u"pair"_s);
        QCOMPARE(messageOf([&] { scene.sync(); }), u"This folder pair is being synced already."_s);
    }

    void olderVersionsGoAfterAMonth()
    {
        SyncScene scene;
        scene.tree.write("here/a", "1");
        scene.sync();
        scene.tree.write("there/a", "22");
        scene.sync();
        QCOMPARE(scene.versions(), QList<QByteArray>{"1"});
        scene.now = scene.now.addDays(SyncVersions::keptDays + 2);
        scene.sync();
        QCOMPARE(scene.versions(), QList<QByteArray>());
    }
};

MOORIX_TEST(SyncRunTest)
#include "SyncRunTest.moc"
