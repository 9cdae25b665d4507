// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"
#include "files/NativePath.h"
#include "support/TestMain.h"
#include "transfers/TransferEngine.h"
#include "transfers/TransferScene.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>

#include <algorithm>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = TransferStatus::State;

namespace {

const QUuid serverID(u"11111111-2222-4333-8444-555555555555"_s);

/// A queue that is kept, and the server its transfers go to; engines come and go.
struct QueueScene : EngineScene
{
    QString problemOfServer;
    QString problem;

    QueueScene()
        : EngineScene({{"from/a", "12345678"}, {"from/b", "new b"}, {"to/", ""}, {"data/", ""}})
    {
        isMove = true;
        begin();
    }

    void begin()
    {
        open();
        QVERIFY(QSignalSpy(engine.get(), &TransferEngine::listChanged).wait());
    }
    /// Without waiting for the document.
    void open()
    {
        engine = std::make_unique<TransferEngine>(TransferEngine::Options{1, {}});
        QObject::connect(engine.get(), &TransferEngine::queueProblem, engine.get(),
                         [this](const QString &sentence) { problem = sentence; });
        TransferPlaces places;
        places.serverOf = [this](const FileService &service) -> TransferPlaces::Server {
            return &service == server.get() ? std::optional(serverID) : std::nullopt;
        };
        places.open = [this](const TransferPlaces::Server &id, auto done, auto failed) {
            const std::shared_ptr<FileService> service = id ? std::shared_ptr<FileService>(server) : disk;
            return runJob(
                [service, sentence = id ? problemOfServer : QString()](const std::stop_token &) {
                    if (!sentence.isEmpty())
                        throw Error(u"Test"_s, sentence);
                    return service;
                },
                done, failed);
        };
        engine->keepQueueIn(file(), places);
    }
    QString file() const { return tree.path("data/transfers.json"); }
    QStringList arrived() const { return QDir(tree.path("to")).entryList(QDir::Files | QDir::Hidden); }
};

} // namespace

