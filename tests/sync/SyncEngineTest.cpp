// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncScene.h"

#include "base/Json.h"
#include "platform/KeyValueStore.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"

#include <QDir>
#include <QSignalSpy>
#include <QThread>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

using State = SyncSession::State;

/// An engine over the two folders of a scene, with a library of one server.
struct EngineScene
{
    SyncScene scene;
    KeyValueStore cloud{QString()};
    SyncPairStore pairs{scene.tree.path("state/pairs.json"), cloud};
    ServerConnection record = serverAt(u"web"_s, u"me"_s);
    SyncPair pair{newUuid(), {}, scene.tree.path("here"), record.id, scene.tree.path("there"), {}};
    std::unique_ptr<SyncEngine> engine;
    QHash<const FileService *, QStringList> changedFolders;

    EngineScene() { start(); }
    void start()
    {
        SyncPlaces places;
        places.local = scene.disk;
        places.stateFolder = scene.tree.path("state");
        places.open = [server = scene.server](const ServerConnection &, SyncPlaces::Opened done,
                                              SyncPlaces::Failed failed) {
            return runJob(
                [server](const std::stop_token &stop) {
                    server->connect(stop);
                    return std::shared_ptr<FileService>(server);
                },
                std::move(done), std::move(failed));
        };
        engine = std::make_unique<SyncEngine>(
            places, pairs, [this](const QUuid &id) { return id == record.id ? std::optional(record) : std::nullopt; });
        QObject::connect(engine.get(), &SyncEngine::foldersChanged, engine.get(),
                         [this](const FileService *service, const QStringList &folders) {
                             changedFolders[service] = sorted(folders);
                         });
    }
    SyncSession &session() { return engine->open(pair, record); }
    void look()
    {
        session().look();
        QTRY_COMPARE(session().state(), State::review);
    }
    void sync()
    {
        look();
        session().apply();
        QTRY_COMPARE(session().state(), State::done);
    }
    /// What is to be done about the row of this path.
    SyncAction action(const char *path)
    {
        for (const SyncRow &row : session().plan().rows) {
            if (row.diff.relPath == QLatin1String(path))
                return row.action;
        }
        return SyncAction::none;
    }
    QList<qsizetype> allRows()
    {
        QList<qsizetype> rows;
        for (qsizetype i = 0; i < session().plan().rows.size(); ++i)
            rows << i;
        return rows;
    }
};

void blockUntilStopped(const std::stop_token &stop)
{
    while (!stop.stop_requested())
        QThread::msleep(2);
    throw Cancelled();
}

} // namespace

/// Sessions of folder pairs, as the window drives them.
class SyncEngineTest final : public QObject
{
    Q_OBJECT

private slots:
    void looksThenAppliesAndTellsWhatChanged()
    {
        EngineScene bench;
        bench.scene.tree.write("here/a/mine", "mine");
        bench.scene.tree.write("there/b/theirs", "theirs");
        SyncSession &session = bench.session();
        QList<State> states;
        connect(&session, &SyncSession::stateChanged, this, [&] { states << session.state(); });
        bench.look();
        QVERIFY(session.plan().isFirst);
        QVERIFY(session.log().isEmpty());
        session.apply();
        QTRY_COMPARE(session.state(), State::done);
        QCOMPARE(states, (QList<State>{State::connecting, State::reading, State::review, State::connecting,
                                       State::applying, State::done}));
        QCOMPARE(bench.scene.here(), bench.scene.there());
        QCOMPARE(session.log().size(), 1);
        QCOMPARE(bench.engine->lastRun(session.key())->done, 4);
        const QString here = bench.scene.tree.path("here");
        const QString there = bench.scene.tree.path("there");
        QCOMPARE(bench.changedFolders.value(bench.scene.disk.get()), (QStringList{here, here + u"/b"_s}));
        QCOMPARE(bench.changedFolders.value(bench.scene.server.get()), (QStringList{there, there + u"/a"_s}));
        bench.look();
        QVERIFY(!session.plan().isFirst);
        QCOMPARE(session.plan().changeCount(), 0);
    }

