// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/PaneModel.h"

#include "files/Format.h"
#include "files/LocalFileService.h"
#include "support/ScriptedFileService.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QSignalSpy>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// A pane on a tree in memory, and what tests ask of it in one word.
struct Fixture
{
    std::shared_ptr<ScriptedFileService> service;
    PaneModel pane;

    /// Shows the folder, if one is named.
    explicit Fixture(std::initializer_list<ScriptedFileService::Entry> entries, const char *folder = nullptr)
        : service(std::make_shared<ScriptedFileService>(entries))
        , pane(service, u"Test"_s, false)
    {
        QVERIFY(!folder || shows(folder));
    }

    bool settles() const
    {
        return QTest::qWaitFor([this] { return !pane.isLoading() && !pane.operation(); });
    }
    /// Loads with history and waits for the end.
    bool shows(const char *path)
    {
        pane.load(QString::fromUtf8(path), true);
        return settles() && pane.currentPath() == QString::fromUtf8(path);
    }

    /// Begins to load a folder whose listing waits.
    void startSlowLoad(const char *path)
    {
        service->block(QString::fromUtf8(path));
        pane.load(QString::fromUtf8(path), true);
        QTRY_VERIFY(service->isWaiting(QString::fromUtf8(path)));
    }

    // What there is once the pane has come to rest.
    QString rows() const { return settles() ? namesOf(pane.displayed()).join(u' ') : u"does not settle"_s; }
    QString selected() const { return settles() ? namesOf(pane.selectedItems()).join(u' ') : u"does not settle"_s; }
    QString error() const { return settles() ? pane.errorMessage().value_or(QString()) : u"does not settle"_s; }
    QString place() const
    {
        return !settles() ? u"does not settle"_s
                          : pane.history().join(u' ') + u" | "_s + pane.currentPath() + u" | "_s +
                                pane.forwardStack().join(u' ');
    }
    FileItem item(const char *name) const
    {
        for (const FileItem &item : pane.items()) {
            if (item.name == QLatin1String(name))
                return item;
        }
        return {};
    }
    void select(std::initializer_list<const char *> names)
    {
        QSet<QString> ids;
        for (const char *name : names)
            ids.insert(item(name).id());
        pane.setSelection(ids);
    }
};

} // namespace

class PaneModelTest : public QObject
{
    Q_OBJECT

private slots:
    void backAndForwardWalkTheFoldersAndANewOneEndsForward()
    {
        Fixture at({{"/a/b/c/"}}, "/a");
        QVERIFY(at.shows("/a/b") && at.shows("/a/b/c"));
        at.pane.goBack();
        at.pane.goBack();
        QCOMPARE(at.place(), u" | /a | /a/b/c /a/b"_s);
        at.pane.goBack();
        QVERIFY(!at.pane.isLoading());
        at.pane.goForward();
        QCOMPARE(at.place(), u"/a | /a/b | /a/b/c"_s);
        QVERIFY(at.shows("/"));
        QCOMPARE(at.place(), u"/a /a/b | / | "_s);
    }

    void loadingTheFolderShownAddsNoHistoryAndReplacesNoRows()
    {
        Fixture at{{"/home/b/"}};
        at.pane.load({}, true);
        QVERIFY(at.settles());
        QSignalSpy displayed(&at.pane, &PaneModel::displayedChanged);
        at.pane.load(u"//home//"_s, true);
        QCOMPARE(at.place(), u" | /home | "_s);
        QCOMPARE(displayed.size(), 0);
    }

