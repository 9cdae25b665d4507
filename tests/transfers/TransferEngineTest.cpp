// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferEngine.h"
#include "support/FolderServer.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = TransferStatus::State;

namespace {

/// Uploads into a folder; each file waits halfway until it is let go.
struct Scene
{
    TestTree tree{{"from/a", "new a"}, {"from/b", "new b"}, {"from/c", "new c"}, {"to/a", "old a"}, {"other/", ""}};
    std::shared_ptr<QSemaphore> letGo = std::make_shared<QSemaphore>();
    std::shared_ptr<QSemaphore> halfway = std::make_shared<QSemaphore>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    std::unique_ptr<TransferEngine> engine = std::make_unique<TransferEngine>(TransferEngine::Options{1, {}});

    Scene()
    {
        server->halfway = [letGo = letGo, halfway = halfway](const QString &) {
            halfway->release();
            letGo->tryAcquire(1, 5000);
        };
    }

    QUuid send(const char *file, const char *folder)
    {
        TransferRequest request;
        request.source = std::make_shared<LocalFileService>();
        request.destination = server;
        request.items = {*LocalFileService().stat(tree.path(file), {})};
        request.targetFolder = tree.path(folder);
        return engine->enqueue(request);
    }
    State state(qsizetype index) const { return engine->transfers().at(index).state; }
};

} // namespace

class TransferEngineTest final : public QObject
{
    Q_OBJECT

private slots:
    void transfersRunOneAfterTheOtherAndTellWhatChanged()
    {
        Scene scene;
        QSignalSpy folders(scene.engine.get(), &TransferEngine::foldersChanged);
        scene.send("from/a", "other");
        scene.send("from/b", "other");
        QCOMPARE(scene.engine->transfers().first().title, u"Copying “a” to %1"_s.arg(scene.tree.path("other")));
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
        QCOMPARE(scene.engine->transfers().first().bytesDone, 5);
        QVERIFY(scene.engine->transfers().first().timeTaken);
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
        Scene scene;
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
        Scene scene;
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

    void cancelledWaitingTransferNeverStarts()
    {
        Scene scene;
        scene.send("from/a", "other");
        scene.engine->cancel(scene.send("from/b", "other"));
        scene.letGo->release(9);
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.state(1), State::cancelled);
        QVERIFY(!scene.tree.exists("other/b"));
    }

    void severalTransfersShareTheLimitOfFiles()
    {
        Scene scene;
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
        Scene scene;
        scene.send("from/a", "other");
        const QUuid second = scene.send("from/b", "other");
        const QUuid third = scene.send("from/c", "other");
        scene.engine->moveUp(third);
        scene.engine->moveUp(third); // Nothing gets ahead of what runs.
        QCOMPARE(scene.engine->transfers().at(1).id, third);
        scene.engine->moveDown(third);
        QCOMPARE(scene.engine->transfers().at(1).id, second);
        scene.engine->moveDown(second);
        scene.letGo->release();
        QTRY_COMPARE(scene.state(1), State::running);
        QCOMPARE(scene.engine->transfers().at(1).id, third);
        QCOMPARE(scene.state(2), State::waiting);
        scene.letGo->release(9);
        QTRY_COMPARE(scene.state(2), State::finished);
    }

    void pausedTransferStopsWithinAFileAndGoesOnFromThere()
    {
        Scene scene;
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
        QCOMPARE(scene.engine->transfers().first().notes.size(), 1);
    }

    void pausedWaitingTransferIsPassedOver()
    {
        Scene scene;
        scene.send("from/a", "other");
        const QUuid second = scene.send("from/b", "other");
        scene.engine->pause(second);
        scene.letGo->release(9);
        scene.send("from/c", "other");
        QTRY_COMPARE(scene.state(2), State::finished);
        QCOMPARE(scene.state(1), State::paused);
        scene.engine->cancel(second);
        QCOMPARE(scene.state(1), State::cancelled);
    }

    void onlyWhatFailedIsTriedAgain()
    {
        Scene scene;
        scene.letGo->release(99);
        scene.server->halfway = [](const QString &source) {
            if (source.endsWith(u'b'))
                throw FileServiceError::operationFailed(u"No space left on device"_s);
        };
        const QUuid id = scene.send("from", "other");
        QTRY_COMPARE(scene.state(0), State::failed);
        QVERIFY(scene.engine->transfers().first().hasRemaining);
        QCOMPARE(scene.engine->transfers().first().failures.size(), 1);
        scene.tree.write("other/from/a", "edited meanwhile");
        scene.server->halfway = nullptr;
        scene.engine->retryFailed(id);
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.tree.read("other/from/b"), QByteArray("new b"));
        QCOMPARE(scene.tree.read("other/from/a"), QByteArray("edited meanwhile"));
        QCOMPARE(scene.engine->transfers().first().filesTotal, 1);
    }

    void questionsOfSeveralTransfersComeOneAfterTheOther()
    {
        Scene scene;
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
        Scene scene;
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