    void nothingIsAppliedBeforeEachQuestionIsConfirmed()
    {
        EngineScene bench;
        for (int i = 0; i < 4; ++i)
            bench.scene.tree.write(u"here/%1"_s.arg(i), "x");
        bench.sync();
        QVERIFY(QDir(bench.scene.tree.path("there")).removeRecursively());
        bench.scene.tree.write("there/", "");
        bench.look();
        SyncSession &session = bench.session();
        const qsizetype questions = session.plan().questions.size();
        QVERIFY(questions >= 2);
        for (qsizetype i = 0; i < questions; ++i) {
            session.apply();
            QCOMPARE(session.state(), State::review);
            session.confirm(i);
        }
        QVERIFY(!session.needsAnswer());
        session.apply();
        QTRY_COMPARE(session.state(), State::done);
        QCOMPARE(bench.scene.here(), TreeSnapshot());
        // A later look asks anew.
        session.look();
        QTRY_COMPARE(session.state(), State::review);
        QVERIFY(!session.isConfirmed(0));
    }

    void aChoiceComesToWhatEachRowOffers()
    {
        EngineScene bench;
        bench.scene.tree.write("here/mine", "1");
        bench.scene.tree.write("there/theirs", "1");
        bench.scene.tree.write("here/both", "1");
        bench.scene.tree.write("there/both", "22");
        bench.scene.tree.write("here/clash/in", "1");
        bench.scene.tree.write("there/clash", "file");
        bench.look();
        const auto chosen = [&](SyncChoice choice) {
            bench.session().choose(bench.allRows(), choice);
            return QList<SyncAction>{bench.action("mine"), bench.action("theirs"), bench.action("both"),
                                     bench.action("clash")};
        };
        using enum SyncAction;
        QVERIFY(!bench.session().hasChoices());
        QCOMPARE(chosen(SyncChoice::localWins), (QList{copyToRemote, removeRemote, copyToRemote, leave}));
        QCOMPARE(chosen(SyncChoice::remoteWins), (QList{removeLocal, copyToLocal, copyToLocal, leave}));
        QCOMPARE(chosen(SyncChoice::next), (QList{leave, removeRemote, keepBoth, leave}));
        QCOMPARE(chosen(SyncChoice::keepBoth), (QList{leave, removeRemote, keepBoth, leave}));
        QCOMPARE(chosen(SyncChoice::skip), (QList{leave, leave, leave, leave}));
        QCOMPARE(chosen(SyncChoice::usual), (QList{copyToRemote, copyToLocal, leave, leave}));
        QVERIFY(bench.session().hasChoices());
        bench.session().resolveConflicts(SyncChoice::remoteWins);
        QCOMPARE(bench.action("both"), copyToLocal);
        QCOMPARE(bench.action("mine"), copyToRemote);
        bench.session().apply();
        QTRY_COMPARE(bench.session().state(), State::done);
        QCOMPARE(bench.scene.tree.read("here/both"), "22");
        QVERIFY(bench.scene.tree.exists("here/clash/in") && bench.scene.tree.read("there/clash") == "file");
    }

    void choicesOutliveAnotherLookButNotARun()
    {
        EngineScene bench;
        for (const char *name : {"changes", "left", "taken"}) {
            bench.scene.tree.write(u"here/"_s + QLatin1String(name), "1");
            bench.scene.tree.write(u"there/"_s + QLatin1String(name), "22");
        }
        bench.scene.tree.write("here/new", "n");
        bench.look();
        bench.session().resolveConflicts(SyncChoice::localWins);
        QCOMPARE(bench.session().plan().rows.at(1).diff.relPath, u"left"_s);
        bench.session().choose({1}, SyncChoice::skip);
        // What was chosen was not about this.
        bench.scene.tree.write("there/changes", "333");
        bench.session().look();
        bench.session().cancel();
        QTRY_VERIFY(!bench.session().isBusy());
        bench.look();
        QCOMPARE(bench.action("taken"), SyncAction::copyToRemote);
        QCOMPARE(bench.action("left"), SyncAction::leave);
        QCOMPARE(bench.action("changes"), SyncAction::leave);
        bench.session().apply();
        QTRY_COMPARE(bench.session().state(), State::done);
        bench.look();
        QVERIFY(!bench.session().hasChoices());
        QCOMPARE(bench.session().plan().openConflictCount(), 2);
    }

