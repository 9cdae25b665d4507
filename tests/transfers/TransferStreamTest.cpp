// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "transfers/TarFormat.h"
#include "transfers/TransferScene.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const std::initializer_list<TestTree::Entry> manyFiles{
    {"from/d/1", "1"},  {"from/d/2", "2"},      {"from/d/3", "3"},    {"from/d/4", "4"},
    {"from/d/5", "5"},  {"from/d/e/6", "6"},    {"from/d/e/7", "7"},  {"from/d/e/8", ""},
    {"from/d/.9", "9"}, {"from/d/two  x", "x"}, {"from/d/none/", ""}, {"to/", ""}};

/// A folder of many small files on its way to or from a server that has a shell.
struct StreamScene : Scene
{
    explicit StreamScene(Route route)
        : Scene(manyFiles, route)
    {
        server->hasShell = true;
        add("from/d");
    }
};

} // namespace

class TransferStreamTest final : public QObject
{
    Q_OBJECT

private slots:
    void folderOfManySmallFilesGoesAsOneStream()
    {
        for (const Route route : {Route::upload, Route::download}) {
            StreamScene scene(route);
            scene.tree.link("from/d/link", u'/' + QString(150, u'l'));
            scene.tree.write(u"from/d/e/"_s + QString(120, u'n') + u'/' + QString(130, u'm'), QByteArray(300'000, 'z'));
            const QDateTime then(QDate(1960, 2, 29), QTime(12, 30), Qt::UTC);
            setTimeAndMode(scene.tree.path("from/d/1"), then, QFile::Permissions(0x6040));
            const QFile::Permissions mode = QFileInfo(scene.tree.path("from/d/1")).permissions();
            scene.request.isMove = true;
            const TreeSnapshot expected = scene.under(u"from/"_s);
            const TransferOutcome outcome = scene.run();
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), expected);
            QCOMPARE(scene.under(u"from/"_s), TreeSnapshot());
            const QFileInfo copy(scene.tree.path("to/d/1"));
            QCOMPARE(copy.lastModified().toUTC(), then);
            QCOMPARE(copy.permissions(), mode);
            QCOMPARE(outcome.counts.filesDone, 12);
            QCOMPARE(outcome.counts.bytesDone, outcome.counts.bytesTotal);
            QCOMPARE(scene.server->filesCarried.load(), 0);
            QVERIFY2(outcome.notes.value(0).contains(u"as one stream: “d”, 12 files"_s),
                     qPrintable(outcome.notes.join(u'|')));
        }
    }

    void streamThatIsNotPossibleLeavesTheFolderToItsFiles_data()
    {
        QTest::addColumn<Route>("route");
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<bool>("hasShell");
        QTest::newRow("up, no shell") << Route::upload << QByteArray() << false;
        QTest::newRow("down, no shell") << Route::download << QByteArray() << false;
        QTest::newRow("down, words instead of an archive")
            << Route::download << QByteArray("This account is currently not available.\n").repeated(30) << true;
        TarEntry first;
        first.path = "1";
        first.size = 1;
        const QByteArray begun = tarFormat::header(first) + '1' + tarFormat::padding(1);
        QTest::newRow("down, the archive breaks off") << Route::download << begun << true;
        QTest::newRow("down, nothing is in it") << Route::download << tarFormat::end() << true;
    }
    void streamThatIsNotPossibleLeavesTheFolderToItsFiles()
    {
        QFETCH(const Route, route);
        QFETCH(const QByteArray, archive);
        QFETCH(const bool, hasShell);
        StreamScene scene(route);
        scene.server->hasShell = hasShell;
        scene.server->archive = archive;
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
        QCOMPARE(scene.server->filesCarried.load(), 10);
        QCOMPARE(outcome.counts.filesDone, 10);
    }