    void pathOfLocalFileShowsItsFolderWithTheFileSelected()
    {
        const TestTree tree{{"folder/a", "1"}, {"folder/b", "2"}};
        QVERIFY(QFile::link(tree.path("folder"), tree.path("link")));
        PaneModel pane(std::make_shared<LocalFileService>(), u"Test"_s, true);
        QSignalSpy current(&pane, &PaneModel::currentItemRequested);
        for (const char *file : {"folder/b", "link/a"}) {
            pane.load(tree.path(file), true);
            QTRY_VERIFY(!pane.isLoading());
            QCOMPARE(pane.currentPath(), Format::parent(tree.path(file)));
            QCOMPARE(pane.selection(), QSet<QString>{tree.path(file)});
            QCOMPARE(current.takeLast().constFirst().toString(), tree.path(file));
        }
        pane.load(tree.path("link"), true);
        QTRY_COMPARE(pane.currentPath(), tree.path("link"));
        QVERIFY(QFile::link(tree.path("nowhere"), tree.path("broken")));
        for (const char *nothing : {"missing", "broken"}) {
            pane.load(tree.path(nothing), true);
            QTRY_VERIFY(!pane.isLoading());
            const QString why = messageOf([&] { pane.service()->list(tree.path(nothing), HiddenFiles::included, {}); });
            QCOMPARE(pane.errorMessage(), std::optional(why));
        }
    }

    void failedLoadLeavesEverythingButTheMessage()
    {
        Fixture at({{"/a/file"}, {"/b/"}}, "/b");
        QVERIFY(at.shows("/a"));
        at.service->failOn(u"/b"_s, u"No way."_s);
        const QString before = at.place();
        at.pane.goBack();
        QCOMPARE(at.error(), u"No way."_s);
        QCOMPARE(at.place(), before);
        QCOMPARE(at.rows(), u"file"_s);
        at.pane.load(u"/missing"_s, true);
        QCOMPARE(at.place(), before);
        at.service->failOn(u"/b"_s, {});
        at.pane.goBack();
        QCOMPARE(at.place(), u" | /b | /a"_s);
        QCOMPARE(at.error(), QString());
    }

    void slowLoadThatIsReplacedOrCancelledStopsAndChangesNothing()
    {
        for (const bool isReplaced : {true, false}) {
            Fixture at{{"/a/x"}, {"/slow/y"}};
            QVERIFY(isReplaced || at.shows("/a"));
            at.startSlowLoad("/slow");
            QCOMPARE(at.pane.loadingPath(), u"/slow"_s);
            if (isReplaced)
                QVERIFY(at.shows("/a"));
            else
                at.pane.cancelLoading();
            QVERIFY(!at.pane.isLoading());
            if (isReplaced)
                at.service->release(u"/slow"_s);
            QTRY_VERIFY(!at.service->isWaiting(u"/slow"_s));
            QCOMPARE(at.place(), u" | /a | "_s);
            QCOMPARE(at.rows() + at.error(), u"x"_s);
        }
    }

    void folderLoadedFromASignalOfALoadIsShown()
    {
        Fixture at{{"/a/x"}, {"/b/y"}};
        connect(&at.pane, &PaneModel::currentPathChanged, &at.pane, [&at] {
            if (at.pane.currentPath() == u"/a"_s)
                at.pane.load(u"/b"_s, true);
        });
        at.pane.load(u"/a"_s, true);
        QTRY_COMPARE(at.place(), u"/a | /b | "_s);
        QCOMPARE(at.rows(), u"y"_s);
    }

    void goingUpSelectsTheFolderLeft()
    {
        Fixture at({{"/a/b/"}, {"/a/c"}}, "/a/b");
        QStringList crumbs;
        for (const PathComponent &component : at.pane.pathComponents())
            crumbs << component.name << component.path;
        QCOMPARE(crumbs.join(u' '), u"/ / a /a b /a/b"_s);
        QSignalSpy current(&at.pane, &PaneModel::currentItemRequested);
        at.pane.goUp();
        QCOMPARE(at.selected(), u"b"_s);
        QCOMPARE(current.takeFirst().first().toString(), u"/a/b"_s);
        QVERIFY(at.shows("/") && !at.pane.canGoUp());
    }

    void reloadKeepsTheSelectionOfWhatIsLeft()
    {
        Fixture at({{"/a/x"}, {"/a/y"}, {"/a/z"}}, "/a");
        at.select({"x", "y"});
        at.service->drop(u"/a/x"_s);
        at.pane.reload();
        QVERIFY(at.settles());
        QCOMPARE(at.pane.selection(), QSet<QString>{u"/a/y"_s});
        QVERIFY(at.shows("/"));
        QVERIFY(at.pane.selection().isEmpty());
    }

