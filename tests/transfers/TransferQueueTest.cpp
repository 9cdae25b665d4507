// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"
#include "support/FolderServer.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "transfers/TransferEngine.h"

#include <QDir>
#include <QFileInfo>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = TransferStatus::State;

namespace {

const QUuid serverID(u"11111111-2222-4333-8444-555555555555"_s);

/// A queue that is kept, and the server its transfers go to; engines come and go.
struct Scene
{
    TestTree tree{{"from/a", "12345678"}, {"from/b", "new b"}, {"to/", ""}, {"data/", ""}};
    std::shared_ptr<QSemaphore> letGo = std::make_shared<QSemaphore>();
    std::shared_ptr<FileService> disk = std::make_shared<LocalFileService>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    QString problemOfServer;
    std::unique_ptr<TransferEngine> engine;
    QString problem;

    Scene()
    {
        server->halfway = [letGo = letGo](const QString &) { letGo->tryAcquire(1, 5000); };
        begin();
    }

    void begin()
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
    QUuid send(const char *path)
    {
        TransferRequest request;
        request.source = disk;
        request.destination = server;
        request.items = {*LocalFileService().stat(tree.path(path), {})};
        request.targetFolder = tree.path("to");
        return engine->enqueue(request);
    }
    State state(qsizetype index) const { return engine->transfers().at(index).state; }
    QStringList arrived() const { return QDir(tree.path("to")).entryList(QDir::Files | QDir::Hidden); }
};

} // namespace

class TransferQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void interruptedTransfersWaitForTheUserAndGoOnFromTheirParts()
    {
        Scene scene;
        const QUuid first = scene.send("from/a");
        const QUuid second = scene.send("from/b");
        QTRY_COMPARE(scene.arrived().size(), 1);
        scene.engine.reset();
        scene.letGo->release();
        QTRY_COMPARE(QFileInfo(scene.tree.path(u"to/"_s + scene.arrived().first())).size(), 4);

        scene.begin();
        QCOMPARE(scene.engine->transfers().size(), 2);
        QCOMPARE(scene.engine->transfers().first().title, u"Copying “a” to %1"_s.arg(scene.tree.path("to")));
        QCOMPARE(scene.state(0), State::interrupted);
        scene.letGo->release(9);
        scene.engine->resume(first);
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.engine->transfers().first().notes.size(), 1);
        QVERIFY(!scene.engine->transfers().first().timeTaken);
        QCOMPARE(scene.state(1), State::interrupted);
        scene.engine->cancel(second);
        QCOMPARE(scene.arrived(), QStringList{u"a"_s});
        QCOMPARE(scene.tree.read("to/a"), QByteArray("12345678"));
        scene.begin();
        QVERIFY(scene.engine->transfers().isEmpty());
    }

    void cancelledAfterARestartLeavesNoPart()
    {
        Scene scene;
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

    void failedTransfersAreKeptWithTheirReasons()
    {
        Scene scene;
        scene.server->halfway = [](const QString &) {
            throw FileServiceError::operationFailed(u"No space left on device"_s);
        };
        const QUuid id = scene.send("from/a");
        QTRY_COMPARE(scene.state(0), State::failed);
        const TransferStatus before = scene.engine->transfers().first();
        QVERIFY(before.ended);
        scene.begin();
        QCOMPARE(scene.state(0), State::failed);
        QCOMPARE(scene.engine->transfers().first().failures, before.failures);
        QCOMPARE(scene.engine->transfers().first().ended, before.ended);
        scene.server->halfway = nullptr;
        scene.engine->retryFailed(id);
        QTRY_COMPARE(scene.state(0), State::finished);
    }

    void serverThatIsOutOfReachLeavesTheTransferWaiting()
    {
        Scene scene;
        scene.send("from/a");
        scene.engine.reset();
        scene.letGo->release(9);
        scene.problemOfServer = u"Could not connect: Connection refused"_s;
        scene.begin();
        scene.engine->resume(scene.engine->transfers().first().id);
        QCOMPARE(scene.state(0), State::reconnecting);
        QTRY_COMPARE(scene.state(0), State::interrupted);
        QCOMPARE(scene.engine->transfers().first().failures, QStringList{scene.problemOfServer});
    }

    void documentIsPrivateAndOneThatIsDamagedIsSetAside()
    {
        Scene scene;
        scene.send("from/a");
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(scene.file()) & others));
        const QByteArray whole = scene.tree.read("data/transfers.json");
        QVERIFY(whole.contains(uuidText(serverID).toUtf8()));
        scene.engine.reset();
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
