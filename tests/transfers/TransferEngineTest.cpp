// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferEngine.h"
#include "support/TestMain.h"
#include "transfers/TransferScene.h"

#include <QSignalSpy>

#include <array>
#include <list>
#include <thread>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = TransferStatus::State;

/// Transfers side by side.
class TransferEngineTest final : public QObject
{
    Q_OBJECT

private slots:
    void transfersRunOneAfterTheOtherAndTellWhatChanged()
    {
        EngineScene scene;
        QSignalSpy folders(scene.engine.get(), &TransferEngine::foldersChanged);
        scene.send("from/a", "other");
        scene.send("from/b", "other");
        QCOMPARE(scene.status().title, u"Copying “a” to %1"_s.arg(scene.tree.path("other")));
        QCOMPARE(scene.state(0), State::running);
        QCOMPARE(scene.state(1), State::waiting);
        scene.letGo->release();
        QTRY_COMPARE(scene.state(1), State::running);
        QCOMPARE(scene.state(0), State::finished);
        QCOMPARE(folders.size(), 1);
        QCOMPARE(folders.first().at(0).value<const FileService *>(), scene.server.get());
        QCOMPARE(folders.first().at(1).toStringList(), QStringList{scene.tree.path("other")});
        scene.letGo->release();
        QTRY_COMPARE(scene.state(1), State::finished);
        QCOMPARE(scene.status().bytesDone, 5);
        QVERIFY(scene.status().timeTaken);
        scene.engine->clearEnded();
        QVERIFY(scene.engine->transfers().isEmpty());
    }

    void timeOfPausesAndOfQuestionsDoesNotCount()
    {
        TransferStopwatch stopwatch;
        stopwatch.start();
        stopwatch.stop();
        QTest::qSleep(200);
        stopwatch.start();
        stopwatch.ask();
        QTest::qSleep(200);
        stopwatch.answered();
        stopwatch.stop();
        QVERIFY(stopwatch.elapsed() < std::chrono::milliseconds(200));
        stopwatch.start();
        stopwatch.ask();
        QTest::qSleep(200);
        stopwatch.mark(); // another file moved meanwhile
        stopwatch.answered();
        QVERIFY(stopwatch.elapsed() >= std::chrono::milliseconds(200));
    }

