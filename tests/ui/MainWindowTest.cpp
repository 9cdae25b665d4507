// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "transfers/TransferEngine.h"
#include "ui/pane/FileMimeData.h"

#include <QDialog>
#include <QDropEvent>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QToolButton>

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Everyday commands and dialogs of the window.
class MainWindowTest final : public QObject
{
    Q_OBJECT

    /// What ssh makes of the names in the configuration of the test.
    static ProcessResult resolve(const ProcessRequest &request)
    {
        if (!request.arguments.contains(u"-G"_s))
            return WindowBench::refusal(request);
        const QByteArray name = request.arguments.last().toUtf8();
        return {0, false, "hostname " + name + ".example.org\nuser ada\nport 22\n", {}};
    }

private slots:
    void f5CopiesTheSelectionAlsoAfterAMenuThatGreyedTheCommand()
    {
        WindowBench bench({{"left/a.txt", "text"}, {"left/b.txt", "other"}});
        QMenu *help = bench.window->menuBar()->actions().last()->menu();
        bench.pane(Side::left)->setSelection({});
        help->popup(bench.window->mapToGlobal(QPoint(20, 20)));
        help->close();
        bench.activateList(Side::left);
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        QTRY_COMPARE(bench.home.read("right/a.txt"), "text");
        QVERIFY(bench.home.exists("left/a.txt"));
        QVERIFY(!bench.home.exists("right/b.txt"));
        QTRY_COMPARE(bench.pane(Side::right)->displayedCount(), 1);
    }

    void f6MovesFromTheActiveSideWhicheverItIs()
    {
        WindowBench bench({{"right/a.txt", "text"}});
        bench.key(Qt::Key_Tab);
        QCOMPARE(bench.model->activeSide(), Side::right);
        bench.select(Side::right, "a.txt");
        bench.key(Qt::Key_F6);
        QTRY_COMPARE(bench.home.read("left/a.txt"), "text");
        QTRY_VERIFY(!bench.home.exists("right/a.txt"));
    }