    void canBeCancelledWhereverItIs_data()
    {
        QTest::addColumn<State>("at");
        QTest::newRow("connecting") << State::connecting;
        QTest::newRow("reading") << State::reading;
        QTest::newRow("applying") << State::applying;
    }

    void canBeCancelledWhereverItIs()
    {
        QFETCH(const State, at);
        EngineScene bench;
        for (int i = 0; i < 6; ++i)
            bench.scene.tree.write(u"here/%1"_s.arg(i), "content");
        std::atomic<bool> isHeld = true;
        std::atomic<bool> isInside = false;
        std::stop_source held;
        const auto hold = [&](const std::stop_token &stop) {
            isInside = true;
            if (isHeld)
                blockUntilStopped(stop);
        };
        if (at == State::connecting)
            bench.scene.server->connecting = hold;
        if (at == State::reading)
            bench.scene.server->listing = hold;
        if (at == State::applying)
            bench.scene.server->halfway = [&](const QString &source) {
                if (source.endsWith(u"/3"_s))
                    hold(held.get_token());
            };
        SyncSession &session = bench.session();
        session.look();
        if (at == State::applying) {
            QTRY_COMPARE(session.state(), State::review);
            session.apply();
        }
        QTRY_VERIFY(isInside && session.state() == at);
        session.cancel();
        held.request_stop();
        QTRY_COMPARE(session.state(), State::cancelled);
        QCOMPARE(session.outcome().has_value(), at == State::applying);
        QVERIFY(session.problem().isEmpty());
        isHeld = false;
        bench.sync();
        QCOMPARE(bench.scene.here(), bench.scene.there());
        QCOMPARE(bench.scene.here().size(), 6);
    }

    void aFailureIsToldAndCanBeTriedAgain()
    {
        EngineScene bench;
        bench.scene.tree.write("here/a", "a");
        std::atomic<bool> isDown = true;
        bench.scene.server->connecting = [&](const std::stop_token &) {
            if (isDown)
                throw FileServiceError::connectionFailed(u"No route to host"_s);
        };
        SyncSession &session = bench.session();
        session.look();
        QTRY_COMPARE(session.state(), State::failed);
        QVERIFY(session.problem().contains(u"No route to host"_s));
        isDown = false;
        bench.look();
        // It is gone again before the run.
        isDown = true;
        session.apply();
        QTRY_COMPARE(session.state(), State::failed);
        isDown = false;
        bench.sync();
        QCOMPARE(bench.scene.tree.read("there/a"), "a");
    }

    void foldersHaveOneSessionThatEndsWhenItIsClosed()
    {
        EngineScene bench;
        std::atomic<bool> isInside = false;
        std::atomic<bool> hasEnded = false;
        bench.scene.server->listing = [&](const std::stop_token &stop) {
            isInside = true;
            while (!stop.stop_requested())
                QThread::msleep(2);
            hasEnded = true;
            throw Cancelled();
        };
        SyncSession &session = bench.session();
        SyncPair same = bench.pair;
        same.id = newUuid();
        same.localPath += u'/';
        QCOMPARE(&bench.engine->open(same, bench.record), &session);
        session.look();
        QTRY_VERIFY(session.state() == State::reading && isInside);
        bench.engine->stopFor(newUuid());
        QVERIFY(!session.isCancelling());
        bench.engine->close(session);
        QVERIFY(bench.engine->sessions().isEmpty());
        QTRY_VERIFY(hasEnded);
    }

