// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Error.h"
#include "support/TestMain.h"
#include "transfers/TransferScene.h"

#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

void addRoutes()
{
    QTest::addColumn<Route>("route");
    QTest::newRow("on the local disk") << Route::local;
    QTest::newRow("to a server") << Route::upload;
    QTest::newRow("from a server") << Route::download;
    QTest::newRow("between servers") << Route::betweenServers;
    QTest::newRow("within a server") << Route::withinServer;
}

const TreeSnapshot wholeTree{{u"site/"_s, ""},       {u"site/a.txt"_s, "text"}, {u"site/.hidden"_s, "dot"},
                             {u"site/empty/"_s, ""}, {u"site/deep/"_s, ""},     {u"site/deep/b"_s, "more"}};

const std::initializer_list<TestTree::Entry> treeToSend{{"from/site/a.txt", "text"},
                                                        {"from/site/.hidden", "dot"},
                                                        {"from/site/empty/", ""},
                                                        {"from/site/deep/b", "more"},
                                                        {"to/", ""}};

} // namespace

class TransferRunTest final : public QObject
{
    Q_OBJECT

private slots:
    void copiedTreeArrivesWhole_data() { addRoutes(); }
    void copiedTreeArrivesWhole()
    {
        QFETCH(const Route, route);
        Scene scene(treeToSend, route);
        scene.add("from/site");
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), wholeTree);
        QCOMPARE(scene.under(u"from/"_s), wholeTree);
        QCOMPARE(outcome.counts.filesDone, outcome.counts.filesTotal);
    }

    void movedTreeLeavesNothingBehind_data() { addRoutes(); }
    void movedTreeLeavesNothingBehind()
    {
        QFETCH(const Route, route);
        Scene scene(treeToSend, route);
        scene.add("from/site");
        scene.request.isMove = true;
        QCOMPARE(scene.run().failures, QStringList());
        QCOMPARE(scene.under(u"to/"_s), wholeTree);
        QCOMPARE(scene.under(u"from/"_s), TreeSnapshot());
    }

    void fileKeepsItsModeAndTime_data() { addRoutes(); }
    void fileKeepsItsModeAndTime()
    {
        QFETCH(const Route, route);
        const QString longName = QString(250, u'n');
        Scene scene({{u"from/"_s + longName, "x"}, {"to/", ""}}, route);
        const QString source = scene.tree.path(u"from/"_s + longName);
        QFile file(source);
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QDateTime date(QDate(2020, 2, 29), QTime(12, 30), Qt::UTC);
        QVERIFY(file.setFileTime(date, QFile::FileModificationTime) && file.setPermissions(QFile::Permissions(0x6040)));
        file.close();
        scene.add(u"from/"_s + longName);
        QCOMPARE(scene.run().failures, QStringList());
        const QFileInfo copy(scene.tree.path(u"to/"_s + longName));
        QCOMPARE(copy.lastModified().toUTC(), date);
        QCOMPARE(copy.permissions(), QFileInfo(source).permissions());
    }

    void conflictsAreResolvedByPolicy_data()
    {
        using Choice = ConflictAnswer::Choice;
        QTest::addColumn<TransferConflictPolicy>("policy");
        QTest::addColumn<std::optional<ConflictAnswer>>("answer");
        QTest::addColumn<TreeSnapshot>("expected");
        const TreeSnapshot kept{{u"a.tar.gz"_s, "old"}, {u"b"_s, "old"}, {u"d/"_s, ""}, {u"d/c"_s, "old"}};
        const TreeSnapshot replaced{{u"a.tar.gz"_s, "new a"}, {u"b"_s, "new b"}, {u"d/"_s, ""}, {u"d/c"_s, "new c"}};
        TreeSnapshot both = kept;
        both.insert({{u"a 2.tar.gz"_s, "new a"}, {u"b 2"_s, "new b"}, {u"d/c 2"_s, "new c"}});
        TreeSnapshot folderToo = both;
        folderToo.remove(u"d/c 2"_s);
        folderToo.insert({{u"d 2/"_s, ""}, {u"d 2/c"_s, "new c"}});
        const std::optional<ConflictAnswer> nobody;
        const auto ask = TransferConflictPolicy::ask;
        QTest::newRow("skip") << TransferConflictPolicy::skip << nobody << kept;
        QTest::newRow("overwrite") << TransferConflictPolicy::overwrite << nobody << replaced;
        QTest::newRow("rename") << TransferConflictPolicy::rename << nobody << folderToo;
        QTest::newRow("ask: skip each") << ask << std::optional(ConflictAnswer{Choice::skip, false}) << kept;
        QTest::newRow("ask: rename each") << ask << std::optional(ConflictAnswer{Choice::rename, false}) << both;
        QTest::newRow("ask: overwrite all")
            << ask << std::optional(ConflictAnswer{Choice::overwrite, true}) << replaced;
        QTest::newRow("ask: cancel") << ask << std::optional(ConflictAnswer{Choice::cancel, false}) << kept;
    }
    void conflictsAreResolvedByPolicy()
    {
        QFETCH(const TransferConflictPolicy, policy);
        QFETCH(const std::optional<ConflictAnswer>, answer);
        QFETCH(const TreeSnapshot, expected);
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
            scene.callbacks.ask = [&](const TransferConflict &, const std::stop_token &) {
                ++questions;
                return answer.value();
            };
            for (const char *path : {"from/a.tar.gz", "from/b", "from/d"})
                scene.add(path);
            QCOMPARE(scene.run().failures, QStringList());
            QCOMPARE(scene.under(u"to/"_s), expected);
            const bool onlyOnce = answer && (answer->forAll || answer->choice == ConflictAnswer::Choice::cancel);
            QCOMPARE(questions, !answer ? 0 : onlyOnce ? 1 : 3);
        }
    }

    void brokenCopyLeavesTheOldFileAndNoPart_data()
    {
        QTest::addColumn<Route>("route");
        QTest::addColumn<bool>("isSilent");
        QTest::addColumn<QString>("words");
        QTest::newRow("upload fails") << Route::upload << false << u"No space left on device"_s;
        QTest::newRow("download fails") << Route::download << false << u"No space left on device"_s;
        QTest::newRow("way between servers fails") << Route::betweenServers << false << u"No space left on device"_s;
        QTest::newRow("upload loses bytes in silence") << Route::upload << true << u"the copy has 4 bytes"_s;
        QTest::newRow("download loses bytes in silence") << Route::download << true << u"the copy has 4 bytes"_s;
    }
    void brokenCopyLeavesTheOldFileAndNoPart()
    {
        QFETCH(const Route, route);
        QFETCH(const bool, isSilent);
        QFETCH(const QString, words);
        Scene scene({{"from/bad", "new data"}, {"from/good", "fine"}, {"to/bad", "old data"}}, route);
        scene.request.policy = TransferConflictPolicy::overwrite;
        scene.request.isMove = true;
        const auto fault = [](const QString &source) {
            if (source.endsWith(u"bad"_s))
                throw FileServiceError::operationFailed(u"write: No space left on device"_s);
        };
        scene.server->losesHalf = isSilent;
        if (!isSilent)
            scene.server->halfway = fault;
        scene.add("from/bad");
        if (!isSilent)
            scene.add("from/good");
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().startsWith(u"“bad” was not moved: "_s) &&
                     outcome.failures.first().contains(words),
                 qPrintable(outcome.failures.first()));
        TreeSnapshot expected{{u"bad"_s, "old data"}};
        if (!isSilent)
            expected.insert(u"good"_s, "fine");
        QCOMPARE(scene.under(u"to/"_s), expected);
        QCOMPARE(scene.tree.read("from/bad"), QByteArray("new data"));
        QCOMPARE(scene.tree.exists("from/good"), isSilent);
    }

    void namesThatLeadOutOfTheFolderAreRefused()
    {
        Scene scene({{"from/d/good", "g"}, {"from/evil", "outside"}, {"to/", ""}}, Route::download);
        scene.server->inventedNames = {u".."_s, u"."_s, u"../evil"_s, u"x/y"_s, u""_s, u"line\nbreak"_s, u"\x1b[2J"_s};
        scene.add("from/d");
        scene.request.isMove = true;
        QCOMPARE(scene.run().failures.size(), 7);
        QCOMPARE(scene.under(u"to/"_s), (TreeSnapshot{{u"d/"_s, ""}, {u"d/good"_s, "g"}}));
        QCOMPARE(scene.tree.read("from/d/good"), QByteArray("g"));
    }

    void impossibleCopiesAreRefusedInWords_data()
    {
        QTest::addColumn<QByteArray>("item");
        QTest::addColumn<QByteArray>("targetFolder");
        QTest::addColumn<QString>("words");
        QTest::newRow("file onto itself")
            << QByteArray("from/file") << QByteArray("from") << u"it cannot be copied onto itself"_s;
        QTest::newRow("file onto itself through a link")
            << QByteArray("from/file") << QByteArray("link") << u"it cannot be copied onto itself"_s;
        QTest::newRow("folder into itself")
            << QByteArray("from/d") << QByteArray("from/d") << u"a folder cannot go into itself"_s;
        QTest::newRow("folder into its own depth")
            << QByteArray("from/d") << QByteArray("link/d/e") << u"a folder cannot go into itself"_s;
        QTest::newRow("file over a folder")
            << QByteArray("from/file") << QByteArray("clash") << u"a file does not replace a folder"_s;
        QTest::newRow("folder over a file")
            << QByteArray("from/d") << QByteArray("clash") << u"a folder does not replace a file"_s;
        QTest::newRow("fifo") << QByteArray("from/fifo") << QByteArray("to") << u"neither a file nor a folder"_s;
    }
    void impossibleCopiesAreRefusedInWords()
    {
        QFETCH(const QByteArray, item);
        QFETCH(const QByteArray, targetFolder);
        QFETCH(const QString, words);
        Scene scene({{"from/file", "f"}, {"from/d/e/x", "x"}, {"clash/file/", ""}, {"clash/d", "d"}, {"to/", ""}});
        scene.tree.link("link", "from");
        QCOMPARE(::mkfifo(QFile::encodeName(scene.tree.path("from/fifo")).constData(), 0600), 0);
        scene.request.policy = TransferConflictPolicy::overwrite;
        scene.request.targetFolder = scene.tree.path(item.isEmpty() ? "" : targetFolder.constData());
        scene.add(item.constData());
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().contains(words), qPrintable(outcome.failures.first()));
        QVERIFY(QFile::remove(scene.tree.path("from/fifo")));
        QCOMPARE(scene.under(u"clash/"_s), (TreeSnapshot{{u"d"_s, "d"}, {u"file/"_s, ""}}));
        QCOMPARE(scene.tree.read("from/file"), QByteArray("f"));
        QVERIFY(!scene.tree.exists("from/d/d"));
    }

    void linksAreCopiedAsLinksLocallyAndReportedForServers()
    {
        for (const Route route : {Route::local, Route::upload}) {
            Scene scene({{"from/d/a", "a"}, {"to/", ""}}, route);
            scene.tree.link("from/d/link", "nowhere");
            scene.add("from/d");
            const TransferOutcome outcome = scene.run();
            QCOMPARE(outcome.failures.size(), route == Route::local ? 0 : 1);
            QCOMPARE(scene.tree.exists("to/d/link"), route == Route::local);
            QCOMPARE(scene.tree.read("to/d/a"), QByteArray("a"));
        }
    }

    void moveKeepsAnOriginalThatChangesMeanwhile_data()
    {
        QTest::addColumn<QByteArray>("written");
        QTest::newRow("the file grows") << QByteArray("from/d/a");
        QTest::newRow("another file appears") << QByteArray("from/d/late");
    }
    void moveKeepsAnOriginalThatChangesMeanwhile()
    {
        QFETCH(const QByteArray, written);
        Scene scene({{"from/d/a", "before"}, {"to/", ""}}, Route::upload);
        scene.server->halfway = [&scene, written](const QString &) {
            scene.tree.write(written.constData(), "written meanwhile");
        };
        scene.add("from/d");
        scene.request.isMove = true;
        QCOMPARE(scene.run().failures.size(), 1);
        QCOMPARE(scene.tree.read(written.constData()), QByteArray("written meanwhile"));
    }

    void cancelInTheMiddleOfAFileLeavesNothingOfIt_data()
    {
        QTest::addColumn<Route>("route");
        QTest::newRow("to a server") << Route::upload;
        QTest::newRow("from a server") << Route::download;
        QTest::newRow("between servers") << Route::betweenServers;
    }
    void cancelInTheMiddleOfAFileLeavesNothingOfIt()
    {
        QFETCH(const Route, route);
        Scene scene({{"from/a", "12345678"}, {"from/b", "12345678"}, {"to/", ""}}, route);
        scene.server->halfway = [&scene](const QString &) { scene.stop.request_stop(); };
        scene.add("from/a");
        scene.add("from/b");
        scene.request.isMove = true;
        const TransferOutcome outcome = scene.run();
        QVERIFY(outcome.wasCancelled);
        QCOMPARE(outcome.failures, QStringList());
        const TreeSnapshot arrived = scene.under(u"to/"_s);
        const TreeSnapshot left = scene.under(u"from/"_s);
        QCOMPARE(arrived.size() + left.size(), 2);
        for (const QByteArray &content : arrived.values() + left.values())
            QCOMPARE(content, QByteArray("12345678"));
    }

    void lostConnectionEndsTheTransferWithOneSentence()
    {
        Scene scene({{"from/a", "1"}, {"from/b", "2"}, {"from/c", "3"}, {"to/", ""}}, Route::upload);
        scene.server->halfway = [](const QString &) {
            throw FileServiceError::connectionFailed(u"Connection reset by peer"_s);
        };
        for (const char *path : {"from/a", "from/b", "from/c"})
            scene.add(path);
        QCOMPARE(scene.run().failures, QStringList{u"Could not connect: Connection reset by peer"_s});
    }

    void tooLittleSpaceIsSaidBeforeAnythingIsCopied()
    {
        Scene scene({{"from/d/a", "12345"}, {"from/d/b", "12345"}, {"to/", ""}}, Route::upload);
        scene.server->space = 9;
        scene.add("from/d");
        const TransferOutcome outcome = scene.run();
        QCOMPARE(outcome.failures.size(), 1);
        QVERIFY2(outcome.failures.first().contains(u"9 bytes free"_s), qPrintable(outcome.failures.first()));
        QCOMPARE(scene.under(u"to/"_s), TreeSnapshot());
    }
};

MOORIX_TEST(TransferRunTest)
#include "TransferRunTest.moc"
