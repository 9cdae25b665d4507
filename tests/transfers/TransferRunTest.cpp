// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "transfers/ContentComparison.h"
#include "transfers/TransferScene.h"

#include <QFileInfo>

#include <atomic>

#include <sys/stat.h>
#include <sys/xattr.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using Choice = ConflictAnswer::Choice;

namespace {

FileItem file(qint64 size, const char *time)
{
    FileItem item = entryAt(u"%1 bytes, %2"_s.arg(size).arg(QLatin1String(time)), size);
    if (*time)
        item.modified = QDateTime(QDate(2026, 3, 1), QTime::fromString(QLatin1String(time), u"H:mm:ss"_s), Qt::UTC);
    return item;
}

} // namespace

class TransferRunTest final : public QObject
{
    Q_OBJECT

private slots:
    void treeArrivesWithModesAndTimesAndAMoveLeavesNothingBehind()
    {
        using enum Route;
        const QString longName = u"from/"_s + QString(250, u'n');
        const QDateTime date(QDate(2020, 2, 29), QTime(12, 30), Qt::UTC);
        for (const Route route : {local, upload, download, betweenServers, withinServer}) {
            for (const bool isMove : {false, true}) {
                Scene scene({{"from/d/a", "text"},
                             {"from/d/.b", "dot"},
                             {"from/d/e/", ""},
                             {"from/d/f/c", "more"},
                             {"to/", ""}},
                            route);
                // One by one, or together.
                scene.server->isTakingMany = scene.otherServer->isTakingMany = isMove;
                scene.tree.write(longName, "x");
                const QString source = scene.tree.path(longName);
                setTimeAndMode(source, date, QFile::Permissions(0x6040));
                const QFile::Permissions mode = QFile::permissions(source);
                const bool hasAttributes =
                    ::setxattr(QFile::encodeName(source).constData(), "user.moorix", "kept", 4, 0) == 0;
                const TreeSnapshot whole = scene.under(u"from/"_s);
                scene.request.isMove = isMove;
                const TransferOutcome outcome = scene.run("from/d", longName);
                QCOMPARE(outcome.failures, QStringList());
                QCOMPARE(scene.under(u"to/"_s), whole);
                QCOMPARE(scene.under(u"from/"_s), isMove ? TreeSnapshot() : whole);
                QCOMPARE(outcome.counts.filesDone, outcome.counts.filesTotal);
                const QFileInfo copy(scene.tree.path(u"to"_s + longName.mid(4)));
                QCOMPARE(copy.lastModified().toUTC(), date);
                QCOMPARE(copy.permissions(), mode);
                const QByteArray path = QFile::encodeName(copy.filePath());
                if (route == local)
                    QCOMPARE(::getxattr(path.constData(), "user.moorix", nullptr, 0), hasAttributes ? 4 : -1);
            }
        }
    }

    void conflictsAreResolvedByPolicy()
    {
        const TreeSnapshot kept{{u"a.tar.gz"_s, "old"}, {u"b"_s, "old"}, {u"d/"_s, ""}, {u"d/c"_s, "old"}};
        const TreeSnapshot replaced{{u"a.tar.gz"_s, "new a"}, {u"b"_s, "new b"}, {u"d/"_s, ""}, {u"d/c"_s, "new c"}};
        TreeSnapshot both = kept;
        both.insert({{u"a 2.tar.gz"_s, "new a"}, {u"b 2"_s, "new b"}, {u"d/c 2"_s, "new c"}});
        TreeSnapshot folderToo = both;
        folderToo.remove(u"d/c 2"_s);
        folderToo.insert({{u"d 2/"_s, ""}, {u"d 2/c"_s, "new c"}});
        using enum TransferConflictPolicy;
        // The policy, how each question is answered and how often one is asked.
        const std::tuple<TransferConflictPolicy, ConflictAnswer, int, TreeSnapshot> rows[] = {
            {skip, {}, 0, kept},
            {overwrite, {}, 0, replaced},
            {rename, {}, 0, folderToo},
            {ask, {Choice::skip}, 3, kept},
            {ask, {Choice::rename}, 3, both},
            {ask, {Choice::overwrite, true}, 1, replaced},
            {ask, {Choice::cancel}, 1, kept}};
        for (const auto &row : rows) {
            const auto &[policy, answer, expectedQuestions, expected] = row;
            for (const Route route : {Route::local, Route::upload, Route::withinServer}) {
                Scene scene({{"from/a.tar.gz", "new a"},
                             {"from/b", "new b"},
                             {"from/d/c", "new c"},
                             {"to/a.tar.gz", "old"},
                             {"to/b", "old"},
                             {"to/d/c", "old"}},
                            route);
                scene.request.policy = policy;
                int questions = 0;
                std::atomic<qint64> told = 0;
                scene.callbacks.progress = [&told](const TransferCounts &counts) { told = counts.filesTotal; };
                scene.callbacks.ask = [&](const TransferConflict &, const std::stop_token &) {
                    // What is skipped is no longer to be done, and who is asked can see that.
                    if (std::get<ConflictAnswer>(row).choice == Choice::skip && told != 3 - questions)
                        throw Error(u"Test"_s, u"%1 files were told"_s.arg(told.load()));
                    ++questions;
                    return std::get<ConflictAnswer>(row);
                };
                const TransferOutcome outcome = scene.run("from/a.tar.gz", "from/b", "from/d");
                QCOMPARE(outcome.failures, QStringList());
                QCOMPARE(outcome.counts.bytesDone == outcome.counts.bytesTotal, !outcome.wasCancelled);
                QCOMPARE(scene.under(u"to/"_s), expected);
                QCOMPARE(questions, expectedQuestions);
            }
        }
    }