    void brokenStreamIsGoneOnWithWhereItWas()
    {
        for (const Route route : {Route::upload, Route::download}) {
            StreamScene scene(route);
            scene.callbacks.reconnectDelays = {1ms};
            scene.tree.write("from/d/e/7", "7777");
            QVERIFY(QFile::setPermissions(scene.tree.path("from/d/e"), QFile::Permissions(0x7050)));
            scene.server->halfway = [&scene, breaks = breakLink(1)](const QString &source) {
                for (const QString &name : scene.under(u"to/"_s).keys()) {
                    if (name.endsWith(u"/7"_s) && source.isEmpty())
                        scene.tree.write(u"to/"_s + name, "77");
                }
                breaks(source);
            };
            const TransferOutcome outcome = scene.run();
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
            QCOMPARE(scene.server->filesCarried.load(), 1);
            QCOMPARE(outcome.counts.filesDone, 10);
            QCOMPARE(QFileInfo(scene.tree.path("to/d/e")).permissions(),
                     QFileInfo(scene.tree.path("from/d/e")).permissions());
        }
    }

    void stoppedStreamLeavesNothing()
    {
        for (const Route route : {Route::upload, Route::download}) {
            StreamScene scene(route);
            scene.server->halfway = [&scene](const QString &) {
                scene.stop.request_stop();
                throw Cancelled();
            };
            QVERIFY(scene.run().wasCancelled);
            QCOMPARE(scene.under(u"to/"_s), TreeSnapshot());
        }
        // Nor does one that was paused and is stopped while it waits.
        StreamScene scene(Route::upload);
        scene.callbacks.control = std::make_shared<TransferControl>();
        std::jthread stopper;
        scene.server->halfway = [&](const QString &) {
            scene.callbacks.control->pause();
            stopper = std::jthread([&scene] {
                std::this_thread::sleep_for(50ms);
                scene.stop.request_stop();
            });
            throw Cancelled();
        };
        QVERIFY(scene.run().wasCancelled);
        QCOMPARE(scene.under(u"to/"_s), TreeSnapshot());
    }

    void fileThatArrivesWrongIsNoticedBeforeTheFolderHasItsName()
    {
        StreamScene scene(Route::upload);
        scene.server->garbles = true;
        const TransferOutcome outcome = scene.run();
        // Nor do the files sent one by one, which the server garbles too, but those it reports as whole.
        QVERIFY2(outcome.notes.value(0).contains(u"did not arrive whole in the stream"_s),
                 qPrintable(outcome.notes.value(0)));
        QCOMPARE(scene.server->filesCarried.load(), 10);
    }
};

/// New folders on servers without a shell: they are filled under a part name.
class TransferStageTest final : public QObject
{
    Q_OBJECT

    struct StageScene : Scene
    {
        StageScene()
            : Scene(manyFiles, Route::upload)
        {
            request.id = QUuid::createUuid();
            add("from/d");
        }
        bool isOnlyStaged() const
        {
            const QStringList names = under(u"to/"_s).keys();
            return !names.isEmpty() &&
                   std::ranges::all_of(names, [](const QString &name) { return name.startsWith(u".d.moorix-"_s); });
        }
        TransferOutcome goOn(const TransferOutcome &outcome, std::function<void(const QString &)> meanwhile = {})
        {
            server->halfway = std::move(meanwhile);
            server->filesCarried = 0;
            request.items.clear();
            request.more = outcome.remaining;
            request.isContinuation = true;
            return run();
        }
    };

private slots:
    void folderIsSeenWhenItIsComplete()
    {
        for (const bool isMove : {false, true}) {
            StageScene scene;
            scene.request.isMove = isMove;
            QVERIFY(QFile::setPermissions(scene.tree.path("from/d/e"), QFile::Permissions(0x7000)));
            const TreeSnapshot expected = scene.under(u"from/"_s);
            std::atomic<bool> wasSeen = false;
            scene.server->halfway = [&](const QString &) { wasSeen = wasSeen || !scene.isOnlyStaged(); };
            const TransferOutcome outcome = scene.run();
            QCOMPARE(outcome.failures, QStringList());
            QVERIFY(!wasSeen);
            QCOMPARE(scene.under(u"to/"_s), expected);
            QCOMPARE(scene.under(u"from/"_s), isMove ? TreeSnapshot() : expected);
            QCOMPARE(QFileInfo(scene.tree.path("to/d/e")).permissions() & QFile::Permissions(0x0077),
                     QFile::Permissions());
            QVERIFY(outcome.changedTargetFolders.contains(scene.tree.path("to/d")));
        }
    }

