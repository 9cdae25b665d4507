// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/NativePath.h"
#include "support/TestMain.h"
#include "transfers/TransferChecksums.h"
#include "transfers/TransferScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QByteArray much = QByteArray("0123456789abcdef").repeated(1024 * 1024);

/// Blocks may arrive out of order, so that the end of what has come down before a break holds gaps.
void garbleEnds(const Scene &scene)
{
    for (const QString &part : scene.under(u"to/"_s).keys()) {
        const QByteArray whole = scene.tree.read(u"to/"_s + part);
        scene.tree.write(u"to/"_s + part, whole.chopped(9) + QByteArray(9, '\0'));
    }
}

} // namespace

class TransferBreaksTest final : public QObject
{
    Q_OBJECT

private slots:
    void brokenLinkGoesOnWhereItStopped()
    {
        // By themselves and, not continued, together with others; less than what is in doubt of a download.
        const QByteArray little("12345678");
        const std::tuple<Route, QByteArray, bool> rows[] = {{Route::upload, little, true},
                                                            {Route::download, much, true},
                                                            {Route::upload, little, false},
                                                            {Route::download, little, false},
                                                            {Route::betweenServers, little, false}};
        for (const auto &[route, content, isContinued] : rows) {
            Scene scene({{"from/a", content}, {"to/", ""}}, route);
            scene.server->isTakingMany = !isContinued;
            scene.callbacks.reconnectDelays = {1ms, 1ms};
            scene.server->halfway = [&scene, isDoubtful = content == much,
                                     breaks = breakLink(2)](const QString &source) {
                try {
                    breaks(source);
                } catch (const FileServiceError &) {
                    if (isDoubtful)
                        garbleEnds(scene);
                    throw;
                }
            };
            std::atomic<bool> waited = false;
            scene.callbacks.progress = [&waited](const TransferCounts &counts) {
                if (counts.waitingFor.contains(u"reset by peer"_s))
                    waited = true;
                QVERIFY(counts.bytesDone <= counts.bytesTotal);
            };
            const TransferOutcome outcome = scene.run("from/a");
            QCOMPARE(outcome.failures, QStringList());
            QVERIFY(waited && outcome.counts.waitingFor.isEmpty());
            QVERIFY(scene.tree.read("to/a") == content);
            QCOMPARE(scene.under(u"to/"_s).size(), 1);
            QCOMPARE(outcome.notes.value(0).contains(u"1 file went on"_s), isContinued);
        }
    }

