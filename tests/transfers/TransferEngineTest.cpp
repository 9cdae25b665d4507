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
    TestTree tree{{"from/a", "new a"}, {"from/b", "new b"}, {"to/a", "old a"}, {"other/", ""}};
    std::shared_ptr<QSemaphore> letGo = std::make_shared<QSemaphore>();
    std::shared_ptr<FolderServer> server = std::make_shared<FolderServer>();
    std::unique_ptr<TransferEngine> engine = std::make_unique<TransferEngine>();

    Scene()
    {
        server->halfway = [letGo = letGo](const QString &) { letGo->tryAcquire(1, 5000); };
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
        scene.engine->clearEnded();
        QVERIFY(scene.engine->transfers().isEmpty());
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

    void engineThatGoesDuringATransferLeavesNoHalfFile()
    {
        Scene scene;
        scene.send("from/a", "other");
        QTRY_COMPARE(scene.tree.snapshot().size(), 7);
        scene.engine.reset();
        scene.letGo->release(9);
        QTRY_COMPARE(scene.tree.snapshot().size(), 6);
        QVERIFY(!scene.tree.exists("other/a"));
    }
};

MOORIX_TEST(TransferEngineTest)
#include "TransferEngineTest.moc"