    void lostAnswerToTheRenamingIsMadeUpFor()
    {
        StageScene scene;
        scene.callbacks.reconnectDelays = {1ms};
        scene.server->losesAnswer = true;
        QCOMPARE(scene.run().failures, QStringList());
        QVERIFY(!scene.server->losesAnswer);
        QCOMPARE(scene.under(u"to/"_s), scene.under(u"from/"_s));
    }

    void onlyWhatIsWholeInItIsKeptAfterALostLink()
    {
        for (const bool isStopped : {false, true}) {
            StageScene scene;
            scene.server->halfway = [](const QString &source) {
                if (source.endsWith(u"two  x"_s))
                    throw FileServiceError::connectionFailed(u"gone"_s);
            };
            const TransferOutcome broken = scene.run();
            QCOMPARE(broken.failures, QStringList{u"Could not connect: gone"_s});
            QVERIFY(scene.isOnlyStaged());
            for (const QString &name : scene.under(u"to/"_s).keys()) {
                for (const char *left : {"no longer planned", "none/deep"})
                    if (name.endsWith(u"/e/"_s))
                        scene.tree.write(u"to/"_s + name + QLatin1String(left), "x");
            }
            const TransferOutcome outcome = scene.goOn(broken, [&](const QString &source) {
                if (isStopped)
                    scene.stop.request_stop();
                else if (source.endsWith(u"two  x"_s))
                    throw FileServiceError::operationFailed(u"refused halfway"_s);
            });
            QCOMPARE(outcome.wasCancelled, isStopped);
            QCOMPARE(outcome.failures.size(), isStopped ? 0 : 1);
            QVERIFY(scene.server->filesCarried < 10);
            TreeSnapshot expected = isStopped ? TreeSnapshot() : scene.under(u"from/"_s);
            expected.remove(u"d/two  x"_s);
            QCOMPARE(scene.under(u"to/"_s), expected);
        }
    }

    void stoppedTransferLeavesWholeFilesOnly()
    {
        StageScene scene;
        scene.server->halfway = [&scene](const QString &source) {
            if (source.endsWith(u'7'))
                scene.stop.request_stop();
        };
        QVERIFY(scene.run().wasCancelled);
        const TreeSnapshot sent = scene.under(u"from/"_s);
        const TreeSnapshot left = scene.under(u"to/"_s);
        QVERIFY(!left.isEmpty());
        for (auto file = left.cbegin(); file != left.cend(); ++file)
            QVERIFY2(sent.contains(file.key()) && sent.value(file.key()) == *file, qPrintable(file.key()));
    }

    void nameThatIsTakenMeanwhileIsNotTakenOver()
    {
        StageScene scene;
        scene.server->halfway = [&scene](const QString &) { scene.tree.write("to/d/other", "kept"); };
        const TransferOutcome refused = scene.run();
        QCOMPARE(refused.failures.size(), 1);
        QCOMPARE(scene.under(u"to/d/"_s).keys(), QStringList{u"other"_s});
        const TransferOutcome outcome = scene.goOn(refused);
        QCOMPARE(outcome.failures, QStringList());
        TreeSnapshot expected = scene.under(u"from/"_s);
        expected.insert(u"d/other"_s, "kept");
        QCOMPARE(scene.under(u"to/"_s), expected);
    }
};

MOORIX_TEST(TransferStreamTest)
MOORIX_TEST(TransferStageTest)
#include "TransferStreamTest.moc"