    void partThatDoesNotFitIsCopiedAfresh()
    {
        Scene scene({{"from/a", "12345678"}, {"to/", ""}}, Route::upload);
        scene.callbacks.reconnectDelays = {1ms};
        scene.server->isTakingMany = false;
        scene.server->hasShell = true;
        scene.server->halfway = [&scene, broken = std::make_shared<bool>()](const QString &) {
            if (std::exchange(*broken, true))
                return;
            scene.tree.write("from/a", "abcdefgh");
            throw FileServiceError::connectionFailed(u"gone"_s);
        };
        const TransferOutcome outcome = scene.run("from/a");
        QCOMPARE(outcome.failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"a"_s, "abcdefgh"}}));
        QCOMPARE(outcome.notes, QStringList());
    }

    void refusedLoginIsNotTriedAgain()
    {
        Scene scene({{"from/a", "1"}, {"to/", ""}}, Route::upload);
        scene.callbacks.reconnectDelays = {1h};
        scene.server->halfway = [](const QString &) {
            throw FileServiceError::connectionFailed(u"…\nme@host: Permission denied (publickey,password)."_s);
        };
        QCOMPARE(scene.run("from/a").failures.size(), 1);
    }

    void stopEndsTheWaitForALostLink()
    {
        Scene scene({{"from/a", "12345678"}, {"to/", ""}}, Route::upload);
        scene.callbacks.reconnectDelays = {1h};
        scene.server->halfway = breakLink(1);
        scene.callbacks.progress = [&scene](const TransferCounts &counts) {
            if (!counts.waitingFor.isEmpty())
                scene.stop.request_stop();
        };
        QVERIFY(scene.run("from/a").wasCancelled);
        QCOMPARE(scene.under(u"to/"_s), TreeSnapshot());
    }

    void whatALostLinkLeftOverIsAllThatAnotherTryCopies()
    {
        Scene scene({{"from/d/a", "12345678"}, {"from/d/e/b", "12345678"}, {"from/d/c", "whole"}, {"to/", ""}},
                    Route::upload);
        scene.callbacks.gate = std::make_shared<TransferGate>(1);
        scene.server->isTakingMany = false;
        scene.request.id = QUuid::createUuid();
        scene.server->halfway = [](const QString &source) {
            if (!source.endsWith(u'c'))
                throw FileServiceError::connectionFailed(u"gone"_s);
        };
        TransferOutcome outcome = scene.run("from/d/c", "from/d");
        QCOMPARE(outcome.failures, QStringList{u"Could not connect: gone"_s});
        QVERIFY(!outcome.wasCancelled);
        QCOMPARE(scene.tree.read("to/c"), QByteArray("whole"));

        // The files that had come to their places stay untouched, parts are taken up.
        scene.tree.write("to/c", "other");
        scene.server->halfway = nullptr;
        scene.request.items.clear();
        scene.request.more = outcome.remaining;
        scene.request.isContinuation = true;
        outcome = scene.run();
        QCOMPARE(outcome.failures, QStringList());
        QCOMPARE(outcome.remaining.size(), 0);
        // Parts had half of their files, and had it three quarters when that was first told.
        QVERIFY(outcome.counts.bytesFound >= 6 && outcome.counts.bytesFound < outcome.counts.bytesDone);
        const TestTree expected{{"c", "other"}, {"d/a", "12345678"}, {"d/c", "whole"}, {"d/e/b", "12345678"}};
        QCOMPARE(scene.under(u"to/"_s), expected.snapshot());
    }

    void folderThatIsGoneKeepsNothingElseFromBeingTriedAgain()
    {
        Scene scene({{"from/a", "a"}, {"from/b", "b"}, {"to/", ""}}, Route::upload);
        scene.add("from/a");
        scene.request.more = {{std::exchange(scene.request.items, {}), scene.tree.path("gone")}};
        scene.add("from/b");
        scene.request.more.append({std::exchange(scene.request.items, {}), scene.tree.path("to")});
        scene.request.isContinuation = true;
        scene.request.isMove = true;
        scene.request.check = TransferCheck::contents;
        scene.server->hasShell = true;
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures.size(), 1);
        QCOMPARE(outcome.remaining.size(), 1);
        QCOMPARE(scene.under(u"from/"_s), (TreeSnapshot{{u"a"_s, "a"}}));
        QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"b"_s, "b"}}));
    }

    void continuedCopyPassesByWhatHasArrivedAndAMoveCopiesItAgain()
    {
        for (const bool isMove : {false, true}) {
            Scene scene({{"from/a", "12345678"}, {"from/b", "12345678"}, {"to/a", "********"}, {"to/b", "short"}},
                        Route::upload);
            scene.request.isContinuation = true;
            scene.request.isMove = isMove;
            scene.callbacks.ask = [](const TransferConflict &conflict, const std::stop_token &) {
                // What differs is the user's to decide.
                return ConflictAnswer{conflict.existing.name == u"b" ? ConflictAnswer::Choice::overwrite
                                                                     : ConflictAnswer::Choice::cancel};
            };
            const TransferOutcome outcome = scene.run("from/a", "from/b");
            QCOMPARE(outcome.failures, QStringList());
            QCOMPARE(outcome.counts.filesDone, 2);
            QCOMPARE(scene.under(u"to/"_s),
                     (TreeSnapshot{{u"a"_s, isMove ? "12345678" : "********"}, {u"b"_s, "12345678"}}));
            QCOMPARE(scene.under(u"from/"_s).size(), isMove ? 0 : 2);
        }
    }

    void continuedCopyFindsTheFolderItHasMadeBesideAnother()
    {
        Scene scene({{"from/d/a", "12345678"}, {"from/d/b", "more"}, {"to/d/a", "other"}}, Route::upload);
        scene.request.policy = TransferConflictPolicy::rename;
        QCOMPARE(scene.run("from/d").failures, QStringList());
        QVERIFY(QFile::remove(scene.tree.path("to/d 2/b")));
        scene.request.isContinuation = true;
        QCOMPARE(scene.run().failures, QStringList());
        const TestTree expected{{"d/a", "other"}, {"d 2/a", "12345678"}, {"d 2/b", "more"}};
        QCOMPARE(scene.under(u"to/"_s), expected.snapshot());
    }

    void continuedCopyKnowsOldFilesByTheirDay()
    {
        for (const Route route : {Route::upload, Route::download}) {
            Scene scene({{"from/a", "12345678"}, {"to/a", "********"}}, route);
            scene.server->times = {ListedTimes::Precision::minutesOrDays, Qt::UTC};
            scene.request.isContinuation = true;
            const QDateTime day(QDate(2020, 2, 29), QTime(0, 0), Qt::UTC);
            const bool isUpload = route == Route::upload;
            setTimeAndMode(scene.tree.path("from/a"), isUpload ? day.addSecs(50'000) : day, QFile::Permissions(0x6644));
            setTimeAndMode(scene.tree.path("to/a"), isUpload ? day : day.addSecs(50'000), QFile::Permissions(0x6644));
            QCOMPARE(scene.run("from/a").failures, QStringList());
            QCOMPARE(scene.tree.read("to/a"), QByteArray("********"));
        }
    }

    void partOfAnOlderVersionIsNotGoneOnWith()
    {
        const QByteArray newer(much.size(), 'n');
        // In one run only this machine is asked again.
        for (const auto &[route, isInOneRun] :
             {std::pair(Route::upload, true), std::pair(Route::upload, false), std::pair(Route::download, false)}) {
            Scene scene({{"from/a", much}, {"to/", ""}}, route);
            scene.request.id = QUuid::createUuid();
            if (isInOneRun)
                scene.callbacks.reconnectDelays = {1ms};
            scene.server->halfway = [&scene, &newer, breaks = breakLink(1)](const QString &source) {
                const QDateTime later = QDateTime::currentDateTimeUtc().addSecs(300);
                scene.tree.write("from/a", newer);
                setTimeAndMode(scene.tree.path("from/a"), later, QFile::Permissions(0x6644));
                breaks(source);
            };
            TransferOutcome outcome = scene.run("from/a");
            if (!isInOneRun) {
                scene.request.more = outcome.remaining;
                scene.request.items.clear();
                scene.request.isContinuation = true;
                outcome = scene.run();
            }
            QCOMPARE(outcome.failures, QStringList());
            QVERIFY(scene.under(u"to/"_s) == (TreeSnapshot{{u"a"_s, newer}}));
        }
    }

    void olderHalfOfAFileIsContinuedOnlyIfItFits()
    {
        for (const bool fits : {true, false}) {
            for (const Route route : {Route::local, Route::upload}) {
                Scene scene({{"from/a", "12345678"}, {"to/a", fits ? "1234" : "abcd"}}, route);
                scene.server->hasShell = true;
                scene.callbacks.ask = [](const TransferConflict &conflict, const std::stop_token &) {
                    return ConflictAnswer{conflict.canResume() ? ConflictAnswer::Choice::resume
                                                               : ConflictAnswer::Choice::cancel};
                };
                const TransferOutcome outcome = scene.run("from/a");
                QCOMPARE(outcome.failures, QStringList());
                QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"a"_s, "12345678"}}));
                QCOMPARE(outcome.notes.size(), fits ? 1 : 0);
            }
        }
    }

    void movedFileIsNotContinuedBlindly()
    {
        Scene scene({{"from/a", "12345678"}, {"to/a", "abcd"}}, Route::upload);
        scene.request.isMove = true;
        scene.callbacks.decide = [](const TransferConflict &) { return ConflictAnswer::Choice::resume; };
        QCOMPARE(scene.run("from/a").failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"a"_s, "12345678"}}));
    }

    void contentsAreComparedWhateverBytesANameHolds()
    {
        const Scene scene({});
        const QString path = scene.tree.path(NativePath::text("gr\xfc\xdf"));
        scene.disk->write("x", path, {});
        const auto sums = transferChecksums::of(*scene.disk, {path, u"/none"_s}, {});
        QVERIFY(transferChecksums::areSame(*sums, path, *sums, path));
        QVERIFY(!transferChecksums::areSame(*sums, u"/none"_s, *sums, u"/none"_s));
    }

    void comparedContentsFindWhatSizesDoNot()
    {
        Scene scene({{"from/good", "12345678"}, {"from/bad", "12345678"}, {"to/", ""}}, Route::upload);
        scene.server->hasShell = true;
        scene.request.check = TransferCheck::contents;
        scene.request.isMove = true;
        scene.server->halfway = [&scene](const QString &source) {
            if (source.endsWith(u"bad"_s))
                scene.server->garbles = true;
        };
        scene.callbacks.gate = std::make_shared<TransferGate>(1);
        QCOMPARE(scene.run("from/good", "from/bad").failures,
                 QStringList{u"The copy of “bad” differs from the original."_s});
        QCOMPARE(scene.under(u"from/"_s), (TreeSnapshot{{u"bad"_s, "12345678"}}));
    }
};

MOORIX_TEST(TransferBreaksTest)
#include "TransferBreaksTest.moc"