    void orderChangedDuringALoadHoldsForItsResult()
    {
        Fixture at{{"/a/x"}, {"/a/y"}, {"/a/.h"}};
        at.startSlowLoad("/a");
        at.pane.setSortAscending(false);
        at.pane.setShowHidden(true);
        at.service->release(u"/a"_s);
        QTRY_COMPARE(at.rows(), u"y x .h"_s);
        QCOMPARE(at.pane.displayedIndex(u"/a/x"_s), std::optional<qsizetype>(1));
        at.pane.setSortAscending(true);
        QCOMPARE(at.pane.displayedIndex(u"/a/y"_s), std::optional<qsizetype>(2));
        QVERIFY(!at.pane.displayedIndex(u"/a/z"_s));
    }

    void showingHiddenEntriesReadsASourceAgainThatLeftThemOut()
    {
        Fixture at{{"/a/.h"}, {"/a/x"}};
        at.service->leavesOutDotFiles = true;
        QVERIFY(at.shows("/a"));
        at.pane.setShowHidden(true);
        QTRY_COMPARE(at.rows(), u".h x"_s);
        at.pane.setShowHidden(false);
        QCOMPARE(at.rows(), u"x"_s);
        at.pane.setShowHidden(true);
        QCOMPARE(at.rows(), u".h x"_s);
        QCOMPARE(at.service->listCount(u"/a"_s), 2);
    }

    void tenKeystrokesFilterOnce()
    {
        Fixture at({{"/a/abcdefghij"}, {"/a/abcde"}, {"/a/other"}}, "/a");
        QSignalSpy displayed(&at.pane, &PaneModel::displayedChanged);
        for (int length = 1; length <= 10; ++length)
            at.pane.setSearchQuery(u"abcdefghij"_s.first(length));
        QCOMPARE(at.pane.displayedCount(), 3);
        QTRY_COMPARE(at.rows(), u"abcdefghij"_s);
        QCOMPARE(displayed.size(), 1);
    }

    void linksLeadToFoldersAndFilesAsReachedThroughThem()
    {
        Fixture at{{"/a/"}, {"/target/x"}};
        at.service->putLink(u"/a/folder"_s, u"/target"_s);
        at.service->putLink(u"/a/file"_s, u"/target/x"_s);
        at.service->putLink(u"/a/broken"_s, u"/nowhere"_s);
        QVERIFY(at.shows("/a"));
        QSignalSpy opened(&at.pane, &PaneModel::openFileRequested);
        at.pane.open(at.item("file"));
        QTRY_COMPARE(opened.size(), 1);
        QCOMPARE(opened.first().first().value<FileItem>().path, u"/a/file"_s);
        at.pane.open(at.item("broken"));
        QTRY_COMPARE(at.error(), u"Couldn’t follow symlink to “broken”"_s);
        at.pane.open(at.item("folder"));
        QTRY_COMPARE(at.place(), u"/a | /a/folder | "_s);
        QCOMPARE(at.rows(), u"x"_s);
    }

    void newEntriesAreSelectedAndTakenNamesRefused()
    {
        Fixture at({{"/a/taken", "kept"}}, "/a");
        at.pane.createFolder(u"new"_s);
        QCOMPARE(at.selected(), u"new"_s);
        at.pane.createFile(u"Taken"_s);
        QCOMPARE(at.selected(), u"Taken"_s);
        const auto before = at.service->snapshot();
        const auto refuses = [&](const QString &message) {
            const bool isRefused = at.error() == message;
            at.pane.clearError();
            return isRefused && at.service->snapshot() == before;
        };
        at.pane.createFile(u"taken"_s);
        QVERIFY(refuses(u"“taken” already exists."_s));
        at.pane.createFolder(u"taken"_s);
        QVERIFY(refuses(u"“taken” already exists."_s));
        at.pane.rename(at.item("Taken"), u"taken"_s);
        QVERIFY(refuses(u"“taken” already exists."_s));
        at.pane.rename(at.item("taken"), u"a/b"_s);
        QVERIFY(refuses(u"“a/b” cannot be a name: it contains a slash."_s));
        at.pane.move({at.item("taken")}, u"/a"_s);
        QVERIFY(at.settles() && !at.pane.errorMessage());
        at.pane.rename(at.item("new"), u"New"_s);
        QVERIFY(at.settles() && !at.item("New").name.isEmpty());
    }