    void whatHasComeSinceTheListingIsAskedAbout()
    {
        Scene scene({{"from/a", "new a"}, {"from/b", "new b"}, {"to/a", "old"}});
        scene.callbacks.ask = [&scene](const TransferConflict &conflict, const std::stop_token &) {
            if (conflict.source.name == u"a")
                scene.tree.write("to/b", "old");
            return ConflictAnswer{ConflictAnswer::Choice::skip};
        };
        QCOMPARE(scene.run("from/a", "from/b").failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"a"_s, "old"}, {u"b"_s, "old"}}));
    }

    void brokenCopyLeavesTheOldFileAndNoPart()
    {
        for (const auto &[route, takesMany] :
             {std::pair(Route::upload, true), std::pair(Route::upload, false), std::pair(Route::download, true),
              std::pair(Route::download, false), std::pair(Route::betweenServers, false)}) {
            for (const bool isSilent : {false, true}) {
                Scene scene({{"from/bad", "new data"}, {"from/good", "fine"}, {"to/bad", "old data"}}, route);
                scene.request.policy = TransferConflictPolicy::overwrite;
                scene.request.isMove = true;
                scene.server->isTakingMany = takesMany;
                scene.server->halfway = [&scene, isSilent](const QString &source) {
                    scene.server->losesHalf = isSilent && source.endsWith(u"bad"_s);
                    if (!isSilent && source.endsWith(u"bad"_s))
                        throw FileServiceError::operationFailed(u"write: No space left on device"_s);
                };
                scene.callbacks.gate = std::make_shared<TransferGate>(1);
                const TransferOutcome outcome = scene.run("from/bad", "from/good");
                QCOMPARE(outcome.failures.size(), 1);
                const QString words = isSilent ? u"the copy has 4 bytes"_s : u"No space left on device"_s;
                QVERIFY2(outcome.failures.first().startsWith(u"“bad” was not moved: "_s) &&
                             outcome.failures.first().contains(words),
                         qPrintable(outcome.failures.first()));
                QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"bad"_s, "old data"}, {u"good"_s, "fine"}}));
                QCOMPARE(scene.under(u"from/"_s), (TreeSnapshot{{u"bad"_s, "new data"}}));
            }
        }
    }

    void fileThatComesToTheTargetMeanwhileIsKept()
    {
        for (const bool takesMany : {true, false}) {
            Scene scene({{"from/a", "ours"}, {"to/", ""}}, Route::upload);
            scene.server->isTakingMany = takesMany;
            scene.server->halfway = [&scene](const QString &) { scene.tree.write("to/a", "theirs"); };
            QCOMPARE(scene.run("from/a").failures.size(), 1);
            QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"a"_s, "theirs"}}));
        }
    }

    void whatArrivesWhileAQuestionIsOpenIsTold()
    {
        Scene scene({{"from/a", "new a"}, {"from/b", "new b"}, {"to/b", "old b"}}, Route::upload);
        QSemaphore asked;
        QSemaphore told;
        scene.server->halfway = [&asked](const QString &) { asked.tryAcquire(1, 5000); };
        scene.callbacks.progress = [&told](const TransferCounts &counts) { told.release(int(counts.filesDone)); };
        scene.callbacks.ask = [&](const TransferConflict &, const std::stop_token &) {
            asked.release();
            return ConflictAnswer{told.tryAcquire(1, 5000) ? Choice::skip : Choice::cancel};
        };
        QVERIFY(!scene.run("from/a", "from/b").wasCancelled);
    }

    void namesThatAreOneForTheServersDiskDoNotReplaceEachOther()
    {
        // Enough for a stage or not; together or, for being large, one by one.
        for (const int more : {0, 8}) {
            for (const qsizetype size : {3, 300'000}) {
                Scene scene(
                    {{"from/d/Über", QByteArray(size, '1')}, {"from/d/über", QByteArray(size, '2')}, {"to/", ""}},
                    Route::upload);
                for (int i = 0; i < more; ++i)
                    scene.tree.write(u"from/d/%1"_s.arg(i), "x");
                scene.server->ignoresCase = true;
                scene.request.isMove = true;
                const TransferOutcome outcome = scene.run("from/d");
                QCOMPARE(outcome.failures.size(), 1);
                QCOMPARE(scene.under(u"to/d/"_s).size(), more + 1);
                QCOMPARE(scene.under(u"from/d/"_s).size(), more + 2);
            }
        }
    }

    void namesThatLeadOutOfTheFolderAreRefused()
    {
        Scene scene({{"from/d/good", "g"}, {"from/evil", "outside"}, {"to/", ""}}, Route::download);
        scene.server->inventedNames = {u".."_s, u"."_s, u"../evil"_s, u"x/y"_s, u""_s, u"line\nbreak"_s, u"\x1b[2J"_s};
        scene.request.isMove = true;
        const QStringList failures = scene.run("from/d").failures;
        QCOMPARE(failures.size(), 7);
        QCOMPARE(failures.filter(u"would lead out of the target folder"_s).size(), 4);
        QCOMPARE(failures.filter(u"control characters"_s).size(), 2);
        QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"d/"_s, ""}, {u"d/good"_s, "g"}}));
        QCOMPARE(scene.tree.read("from/d/good"), QByteArray("g"));
    }

    void impossibleCopiesAreRefusedInWords()
    {
        const std::tuple<const char *, const char *, const char *> rows[] = {
            {"from/file", "from", "it cannot be copied onto itself"},
            {"from/file", "link", "it cannot be copied onto itself"},
            {"from/d", "from/d", "a folder cannot go into itself"},
            {"from/d", "link/d/e", "a folder cannot go into itself"},
            {"from/file", "clash", "a file does not replace a folder"},
            {"from/d", "clash", "a folder does not replace a file"},
            {"from/d", "links", "a link of this name is there"},
            {"from/fifo", "to", "neither a file nor a folder"}};
        Scene scene({{"from/file", "f"},
                     {"from/d/e/x", "x"},
                     {"clash/file/", ""},
                     {"clash/d", "d"},
                     {"links/", ""},
                     {"to/", ""}});
        scene.tree.link("link", "from");
        scene.tree.link("links/d", "../to");
        const TreeSnapshot before = scene.tree.snapshot();
        QCOMPARE(::mkfifo(QFile::encodeName(scene.tree.path("from/fifo")).constData(), 0600), 0);
        scene.request.policy = TransferConflictPolicy::overwrite;
        for (const auto &[item, targetFolder, words] : rows) {
            scene.request.targetFolder = scene.tree.path(targetFolder);
            scene.request.items.clear();
            const QStringList failures = scene.run(item).failures;
            QVERIFY2(failures.size() == 1 && failures.first().contains(QLatin1String(words)),
                     qPrintable(failures.join(u'|')));
        }
        QVERIFY(QFile::remove(scene.tree.path("from/fifo")));
        // Who wants another name gets a second one beside it.
        scene.request.policy = TransferConflictPolicy::rename;
        scene.request.targetFolder = scene.tree.path("from");
        scene.request.items.clear();
        QCOMPARE(scene.run("from/file").failures, QStringList());
        QVERIFY(QFile::remove(scene.tree.path("from/file 2")));
        QCOMPARE(scene.tree.snapshot(), before);
    }

    void linksAreCopiedAsLinksLocallyAndReportedForServers()
    {
        for (const Route route : {Route::local, Route::upload}) {
            Scene scene({{"from/d/a", "a"}, {"to/", ""}}, route);
            scene.tree.link("from/d/link", "nowhere");
            const QDateTime time(QDate(1969, 7, 20), QTime(20, 17, 40, 500), Qt::UTC);
            localTransfer::setModified(scene.tree.path("from/d/link"), time);
            const TransferOutcome outcome = scene.run("from/d");
            QCOMPARE(outcome.failures.size(), route == Route::local ? 0 : 1);
            const auto copy = scene.disk->stat(scene.tree.path("to/d/link"), {});
            QCOMPARE(copy ? copy->modified : std::nullopt, route == Route::local ? std::optional(time) : std::nullopt);
            QCOMPARE(scene.tree.read("to/d/a"), QByteArray("a"));
        }
    }

    void moveToTheSameFolderByAnotherWayKeepsTheOnlyCopy()
    {
        for (const Route route : {Route::upload, Route::download, Route::betweenServers}) {
            for (const bool takesMany : {false, true}) {
                Scene scene({{"from/a", "only"}, {"from/d/b", "only too"}}, route);
                scene.server->isTakingMany = takesMany;
                scene.request.targetFolder = scene.tree.path("from");
                scene.request.isMove = true;
                scene.request.policy = TransferConflictPolicy::overwrite;
                const TreeSnapshot before = scene.tree.snapshot();
                const QStringList failures = scene.run("from/a", "from/d").failures;
                QCOMPARE(failures.filter(u"it is in this folder already"_s).size(), 2);
                QCOMPARE(scene.tree.snapshot(), before);
            }
        }
    }

    void moveKeepsAnOriginalThatGrowsOrIsJoinedMeanwhile()
    {
        for (const char *written : {"from/d/a", "from/d/late"}) {
            Scene scene({{"from/d/a", "before"}, {"to/", ""}}, Route::upload);
            scene.server->halfway = [&](const QString &) { scene.tree.write(written, "written meanwhile"); };
            scene.request.isMove = true;
            QCOMPARE(scene.run("from/d").failures.size(), 1);
            QCOMPARE(scene.tree.read(written), QByteArray("written meanwhile"));
        }
    }

    void moveKeepsAFileOfAServerThatChangesButNotInSize()
    {
        Scene scene({{"from/a", "before"}, {"to/", ""}}, Route::download);
        const QDateTime later = QDateTime::currentDateTime().addSecs(90);
        scene.server->halfway = [&](const QString &path) { setTimeAndMode(path, later, QFile::Permissions(0x6644)); };
        scene.request.isMove = true;
        QCOMPARE(scene.run("from/a").failures.size(), 1);
        QVERIFY(scene.tree.exists("from/a"));
    }

    void moveKeepsWhatComesToAFolderAfterTheLastLook()
    {
        for (const Route route : {Route::upload, Route::download}) {
            Scene scene({{"from/d/a", "a"}, {"from/d/e/b", "b"}, {"to/", ""}}, route);
            scene.server->mayHaveShell = false;
            int looks = 0;
            scene.callbacks.entriesOf = [&](const QString &folder) {
                const QList<FileItem> entries = scene.disk->list(folder, HiddenFiles::included, {});
                if (folder.endsWith(u'e') && ++looks == 2)
                    scene.tree.write("from/d/e/late", "late");
                return entries;
            };
            scene.request.isMove = true;
            QCOMPARE(scene.run("from/d").failures.size(), 1);
            QCOMPARE(scene.under(u"from/d/"_s), (TreeSnapshot{{u"e/"_s, ""}, {u"e/late"_s, "late"}}));
        }
    }

    void cancelInTheMiddleOfAFileLeavesNothingOfIt()
    {
        for (const Route route : {Route::upload, Route::download, Route::betweenServers}) {
            Scene scene({{"from/a", "12345678"}, {"from/b", "12345678"}, {"to/", ""}}, route);
            scene.server->halfway = [&scene](const QString &) { scene.stop.request_stop(); };
            scene.request.isMove = true;
            const TransferOutcome outcome = scene.run("from/a", "from/b");
            QVERIFY(outcome.wasCancelled);
            QCOMPARE(outcome.failures, QStringList());
            const QList<QByteArray> contents = scene.under(u"to/"_s).values() + scene.under(u"from/"_s).values();
            QCOMPARE(contents, (QList<QByteArray>{"12345678", "12345678"}));
        }
    }

    void lostConnectionEndsTheTransferWithOneSentence()
    {
        Scene scene({{"from/a", "1"}, {"from/b", "2"}, {"from/c", "3"}, {"to/", ""}}, Route::upload);
        scene.server->halfway = breakLink(3);
        QCOMPARE(scene.run("from/a", "from/b", "from/c").failures,
                 QStringList{u"Could not connect: Connection reset by peer"_s});
    }

    void tooLittleSpaceIsSaidBeforeAnythingIsCopied()
    {
        Scene scene({{"from/d/a", "12345"}, {"from/d/b", "12345"}, {"to/", ""}}, Route::upload);
        scene.server->space = 9;
        const TransferOutcome outcome = scene.run("from/d");
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().contains(u"9 bytes free"_s), qPrintable(outcome.failures.first()));
        QCOMPARE(scene.under(u"to/"_s), TreeSnapshot());
    }

    void conditionsAreSettledByBothSides()
    {
        using enum Choice;
        const std::tuple<Choice, FileItem, FileItem, std::optional<Choice>> rows[] = {
            {overwriteOlder, file(1, "12:00:02"), file(1, "12:00:01"), overwrite},
            {overwriteOlder, file(1, "12:00:01"), file(1, "12:00:02"), skip},
            // The same minute, as a server tells it.
            {overwriteOlder, file(1, "12:00:59"), file(1, "12:00:00"), skip},
            {overwriteOlder, file(1, "12:01:00"), file(1, "12:00:00"), overwrite},
            {overwriteOlder, file(1, "12:00:00"), file(1, ""), std::nullopt},
            {overwriteOtherSize, file(7, ""), file(7, ""), skip},
            {overwriteOtherSize, file(7, ""), file(8, ""), overwrite},
            {resume, file(8, ""), file(7, ""), resume},
            {resume, file(8, ""), file(8, ""), skip},
            {resume, file(7, ""), file(8, ""), std::nullopt},
            {resume, file(7, ""), file(0, ""), std::nullopt},
        };
        for (const auto &[choice, source, existing, expected] : rows)
            QVERIFY2(settled(choice, {source, existing}) == expected, qPrintable(source.name + existing.name));
        // Of an older file a server tells the day alone.
        QVERIFY(settled(overwriteOlder, {file(1, "12:00:01"), file(1, "0:00:00"), std::chrono::hours(24)}) == skip);
        // Folders and links are never continued.
        TransferConflict conflict{file(8, ""), file(7, "")};
        conflict.existing.isSymlink = true;
        QVERIFY(!conflict.canResume());
        conflict.existing.isSymlink = false;
        conflict.source.isDirectory = true;
        QVERIFY(!conflict.canResume());
    }

    void contentsPartAtALineOfTextsAndAByteOfOthers()
    {
        using Result = ContentComparison::Result;
        const auto parting = [](QByteArrayView one, QByteArrayView other) {
            const ContentComparison found = ContentComparison::of(one, other);
            return found.result == Result::same ? 0 : found.line.value_or(-found.byte.value_or(0));
        };
        QCOMPARE(parting("", ""), 0);
        QCOMPARE(parting("a\nb\n", "a\nb\n"), 0);
        QCOMPARE(parting("a\nb\n", "a\nc\n"), 2);
        QCOMPARE(parting("a\n", "a\nb"), 2);
        QCOMPARE(parting("", "a"), 1);
        QCOMPARE(parting(QByteArrayView("a\0b", 3), QByteArrayView("a\0c", 3)), -2);
        // Too large to be read: the sizes and checksums tell.
        const TestTree tree{{"a", QByteArray(6'000'000, 'a')}, {"b", QByteArray(6'000'000, 'b')}};
        LocalFileService disk;
        const auto item = [&](const char *name) { return *disk.stat(tree.path(name), {}); };
        QVERIFY(ContentComparison::of(disk, item("a"), disk, item("a"), {}).result == Result::same);
        QVERIFY(ContentComparison::of(disk, item("a"), disk, item("b"), {}).result == Result::different);
    }
};

MOORIX_TEST(TransferRunTest)
#include "TransferRunTest.moc"