    void listOfTransfersTakesTheKeyboardAndLeadsToWhatTheyBrought()
    {
        WindowBench bench({{"left/a.txt", "text"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        QTRY_COMPARE(bench.home.read("right/a.txt"), "text");
        bench.key(Qt::Key_J, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("transferList") && bench.find("transferList")->hasFocus());
        bench.key(Qt::Key_Escape);
        QVERIFY(bench.list(Side::left)->hasFocus());
        bench.find("transferList")->setFocus();
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("right"));
        QCOMPARE(bench.model->tabs(Side::left).sessions().size(), 2);
    }

    void tabsOpenCloseAndComeBackAtTheNextStart()
    {
        WindowBench bench({{"left/", ""}, {"elsewhere/", ""}});
        bench.key(Qt::Key_T, Qt::ControlModifier);
        PaneTabs &tabs = bench.model->tabs(Side::left);
        QCOMPARE(tabs.sessions().size(), 2);
        QCOMPARE(tabs.currentIndex(), 1);
        tabs.openLocalHere(bench.home.path("elsewhere"));
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("elsewhere"));
        bench.restart();
        PaneTabs &again = bench.model->tabs(Side::left);
        QCOMPARE(again.sessions().size(), 2);
        QCOMPARE(again.currentIndex(), 1);
        QCOMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("elsewhere"));
        QCOMPARE(bench.pane(Side::right)->currentPath(), bench.home.path("right"));
        QVERIFY(!bench.pane(Side::left)->canGoBack());
        bench.key(Qt::Key_W, Qt::ControlModifier);
        bench.key(Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(again.sessions().size(), 1);
    }

    void conflictIsAskedInsideTheWindow()
    {
        const std::pair<const char *, TreeSnapshot> rows[] = {
            {"conflictSkip", {{u"a.txt"_s, "old"}}},
            {"conflictOverwrite", {{u"a.txt"_s, "newer"}}},
            {"conflictKeepBoth", {{u"a.txt"_s, "old"}, {u"a 2.txt"_s, "newer"}}},
            {"conflictCancel", {{u"a.txt"_s, "old"}}}};
        for (const auto &[button, after] : rows) {
            WindowBench bench({{"left/a.txt", "newer"}, {"right/a.txt", "old"}});
            bench.select(Side::left, "a.txt");
            bench.key(Qt::Key_F5);
            QTRY_VERIFY(bench.find("conflictBar"));
            QVERIFY(bench.find<QLabel>("conflictExisting")->text().contains(u"3 bytes"_s));
            QVERIFY(bench.find<QLabel>("conflictSource")->text().contains(u"5 bytes"_s));
            bench.click(bench.find("conflictCompare"));
            QTRY_COMPARE(bench.find<QLabel>("conflictComparison")->text(), u"They differ from line 1 on."_s);
            bench.click(bench.find(button));
            QTRY_VERIFY(!bench.find("conflictBar"));
            QTRY_COMPARE(snapshotOf(bench.home.path("right")), after);
        }
    }

    void closingDuringATransferAsksFirst()
    {
        WindowBench bench({{"left/a.txt", "new"}, {"right/a.txt", "old"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        QTRY_VERIFY(bench.find("conflictBar"));
        // The end of another one is told all the same.
        QCOMPARE(::mkfifo(bench.home.path("left/pipe").toUtf8().constData(), 0600), 0);
        bench.pane(Side::left)->reload();
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 2);
        bench.select(Side::left, "pipe");
        bench.model->transferSelection(Side::left, false);
        QTRY_VERIFY(bench.find<QLabel>("statusMessage")->text().contains(u"pipe"_s));
        bench.window->close();
        QVERIFY(bench.window->isVisible());
        bench.click(bench.find("messageBarConfirm"));
        QVERIFY(!bench.window->isVisible());
        QCOMPARE(bench.home.read("right/a.txt"), "old");
    }

    void hidingOneSideKeepsTheKeyboardOnTheOther()
    {
        WindowBench bench({{"left/a", "x"}});
        bench.key(Qt::Key_Tab);
        QCOMPARE(bench.model->activeSide(), Side::right);
        bench.key(Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(bench.model->settings().dualPaneEnabled.value(), false);
        QCOMPARE(bench.model->activeSide(), Side::left);
        bench.key(Qt::Key_Tab);
        QCOMPARE(bench.model->activeSide(), Side::left);
        QVERIFY(QApplication::focusWidget() && QApplication::focusWidget()->isVisible());
        // Nothing goes where it cannot be seen.
        bench.select(Side::left, "a");
        bench.key(Qt::Key_F6);
        QCOMPARE(bench.model->transfers().transfers().size(), 0);
        QVERIFY(bench.find("questionBar"));
    }

    void favouriteFolderStandsInTheSidebarAndOpens()
    {
        WindowBench bench({{"left/", ""}});
        bench.key(Qt::Key_D, Qt::ControlModifier);
        auto *sidebar = bench.find<QTreeWidget>("sidebar");
        const QList<QTreeWidgetItem *> found = sidebar->findItems(u"left"_s, Qt::MatchExactly | Qt::MatchRecursive);
        QCOMPARE(found.size(), 1);
        bench.model->setActiveSide(Side::right);
        const QRect row = sidebar->visualItemRect(found.first());
        QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, row.center());
        QTRY_COMPARE(bench.pane(Side::right)->currentPath(), bench.home.path("left"));
        QCOMPARE(bench.model->activeSide(), Side::right);
    }

    void refusedConnectionSaysWhyAndCanBeRetried()
    {
        WindowBench bench({}, WindowBench::refusal);
        bench.quickConnect("me@192.0.2.1");
        QTRY_VERIFY(bench.find("failureView"));
        QCOMPARE(bench.model->activeSide(), Side::left);
        QVERIFY(bench.find<QLabel>("failureSentence")->text().contains(u"192.0.2.1"_s));
        QVERIFY(bench.find<QLabel>("clientWords")->text().contains(u"Connection refused"_s));
        QVERIFY(!bench.find("editServer"));
        const qsizetype tries = bench.runner->requests().size();
        bench.click(bench.find("retry"));
        QTRY_VERIFY(bench.runner->requests().size() > tries && bench.find("failureView"));
    }

    void mistypedAddressStaysInTheBar()
    {
        WindowBench bench({});
        bench.quickConnect("me@web:ssh");
        QVERIFY(bench.find<QLabel>("quickProblem")->text().contains(u"“ssh”"_s));
        QCOMPARE(bench.model->tabs(Side::left).sessions().size(), 1);
        bench.key(Qt::Key_Escape);
        QVERIFY(!bench.find("quickConnect"));
        QCOMPARE(bench.model->activeSide(), Side::left);
    }

    void changedHostKeyIsTrustedOnlyAfterASecondClick()
    {
        WindowBench bench({}, [](const ProcessRequest &request) {
            if (request.program.endsWith(u"sftp"_s))
                return ProcessResult{255,
                                     false,
                                     {},
                                     "@ WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED! @\n"
                                     "Host key verification failed.\nConnection closed\n"};
            if (request.arguments.contains(u"-G"_s))
                return ProcessResult{0, false, "hostname web-01\nuserknownhostsfile /dev/null\n", {}};
            if (request.arguments.contains(u"-F"_s))
                return ProcessResult{0, false, "web-01 ED25519 SHA256:oldKey\n", {}};
            if (request.program.endsWith(u"ssh-keyscan"_s))
                return ProcessResult{0, false, "web-01 ssh-ed25519 AAAA\n", {}};
            if (request.arguments.contains(u"-l"_s))
                return ProcessResult{0, false, "256 SHA256:newKey web-01 (ED25519)\n", {}};
            return ProcessResult{};
        });
        bench.quickConnect("me@web-01");
        QTRY_VERIFY(bench.find("hostKeyPanel"));
        QTRY_VERIFY(bench.find<QLabel>("knownKeys")->text().contains(u"SHA256:oldKey"_s));
        const auto removals = [&bench] {
            return std::ranges::count_if(bench.runner->requests(), [](const ProcessRequest &request) {
                return request.arguments.contains(u"-R"_s);
            });
        };
        QTRY_COMPARE(bench.find<QLabel>("offeredKeys")->text(), u"ED25519 SHA256:newKey"_s);
        QVERIFY(!bench.find("trustKey"));
        bench.click(bench.find("replaceKey"));
        QCOMPARE(removals(), 0);
        bench.click(bench.find("trustKey"));
        QTRY_COMPARE(removals(), 1);
    }

    void filterFieldNarrowsTheActiveListOnly()
    {
        WindowBench bench({{"left/apple", ""}, {"left/pear", ""}, {"right/pear", ""}, {"right/plum", ""}});
        auto *filter = bench.find<QLineEdit>("toolbarFilter");
        QTest::keyClicks(filter, u"ppl"_s);
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 1);
        QCOMPARE(bench.pane(Side::right)->displayedCount(), 2);
        bench.model->setActiveSide(Side::right);
        QCOMPARE(filter->text(), QString());
    }

    void hostsOfTheSshConfigurationAreImportedOnce()
    {
        WindowBench bench({{".ssh/config", "Host web db\n  User ada\nHost *\n  Port 22\n"}}, resolve);
        bench.choose(bench.window->findChildren<QAction *>(), "Import from");
        QTRY_VERIFY(bench.find<QTreeWidget>("importTree"));
        QTreeWidgetItem *fresh = bench.find<QTreeWidget>("importTree")->topLevelItem(0);
        QCOMPARE(fresh->childCount(), 2);
        fresh->child(1)->setCheckState(0, Qt::Unchecked);
        bench.click(bench.find("runImport"));
        QTRY_VERIFY(bench.find("undoImport"));
        bench.click(bench.find("cancelImport"));
        QTRY_VERIFY(!bench.find("importDialog"));
        const QList<ServerConnection> servers = bench.model->servers().library().servers;
        QCOMPARE(servers.size(), 1);
        QCOMPARE(servers.first().username + u'@' + servers.first().host, u"ada@web.example.org"_s);
        bench.choose(bench.window->findChildren<QAction *>(), "Import from");
        QTRY_VERIFY(bench.find<QTreeWidget>("importTree"));
        QCOMPARE(bench.find<QLabel>("importCounts")->text(), u"1 to add, 1 stays as it is."_s);
        bench.click(bench.find("cancelImport"));
        QCOMPARE(bench.model->servers().library().servers.size(), 1);
    }

    void quickConnectSavesTheServerOnlyWhenAskedTo()
    {
        for (const bool isSaved : {false, true}) {
            WindowBench bench({}, WindowBench::refusal);
            bench.key(Qt::Key_K, Qt::ControlModifier);
            QTest::keyClicks(bench.find<QLineEdit>("quickAddress"), u"me@127.0.0.1:2222/srv"_s);
            QTest::keyClicks(bench.find<QLineEdit>("quickPassword"), u"geheim"_s);
            if (isSaved)
                QTest::keyClick(bench.find("quickSave"), Qt::Key_Space);
            bench.click(bench.find("quickConnectNow"));
            QTRY_VERIFY(bench.find("failureView"));
            QCOMPARE(bench.find("editServer") != nullptr, isSaved);
            QVERIFY(!bench.home.read("data/Moorix/servers.json").contains("geheim"));
            const QList<ServerConnection> servers = bench.model->servers().library().servers;
            QCOMPARE(servers.size(), isSaved ? 1 : 0);
            for (const ServerConnection &server : servers) {
                QVERIFY(server.port == 2222 && server.remotePath == u"/srv"_s);
                QTRY_COMPARE(bench.model->keychain()->get(server.id, SecretKind::password), std::optional(u"geheim"_s));
            }
        }
    }

    void aboutAndShortcutsOpenFromTheirCommands()
    {
        WindowBench bench({});
        bench.key(Qt::Key_F1);
        QTRY_VERIFY(bench.find("shortcutsOverview"));
        QStringList keys;
        for (const QLabel *label : bench.find("shortcutsOverview")->findChildren<QLabel *>())
            keys << label->text();
        QVERIFY(keys.contains(u"F5"_s) && keys.contains(u"Copy to other side"_s));
        bench.find<QDialog>("shortcutsOverview")->close();
        bench.choose(bench.window->menuBar()->actions().last()->menu()->actions(), "About");
        QTRY_VERIFY(bench.find("aboutDialog"));
        QVERIFY(bench.find<QLabel>("aboutVersion")->text().startsWith(u"Moorix "_s));
    }

    void deleteMovesToTheBinAndShiftDeleteAsksFirst()
    {
        WindowBench bench({{"left/a.txt", "a"}, {"left/b.txt", "b"}});
        QSet<QString> many;
        for (int i = 0; i < 300; ++i) {
            many << bench.home.path("left/") + QString::number(i);
            putFile(bench.home.path("left/") + QString::number(i), "x");
        }
        bench.pane(Side::left)->reload();
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 302);
        bench.pane(Side::left)->setSelection(many);
        bench.key(Qt::Key_Delete);
        // A second deletion leaves the first one to its end.
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_Delete);
        QTRY_VERIFY(!bench.home.exists("left/a.txt"));
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 1);
        QTRY_VERIFY(bench.find<QLabel>("statusMessage")->text().contains(u"bin"_s));
        QVERIFY(bench.home.exists("data/Trash/files/a.txt"));
        bench.select(Side::left, "b.txt");
        bench.key(Qt::Key_Delete, Qt::ShiftModifier);
        QTRY_VERIFY(bench.find("questionBar"));
        QVERIFY(bench.home.exists("left/b.txt"));
        bench.key(Qt::Key_Return);
        QTRY_VERIFY(!bench.home.exists("left/b.txt"));
        QVERIFY(!bench.home.exists("data/Trash/files/b.txt"));
    }

    void deletionOutlivesItsTabIsAskedAboutByQuittingAndShowsWhatFailed()
    {
        WindowBench bench({{"left/dir/a", ""}, {"left/gone", ""}});
        PaneTabs &tabs = bench.model->tabs(Side::left);
        const QList<FileItem> items = bench.pane(Side::left)->displayed();
        bench.key(Qt::Key_T, Qt::ControlModifier);
        QFile::remove(bench.home.path("left/gone"));
        tabs.sessions().constFirst()->pane()->remove(items);
        tabs.close(0);
        bench.window->close();
        QVERIFY(bench.window->isVisible());
        QTRY_VERIFY(bench.find("leftFailures"));
        QVERIFY(!bench.home.exists("left/dir"));
        const QString told = bench.find("leftFailures")->findChild<QLabel *>()->text();
        QVERIFY2(told.startsWith(u"Deleting 2 items: "_s) && told.contains(u"gone"_s), qPrintable(told));
    }

    void whatIsDroppedMovesToTheListOrTheFolderUnderItAndComesAsACopyFromOtherPrograms()
    {
        WindowBench bench({{"left/a.txt", "a"}, {"left/b.txt", "b"}, {"right/folder/", ""}, {"elsewhere/c", "c"}});
        bench.select(Side::left, "a.txt");
        QTreeView *list = bench.list(Side::right);
        const QPoint folder = list->visualRect(list->model()->index(0, 0)).center();
        WindowBench::dropOn(*list->viewport(), *bench.dragged(Side::left), folder);
        QTRY_COMPARE(bench.home.read("right/folder/a.txt"), "a");
        QTRY_VERIFY(!bench.home.exists("left/a.txt"));
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 1);
        bench.select(Side::left, "b.txt");
        WindowBench::dropOn(*list->viewport(), *bench.dragged(Side::left), QPoint(30, list->viewport()->height() - 5));
        QTRY_COMPARE(bench.home.read("right/b.txt"), "b");
        QTRY_VERIFY(!bench.home.exists("left/b.txt"));
        // A folder stays where it is when it is dropped on itself.
        bench.select(Side::right, "folder");
        WindowBench::dropOn(*list->viewport(), *bench.dragged(Side::right), folder);
        QCOMPARE(bench.model->transfers().transfers().size(), 2);
        QMimeData foreign;
        foreign.setUrls({QUrl::fromLocalFile(bench.home.path("elsewhere/c"))});
        WindowBench::dropOn(*bench.list(Side::left)->viewport(), foreign, QPoint(30, 200));
        QTRY_COMPARE(bench.home.read("left/c"), "c");
        QVERIFY(bench.home.exists("elsewhere/c"));
        // The folder above is a button of the path.
        const auto isSelected = [&] {
            bench.select(Side::left, "c");
            return bench.pane(Side::left)->selectedItems().size() == 1;
        };
        QTRY_VERIFY(isSelected());
        auto *path = bench.sideView(Side::right).findChild<QWidget *>(u"breadcrumbs"_s);
        const auto buttons = path->findChildren<QToolButton *>();
        const auto above = std::ranges::find(buttons, QFileInfo(bench.home.path()).fileName(), &QToolButton::text);
        QVERIFY(above != buttons.end() && (*above)->isVisible());
        QVERIFY(WindowBench::dropOn(*path, *bench.dragged(Side::left), (*above)->geometry().center()) !=
                Qt::IgnoreAction);
        QTRY_COMPARE(bench.home.read("c"), "c");
    }

    void whatIsDroppedOnAPlaceOrServerGoesThere()
    {
        WindowBench bench({{"left/file", "x"}, {"left/other", "y"}}, WindowBench::refusal);
        bench.addServer(u"web-01"_s);
        bench.select(Side::left, "file");
        QCOMPARE(bench.dropOnSidebar(Side::left, u"Monitor"_s), Qt::IgnoreAction);
        QVERIFY(bench.dropOnSidebar(Side::left, u"Home"_s) != Qt::IgnoreAction);
        QTRY_COMPARE(bench.home.read("file"), "x");
        QTRY_VERIFY(!bench.home.exists("left/file"));
        bench.select(Side::left, "other");
        QVERIFY(bench.dropOnSidebar(Side::left, u"web-01"_s) != Qt::IgnoreAction);
        QTRY_VERIFY(bench.find<QLabel>("statusMessage")->text().startsWith(u"Nothing was sent to web-01: "_s));
        QCOMPARE(bench.model->transfers().transfers().size(), 1);
        QCOMPARE(bench.home.read("left/other"), "y");
    }

    void folderDroppedOnTheHeadingOfThePlacesBecomesAFavouriteAndStaysWhereItIs()
    {
        WindowBench bench({{"left/folder/", ""}, {"left/file", "x"}});
        auto *sidebar = bench.find<QTreeWidget>("sidebar");
        bench.select(Side::left, "file");
        QCOMPARE(bench.dropOnSidebar(Side::left, u"PLACES"_s), Qt::IgnoreAction);
        bench.select(Side::left, "folder");
        QVERIFY(bench.dropOnSidebar(Side::left, u"PLACES"_s) != Qt::MoveAction);
        QTRY_COMPARE(sidebar->findItems(u"folder"_s, Qt::MatchExactly | Qt::MatchRecursive).size(), 1);
        QVERIFY(bench.home.exists("left/folder"));
        bench.restart();
        sidebar = bench.find<QTreeWidget>("sidebar");
        QCOMPARE(sidebar->findItems(u"folder"_s, Qt::MatchExactly | Qt::MatchRecursive).size(), 1);
    }

    void pastedCutFilesMoveAndTheClipboardIsEmptyThen()
    {
        WindowBench bench({{"left/a.txt", "a"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_X, Qt::ControlModifier);
        bench.key(Qt::Key_Tab);
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(bench.home.read("right/a.txt"), "a");
        QTRY_VERIFY(!bench.home.exists("left/a.txt"));
        QTRY_VERIFY(!bench.model->clipboard().content());
    }

    void folderShownOnOneSideIsShownOnTheOther()
    {
        WindowBench bench({{"left/deep/", ""}});
        bench.pane(Side::left)->load(bench.home.path("left/deep"), true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("left/deep"));
        bench.key(Qt::Key_U, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_COMPARE(bench.pane(Side::right)->currentPath(), bench.home.path("left/deep"));
        QVERIFY(bench.pane(Side::right)->canGoBack());
        bench.key(Qt::Key_Home, Qt::AltModifier);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path());
    }
};

MOORIX_TEST(MainWindowTest)
#include "MainWindowTest.moc"