    void conflictWaitsForItsAnswer()
    {
        EngineScene scene;
        scene.letGo->release(9);
        scene.send("from/a", "to");
        QTRY_VERIFY(scene.engine->conflict());
        QCOMPARE(scene.engine->conflict()->source.size, 5);
        QCOMPARE(scene.tree.read("to/a"), QByteArray("old a"));
        scene.engine->answer({ConflictAnswer::Choice::overwrite, false});
        QVERIFY(!scene.engine->conflict());
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.tree.read("to/a"), QByteArray("new a"));
    }

    void cancelDuringAQuestionWithdrawsItAndGoesOnWithTheNext()
    {
        EngineScene scene;
        scene.letGo->release(9);
        const QUuid first = scene.send("from/a", "to");
        scene.send("from/b", "to");
        QTRY_VERIFY(scene.engine->conflict());
        scene.engine->cancel(first);
        QVERIFY(!scene.engine->conflict());
        QCOMPARE(scene.state(0), State::cancelled);
        QTRY_COMPARE(scene.state(1), State::finished);
        QCOMPARE(scene.tree.snapshot().value(u"to/a"_s), QByteArray("old a"));
        QCOMPARE(scene.tree.read("to/b"), QByteArray("new b"));
    }

    void waitingTransferThatIsCancelledOrPausedIsPassedOver()
    {
        EngineScene scene;
        scene.send("from/a", "other");
        scene.engine->cancel(scene.send("from/b", "other"));
        const QUuid paused = scene.send("from/b", "other");
        scene.engine->pause(paused);
        scene.letGo->release(9);
        scene.send("from/c", "other");
        QTRY_COMPARE(scene.state(3), State::finished);
        QCOMPARE(scene.state(1), State::cancelled);
        QCOMPARE(scene.state(2), State::paused);
        QVERIFY(!scene.tree.exists("other/b"));
        scene.engine->cancel(paused);
        QCOMPARE(scene.state(2), State::cancelled);
    }

    void limitsHoldForAllFilesAndForThoseOfAServer()
    {
        TransferGate gate(TransferGate::mostPerServer + 1);
        const std::array servers{0, 0};
        std::stop_source stopped;
        stopped.request_stop();
        const auto enters = [&](const int &server) {
            // Where there is no room, who may not wait is turned away.
            return messageOf([&] { const auto place = gate.enter({&server}, stopped.get_token()); }).isEmpty();
        };
        std::list<std::unique_ptr<const TransferGate::Place>> places;
        const auto enter = [&](const int &server) {
            places.emplace_back(new TransferGate::Place(gate.enter({&server}, {})));
        };
        for (int i = 0; i < TransferGate::mostPerServer; ++i)
            enter(servers[0]);
        QVERIFY(!enters(servers[0]) && enters(servers[1]));
        enter(servers[1]);
        QVERIFY(!enters(servers[1]));
        places.pop_front();
        QVERIFY(enters(servers[0]) && enters(servers[1]));
    }

    void lanesOfSmallFilesCountLessAndDoNotKeepAFileOut()
    {
        TransferGate gate(2);
        const int server = 0;
        std::list<std::unique_ptr<const TransferGate::Place>> lanes;
        const auto addLane = [&] { lanes.emplace_back(new TransferGate::Place(gate.enterForSmall(&server, 12, {}))); };
        for (int i = 0; i < TransferGate::lanesPerFile + 1; ++i)
            addLane();
        std::atomic<bool> isInside = false;
        std::jthread file([&] {
            const auto place = gate.enter({&server}, {});
            isInside = true;
        });
        // Another lane would fit beside these; once the file waits for its share, it waits behind it.
        std::stop_source source;
        source.request_stop();
        const auto slipsIn = [&] {
            return messageOf([&] { const auto place = gate.enterForSmall(&server, 12, source.get_token()); }).isEmpty();
        };
        QTRY_VERIFY(!slipsIn());
        QVERIFY(!isInside);
        lanes.pop_front();
        QTRY_VERIFY(isInside);
        // Nor does a first file keep a second one out beside the lanes.
        file.join();
        gate.setMostAtOnce(4);
        QCOMPARE(messageOf([&] {
                     const auto first = gate.enter({&server}, source.get_token());
                     const auto second = gate.enter({&server}, source.get_token());
                 }),
                 QString());
    }

    void limitedFilesGoOneAtATimeOverAllGatesAndTakeNoRoom()
    {
        TransferSpeed speed(TransferSpeed::most);
        TransferGate gate(1);
        TransferGate other(1);
        const int server = 0;
        std::stop_source stopped;
        stopped.request_stop();
        const auto enters = [&](const TransferGate::Servers &servers, TransferSpeed *limit) {
            return messageOf([&] { const auto place = other.enter(servers, stopped.get_token(), limit); }).isEmpty();
        };
        {
            const auto first = gate.enter({&server}, {}, &speed);
            QVERIFY(!enters({&server}, &speed) && enters({&server}, nullptr));
            QVERIFY(messageOf([&] { const auto local = gate.enter({}, stopped.get_token()); }).isEmpty());
        }
        QVERIFY(enters({&server}, &speed));
    }

    void severalTransfersShareTheLimitOfFiles()
    {
        EngineScene scene;
        scene.engine->setMostAtOnce(2);
        scene.send("from/a", "other");
        scene.send("from/b", "other");
        scene.send("from/c", "other");
        QCOMPARE(scene.state(1), State::running);
        QCOMPARE(scene.state(2), State::waiting);
        scene.engine->setMostAtOnce(3);
        QCOMPARE(scene.state(2), State::running);
        scene.letGo->release(9);
        for (qsizetype index : {0, 1, 2})
            QTRY_COMPARE(scene.state(index), State::finished);
    }

    void waitingTransfersRunInTheOrderTheUserGivesThem()
    {
        EngineScene scene;
        scene.send("from/a", "other");
        const QUuid second = scene.send("from/b", "other");
        const QUuid third = scene.send("from/c", "other");
        scene.engine->moveUp(third);
        scene.engine->moveUp(third);               // Nothing gets ahead of what runs,
        scene.engine->moveDown(scene.status().id); // which stays where it is.
        QCOMPARE(scene.status(1).id, third);
        scene.engine->moveDown(third);
        QCOMPARE(scene.status(1).id, second);
        scene.engine->moveDown(second);
        scene.letGo->release();
        QTRY_COMPARE(scene.state(1), State::running);
        QCOMPARE(scene.status(1).id, third);
        QCOMPARE(scene.state(2), State::waiting);
        scene.letGo->release(9);
        QTRY_COMPARE(scene.state(2), State::finished);
    }

    void pausedTransferStopsWithinAFileAndGoesOnFromThere()
    {
        EngineScene scene;
        const QUuid id = scene.send("from/a", "other");
        QVERIFY(scene.halfway->tryAcquire(1, 5000));
        scene.engine->pause(id);
        scene.letGo->release();
        scene.send("from/b", "other");
        scene.letGo->release();
        QTRY_COMPARE(scene.state(1), State::finished);
        QCOMPARE(scene.state(0), State::paused);
        QVERIFY(!scene.tree.exists("other/a"));
        scene.letGo->release();
        scene.engine->resume(id);
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.tree.read("other/a"), QByteArray("new a"));
        QCOMPARE(scene.status().notes.size(), 1);
    }

    void onlyWhatFailedIsTriedAgain()
    {
        EngineScene scene;
        scene.letGo->release(99);
        scene.server->halfway = [](const QString &source) {
            if (source.endsWith(u'b'))
                throw FileServiceError::operationFailed(u"No space left on device"_s);
        };
        const QUuid id = scene.send("from", "other");
        QTRY_COMPARE(scene.state(0), State::failed);
        QVERIFY(scene.status().hasRemaining);
        QCOMPARE(scene.status().failures.size(), 1);
        scene.tree.write("other/from/a", "edited meanwhile");
        scene.server->halfway = nullptr;
        scene.engine->retryFailed(id);
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.tree.read("other/from/b"), QByteArray("new b"));
        QCOMPARE(scene.tree.read("other/from/a"), QByteArray("edited meanwhile"));
        QCOMPARE(scene.status().filesTotal, 1);
    }

    void questionsOfSeveralTransfersComeOneAfterTheOther()
    {
        EngineScene scene;
        scene.letGo->release(99);
        scene.engine->setMostAtOnce(2);
        scene.send("from/a", "to");
        QTRY_VERIFY(scene.engine->conflict());
        const QUuid first = scene.engine->conflictTransfer();
        const QUuid second = scene.send("from/a", "to");
        scene.send("from/b", "other");
        QTRY_COMPARE(scene.state(1), State::running);
        scene.engine->answer({ConflictAnswer::Choice::skip});
        QTRY_COMPARE(scene.engine->conflictTransfer(), second);
        QVERIFY(first != second);
        scene.engine->answer({ConflictAnswer::Choice::rename});
        QTRY_COMPARE(scene.state(2), State::finished);
        QTRY_COMPARE(scene.state(1), State::finished);
        QCOMPARE(scene.tree.read("to/a 2"), QByteArray("new a"));
    }

    void engineThatGoesDuringATransferLeavesNoHalfFile()
    {
        EngineScene scene;
        scene.send("from/a", "other");
        QTRY_COMPARE(scene.tree.snapshot().size(), 8);
        scene.engine.reset();
        scene.letGo->release(9);
        QTRY_COMPARE(scene.tree.snapshot().size(), 7);
        QVERIFY(!scene.tree.exists("other/a"));
    }
};

MOORIX_TEST(TransferEngineTest)
#include "TransferEngineTest.moc"