    void savedPairsGiveTheirPatternsAndCanBeForgotten()
    {
        EngineScene bench;
        bench.scene.tree.write("here/keep", "k");
        bench.scene.tree.write("here/drop.log", "d");
        SyncPair saved = bench.pair;
        saved.id = newUuid();
        saved.ignorePatterns = {u"*.log"_s};
        bench.pairs.upsert(saved);
        bench.sync();
        QCOMPARE(bench.scene.there().keys(), QStringList{u"keep"_s});
        saved.ignorePatterns = {u"keep"_s};
        bench.pairs.upsert(saved);
        bench.look();
        QCOMPARE(bench.session().plan().leftOut.keys(), QStringList{u"keep"_s});
        QCOMPARE(bench.action("drop.log"), SyncAction::copyToRemote);
        bench.start();
        QTRY_VERIFY(bench.engine->lastRun(bench.session().key()));

        bench.session().look();
        QVERIFY(bench.engine->forget(saved.id).has_value());
        QTRY_COMPARE(bench.session().state(), State::review);
        QVERIFY(!bench.session().plan().isFirst);
        QCOMPARE(bench.engine->forget(saved.id), std::nullopt);
        QVERIFY(bench.pairs.pairs().isEmpty() && bench.engine->sessions().isEmpty());
        QTRY_VERIFY(!bench.scene.tree.exists(u"state/%1.json"_s.arg(bench.engine->keyOf(saved))));
        bench.look();
        QVERIFY(bench.session().plan().isFirst);
    }

    void whatOthersDoMeanwhileEndsInASentenceAndAnotherLookHelps()
    {
        EngineScene bench;
        bench.scene.tree.write("here/a", "a");
        const SyncStateStore store(bench.scene.tree.path("state"));
        SyncSession &session = bench.session();
        auto lock = store.lock(session.key());
        session.look();
        QTRY_COMPARE(session.state(), State::failed);
        QCOMPARE(session.problem(), u"This folder pair is being synced already."_s);
        QVERIFY(!session.hasPlan() && !session.outcome());
        lock.reset();
        bench.look();
        SyncManifest elsewhere;
        elsewhere.id = session.key();
        elsewhere.lastSyncDate = systemNow();
        store.saveManifest(elsewhere);
        session.apply();
        QTRY_COMPARE(session.state(), State::failed);
        QVERIFY(session.problem().contains(u"synced elsewhere since the preview"_s));
        QVERIFY(!bench.scene.tree.exists("there/a"));
        bench.sync();
        QVERIFY(session.problem().isEmpty());
        QCOMPARE(bench.scene.tree.read("there/a"), "a");
    }

    void damagedMemoryIsToldAndDeletesNothing()
    {
        EngineScene bench;
        bench.scene.tree.write("here/a", "a");
        bench.scene.tree.write("here/b", "b");
        bench.sync();
        QVERIFY(bench.session().warning().isEmpty());
        QFile::remove(bench.scene.tree.path("there/a"));
        bench.scene.tree.write(u"state/%1.json"_s.arg(bench.session().key()), "{\"id\": 7}");
        bench.look();
        QVERIFY(bench.session().warning().contains(u"was set aside"_s));
        QVERIFY(bench.session().plan().isFirst);
        QCOMPARE(bench.action("a"), SyncAction::copyToRemote);
        bench.look();
        QVERIFY(bench.session().warning().isEmpty());
    }

    void aRowThatFailsIsTheOnlyOneAndTheNextRunTriesItAgain()
    {
        EngineScene bench;
        for (const char *name : {"a", "b", "c"})
            bench.scene.tree.write(u"here/"_s + QLatin1String(name), name);
        std::atomic<bool> isBroken = true;
        bench.scene.server->halfway = [&](const QString &source) {
            if (isBroken && source.endsWith(u"/b"_s))
                throw FileServiceError::operationFailed(u"Disk quota exceeded"_s);
        };
        bench.sync();
        SyncSession &session = bench.session();
        QCOMPARE(session.outcome()->count(SyncResult::failed), 1);
        QCOMPARE(session.log().constLast().failed, 1);
        QVERIFY(session.log().constLast().lines.join(u'\n').contains(u"b: failed: Disk quota exceeded"_s));
        isBroken = false;
        bench.look();
        QCOMPARE(session.plan().changeCount(), 1);
        session.apply();
        QTRY_COMPARE(session.state(), State::done);
        QCOMPARE(session.log().size(), 2);
        QCOMPARE(bench.scene.here(), bench.scene.there());
    }