    void duplicatesTakeTheFirstFreeName()
    {
        Fixture at({{"/a/x.txt", "1"}, {"/a/x copy.txt", "2"}, {"/a/d.d/in", "3"}}, "/a");
        at.pane.duplicate({at.item("x.txt"), at.item("d.d")});
        QCOMPARE(at.rows(), u"d.d d.d copy x copy 2.txt x copy.txt x.txt"_s);
        QCOMPARE(at.selected(), u"d.d copy x copy 2.txt"_s);
        QCOMPARE(at.service->snapshot().value(u"/a/d.d copy/in"_s), QByteArray("3"));
    }

    void oneFailureDoesNotKeepTheOthersFromBeingDone()
    {
        Fixture at({{"/a/x"}, {"/a/y"}, {"/a/z"}, {"/b/"}}, "/a");
        at.service->failOn(u"/a/x"_s, u"x is held."_s);
        at.service->failOn(u"/a/z"_s, u"z is held."_s);
        at.pane.remove({at.item("x"), at.item("y"), at.item("z")});
        QCOMPARE(at.pane.operation(), std::optional(u"Deleting 3 items"_s));
        QTRY_COMPARE(at.rows(), u"x z"_s);
        QCOMPARE(at.pane.errorMessage(), std::optional(u"x is held.\nz is held."_s));
    }

    void operationsRunOneAfterAnother()
    {
        Fixture at({{"/a/x"}}, "/a");
        at.service->block(u"/a/x"_s);
        at.pane.remove({at.item("x")});
        at.pane.createFolder(u"x"_s);
        QTRY_VERIFY(at.service->isWaiting(u"/a/x"_s));
        QCOMPARE(at.pane.operation(), std::optional(u"Deleting “x”"_s));
        at.service->release(u"/a/x"_s);
        QCOMPARE(at.error(), QString());
        QVERIFY(at.service->snapshot().contains(u"/a/x/"_s));
    }

    void cancelledOperationShowsWhatItHadDone()
    {
        Fixture at({{"/a/x"}, {"/a/y"}, {"/a/z"}}, "/a");
        at.service->block(u"/a/y"_s);
        at.pane.remove({at.item("x"), at.item("y"), at.item("z")});
        at.pane.createFolder(u"never made"_s);
        QTRY_VERIFY(at.service->isWaiting(u"/a/y"_s));
        at.pane.cancelOperation();
        QTRY_COMPARE(at.rows(), u"y z"_s);
        QCOMPARE(at.error(), QString());
    }

    void operationThatEndsDuringANavigationLeavesItAlone()
    {
        Fixture at({{"/a/x"}, {"/b/y"}}, "/a");
        at.service->block(u"/b"_s);
        at.pane.load(u"/b"_s, true);
        at.pane.remove({at.item("x")});
        QTRY_VERIFY(!at.pane.operation());
        QCOMPARE(at.pane.loadingPath(), u"/b"_s);
        at.service->release(u"/b"_s);
        QCOMPARE(at.rows(), u"y"_s);
    }

    void paneThatGoesAwayStopsItsListing()
    {
        auto at = std::make_unique<Fixture>(std::initializer_list<ScriptedFileService::Entry>{{"/a/x"}});
        at->startSlowLoad("/a");
        const auto service = at->service;
        at.reset();
        QTRY_VERIFY(!service->isWaiting(u"/a"_s));
    }
};

MOORIX_TEST(PaneModelTest)
#include "PaneModelTest.moc"