/// The queue that outlives the program.
class TransferQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void interruptedTransfersWaitForTheUserAndGoOnFromTheirParts()
    {
        QueueScene scene;
        const QUuid first = scene.send("from/a");
        const QUuid second = scene.send("from/b");
        QTRY_COMPARE(scene.arrived().size(), 1);
        scene.engine.reset();
        scene.letGo->release();
        QTRY_COMPARE(QFileInfo(scene.tree.path(u"to/"_s + scene.arrived().first())).size(), 4);

        scene.begin();
        QCOMPARE(scene.engine->transfers().size(), 2);
        QCOMPARE(scene.status().title, u"Moving “a” to %1"_s.arg(scene.tree.path("to")));
        QCOMPARE(scene.state(0), State::interrupted);
        scene.letGo->release(9);
        scene.engine->resume(first);
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.status().notes.size(), 1);
        QVERIFY(!scene.status().timeTaken);
        QCOMPARE(scene.state(1), State::interrupted);
        scene.engine->cancel(second);
        QCOMPARE(scene.arrived(), QStringList{u"a"_s});
        QCOMPARE(scene.tree.read("to/a"), QByteArray("12345678"));
        QVERIFY(!scene.tree.exists("from/a") && scene.tree.exists("from/b"));
        scene.begin();
        QVERIFY(scene.engine->transfers().isEmpty());
    }

    void cancelledAfterARestartLeavesNoPart()
    {
        QueueScene scene;
        scene.tree.write("to/.theirs.moorix-11111111-2222-4333-8444-555555555555.part", "another transfer's");
        const QUuid id = scene.send("from/a");
        QTRY_COMPARE(scene.arrived().size(), 2);
        scene.engine.reset();
        scene.letGo->release();
        scene.begin();
        scene.engine->cancel(id);
        QTRY_COMPARE(scene.arrived().size(), 1);
        QVERIFY(scene.arrived().first().startsWith(u".theirs"_s));
    }

    void partsThatNobodyGoesOnWithAreRemoved()
    {
        for (const bool isCancelled : {false, true}) {
            QueueScene scene;
            scene.letGo->release(9);
            scene.tree.write("to/a", "old");
            const QUuid id = scene.send("from/a");
            QTRY_VERIFY(scene.engine->conflict());
            scene.engine.reset();
            scene.tree.write(u"to/.b.moorix-%1-0000-000000000000.part"_s.arg(uuidText(id).left(18)), "half");
            scene.begin();
            scene.engine->resume(id);
            QTRY_VERIFY(scene.engine->conflict());
            if (isCancelled)
                scene.engine->cancel(id);
            else
                scene.engine->answer({ConflictAnswer::Choice::overwrite});
            QTRY_COMPARE(scene.state(0), isCancelled ? State::cancelled : State::finished);
            QTRY_COMPARE(scene.arrived(), QStringList{u"a"_s});
            QCOMPARE(scene.tree.read("to/a"), QByteArray(isCancelled ? "old" : "12345678"));
        }
    }

    void failedTransfersAreKeptWithTheirReasons()
    {
        QueueScene scene;
        scene.server->halfway = [](const QString &) {
            throw FileServiceError::operationFailed(u"No space left on device"_s);
        };
        const QUuid id = scene.send("from/a");
        QTRY_COMPARE(scene.state(0), State::failed);
        const TransferStatus before = scene.status();
        QVERIFY(before.ended);
        scene.begin();
        QCOMPARE(scene.state(0), State::failed);
        QCOMPARE(scene.status().failures, before.failures);
        QCOMPARE(scene.status().ended, before.ended);
        QVERIFY(before.timeTaken && scene.status().timeTaken == before.timeTaken);
        scene.server->halfway = nullptr;
        scene.engine->retryFailed(id);
        QTRY_COMPARE(scene.state(0), State::finished);
    }

    void serverThatIsOutOfReachLeavesTheTransferWaiting()
    {
        QueueScene scene;
        scene.send("from/a");
        scene.engine.reset();
        scene.letGo->release(9);
        scene.problemOfServer = u"Could not connect: Connection refused"_s;
        scene.begin();
        scene.engine->resume(scene.status().id);
        QCOMPARE(scene.state(0), State::reconnecting);
        QTRY_COMPARE(scene.state(0), State::interrupted);
        QCOMPARE(scene.status().failures, QStringList{scene.problemOfServer});
    }

    void whatIsSentBeforeTheDocumentIsReadJoinsIt()
    {
        QueueScene scene;
        QList<QUuid> sent;
        for (const bool isRead : {true, false, true}) {
            scene.open();
            sent << scene.send("from/a");
            scene.engine->pause(sent.constLast());
            QCOMPARE(scene.engine->transfers().size(), 1);
            QVERIFY(!isRead || QSignalSpy(scene.engine.get(), &TransferEngine::listChanged).wait());
            scene.engine.reset();
        }
        scene.begin();
        QVERIFY(std::ranges::equal(scene.engine->transfers(), sent, {}, &TransferStatus::id));
        scene.letGo->release(9);
    }

    void namesThatAreNoUnicodeOutliveTheProgram()
    {
        QueueScene scene;
        scene.send("from/a");
        const QString name = NativePath::text("b\xff\"\xc3\xbc\x80");
        scene.disk->write("odd", scene.tree.path("from/") + name, {});
        TransferRequest request;
        request.source = request.destination = scene.disk;
        request.items = {*scene.disk->stat(scene.tree.path("from/") + name, {})};
        request.targetFolder = scene.tree.path("to");
        request.isMove = true;
        const QUuid id = scene.engine->enqueue(request);
        scene.engine.reset();
        scene.letGo->release(9);
        scene.begin();
        scene.engine->resume(id);
        QTRY_COMPARE(scene.state(1), State::finished);
        scene.disk->remove(*scene.disk->stat(scene.tree.path("to/") + name, {}), {});
    }

    void documentIsPrivateAndOneThatIsDamagedIsSetAside()
    {
        QueueScene scene;
        scene.send("from/a");
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        // What is not written yet is by the time that the engine has gone.
        scene.engine.reset();
        QVERIFY(!(QFile::permissions(scene.file()) & others));
        const QByteArray whole = scene.tree.read("data/transfers.json");
        QVERIFY(whole.contains(uuidText(serverID).toUtf8()));
        scene.letGo->release(9);
        scene.tree.write("data/transfers.json", whole.chopped(20));
        scene.begin();
        QVERIFY(scene.engine->transfers().isEmpty());
        QVERIFY2(scene.problem.contains(u"transfers.corrupt-"_s), qPrintable(scene.problem));
        const QStringList aside = QDir(scene.tree.path("data")).entryList({u"*corrupt-*"_s});
        QCOMPARE(aside.size(), 1);
        QCOMPARE(scene.tree.read(u"data/"_s + aside.first()), whole.chopped(20));
    }
};

MOORIX_TEST(TransferQueueTest)
#include "TransferQueueTest.moc"