    void progressTellsWhatIsUnderWay()
    {
        EngineScene bench;
        bench.scene.server->isTakingMany = false;
        bench.scene.tree.write("here/large", QByteArray(2'000'000, 'x'));
        std::atomic<bool> isHeld = true;
        bench.scene.server->halfway = [&](const QString &) {
            while (isHeld)
                QThread::msleep(2);
        };
        bench.look();
        SyncSession &session = bench.session();
        session.apply();
        QTRY_COMPARE(session.progress().counts.bytesTotal, 2'000'000);
        QCOMPARE(session.progress().stage, SyncProgress::Stage::copyingToServer);
        isHeld = false;
        QTRY_COMPARE(session.state(), State::done);
        QCOMPARE(session.outcome()->bytesCopied, 2'000'000);
    }

    void comparesTheFilesOfARow()
    {
        EngineScene bench;
        bench.scene.tree.write("here/f", "one\ntwo\n");
        bench.scene.tree.write("there/f", "one\nTWO!\n");
        bench.look();
        std::optional<ContentComparison> found;
        QString problem;
        const auto compare = [&] {
            return bench.session().compare(
                0, [&](const ContentComparison &comparison) { found = comparison; },
                [&](const Error &error) { problem = error.message(); });
        };
        const Job first = compare();
        QTRY_VERIFY(found);
        QCOMPARE(found->line, 2);
        QFile::remove(bench.scene.tree.path("there/f"));
        const Job second = compare();
        QTRY_COMPARE(problem, u"“f” is no longer on both sides."_s);
    }

    void pairsAreSharedByProgramsAndADamagedListIsKept()
    {
        const TestTree tree;
        const QString path = tree.path("sync/pairs.json");
        KeyValueStore cloud{QString()};
        const ServerConnection server = serverAt(u"Web.example"_s, u"me"_s);
        const SyncPair one{newUuid(), u"Site"_s, u"/home/a"_s, server.id, u"/var/www"_s, {u"*.o"_s, u"# note"_s}};
        const SyncPair two{newUuid(), {}, u"/home/b"_s, newUuid(), u"/"_s, {}};
        {
            SyncPairStore first(path, cloud);
            SyncPairStore second(path, cloud);
            first.upsert(one);
            second.upsert(two);
            QTRY_COMPARE(first.pairs(), (QList<SyncPair>{one, two}));
            const QSignalSpy changes(&second, &SyncPairStore::changed);
            second.upsert(two);
            QCOMPARE(changes.size(), 0);
            const auto recordOf = [&](const QUuid &id) {
                return id == server.id ? std::optional(server) : std::nullopt;
            };
            const QString key = SyncManifest::pairKey(u"/home/a/"_s, server, u"/var/www"_s);
            QCOMPARE(first.pairOfKey(key, recordOf), one);
            first.remove(one.id);
            QCOMPARE(first.pairOfKey(key, recordOf), std::nullopt);
        }
        QCOMPARE(SyncPairStore(path, cloud).pairs(), QList<SyncPair>{two});
        tree.write("sync/pairs.json", R"({"pairs": [{"id": 3}]})");
        const SyncPairStore damaged(path, cloud);
        QVERIFY(damaged.pairs().isEmpty());
        QVERIFY(damaged.problem().contains(u"the damaged file is kept"_s));
        QCOMPARE(QDir(tree.path("sync")).entryList({u"pairs.corrupt-*"_s}).size(), 1);
    }
};

MOORIX_TEST(SyncEngineTest)
#include "SyncEngineTest.moc"
