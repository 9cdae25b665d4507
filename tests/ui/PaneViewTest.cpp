// SPDX-License-Identifier: GPL-3.0-or-later
#include "PaneBench.h"
#include "ui/pane/FileFacts.h"
#include "ui/pane/InfoDialog.h"
#include "ui/pane/QuickLook.h"

#include <QCheckBox>
#include <QClipboard>
#include <QCompleter>
#include <QMenu>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;
using namespace moorix;
using moorix::test::PaneBench;

/// A pane, and what it opens beside its list: info, quick look, menus, completion.
class PaneViewTest final : public QObject
{
    Q_OBJECT

    static QMenu *openMenu(PaneBench &bench)
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), bench.list().mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(bench.list().viewport(), &event);
        return bench.part<QMenu>("paneMenu");
    }

private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale::c());
        Theme::apply(*qApp, u"midnight"_s, 13);
    }

    void keysEnterAFolderAndComeBackToItsRow()
    {
        PaneBench bench{{"/a/"}, {"/b/"}, {"/b/x"}, {"/c/"}};
        QCOMPARE(bench.current(), u"a"_s);
        bench.press(Qt::Key_Down);
        bench.press(Qt::Key_Return);
        QTRY_COMPARE(bench.rows(), QStringList{u"x"_s});
        bench.press(Qt::Key_Backspace);
        QTRY_COMPARE(bench.pane.currentPath(), u"/"_s);
        QTRY_COMPARE(bench.current(), u"b"_s);
        bench.press(Qt::Key_Left, Qt::AltModifier);
        QTRY_COMPARE(bench.pane.currentPath(), u"/b"_s);
        bench.press(Qt::Key_Right, Qt::AltModifier);
        QTRY_COMPARE(bench.pane.currentPath(), u"/"_s);
    }

    void renameOffersTheStemAndKeepsTheExtension()
    {
        PaneBench bench{{"/photo.tar.gz", "x"}, {"/z"}};
        bench.press(Qt::Key_F2);
        auto *editor = bench.part<QLineEdit>("renameEdit");
        QVERIFY(editor);
        QTRY_COMPARE(editor->selectedText(), u"photo"_s);
        QTest::keyClicks(editor, u"new"_s);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(bench.rows(), (QStringList{u"new.tar.gz"_s, u"z"_s}));
        QTRY_COMPARE(bench.selected(), QStringList{u"new.tar.gz"_s});
    }

    void nameBeingTypedSurvivesAReload()
    {
        PaneBench bench{{"/b", "the one"}, {"/c"}};
        bench.press(Qt::Key_F2);
        QTest::keyClicks(bench.part<QLineEdit>("renameEdit"), u"typed"_s);
        bench.files->put(u"/a"_s);
        bench.pane.reload();
        QTRY_COMPARE(bench.rows().size(), 3);
        QTRY_COMPARE(bench.list().findChildren<QLineEdit *>(u"renameEdit"_s).size(), 1);
        auto *editor = bench.part<QLineEdit>("renameEdit");
        QCOMPARE(editor->text(), u"typed"_s);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(bench.files->snapshot().value(u"/typed"_s), "the one");
    }

    void nameWithASlashIsRefusedInWordsUnlessTheViewGoesAwayMeanwhile()
    {
        for (const bool goesAway : {false, true}) {
            PaneBench bench{{"/b", "x"}};
            bench.press(Qt::Key_F2);
            auto *editor = bench.part<QLineEdit>("renameEdit");
            editor->setText(u"a/b"_s);
            if (goesAway)
                continue;
            QTest::keyClick(editor, Qt::Key_Return);
            QTRY_VERIFY(bench.isShown("questionBar"));
            QVERIFY(bench.part<QLabel>("questionBar", "messageBarText")->text().contains(u"slash"_s));
            QVERIFY(bench.files->snapshot().contains(u"/b"_s));
        }
    }

    void deletingForGoodAsksFirstUnlessSwitchedOffAndTheNextRowBecomesCurrent()
    {
        PaneBench bench{{"/a"}, {"/b"}, {"/c"}, {"/d"}};
        bench.press(Qt::Key_Down);
        bench.press(Qt::Key_F8);
        QVERIFY(bench.isShown("questionBar"));
        bench.press(Qt::Key_Escape);
        QVERIFY(!bench.isShown("questionBar") && bench.list().hasFocus());
        QCOMPARE(bench.files->snapshot().size(), 4);
        bench.press(Qt::Key_F8);
        bench.press(Qt::Key_Return);
        QTRY_COMPARE(bench.rows(), (QStringList{u"a"_s, u"c"_s, u"d"_s}));
        QCOMPARE(bench.current(), u"c"_s);
        QVERIFY(bench.selected().isEmpty());
        bench.settings.confirmDeletes.set(false);
        bench.press(Qt::Key_Up);
        bench.press(Qt::Key_Delete);
        QTRY_COMPARE(bench.rows(), (QStringList{u"c"_s, u"d"_s}));
    }

    void deletesWhatWasAskedAboutWhateverIsSelectedThen()
    {
        PaneBench bench{{"/a"}, {"/b"}, {"/c"}};
        bench.press(Qt::Key_Delete, Qt::ShiftModifier);
        bench.pane.setSelection({u"/b"_s, u"/c"_s});
        QTest::mouseClick(bench.part<QPushButton>("questionBar", "messageBarConfirm"), Qt::LeftButton);
        QTRY_COMPARE(bench.rows(), (QStringList{u"b"_s, u"c"_s}));
    }

    void selectionCursorAndScrollSurviveAReload()
    {
        PaneBench bench({}, QString());
        bench.openMany(500);
        bench.list().setCurrentIndex(bench.list().model()->index(250, 0));
        bench.press(Qt::Key_Down, Qt::ShiftModifier);
        const QStringList painted = bench.painted();
        const QString top = bench.list().indexAt(QPoint(0, 0)).data().toString();
        bench.files->put(u"/a new one above"_s);
        bench.pane.reload();
        QTRY_COMPARE(bench.rows().size(), 501);
        QCOMPARE(painted.size(), 2);
        QCOMPARE(bench.painted(), painted);
        QCOMPARE(bench.current(), u"f000251"_s);
        QCOMPARE(bench.list().indexAt(QPoint(0, 0)).data().toString(), top);
    }

    void selectionIsPaintedAndChangedByItsKeys()
    {
        PaneBench bench{{"/a"}, {"/b"}, {"/c"}, {"/d"}};
        bench.press(Qt::Key_Insert);
        bench.press(Qt::Key_Insert);
        QCOMPARE(bench.selected(), (QStringList{u"a"_s, u"b"_s}));
        QCOMPARE(bench.current(), u"c"_s);
        bench.pane.setSelection({u"/a"_s, u"/c"_s, u"/d"_s});
        QCOMPARE(bench.painted(), (QStringList{u"a"_s, u"c"_s, u"d"_s}));
        bench.type(u"*"_s);
        QCOMPARE(bench.selected(), QStringList{u"b"_s});
        QCOMPARE(bench.painted(), QStringList{u"b"_s});
    }

    void typingGoesToTheName()
    {
        PaneBench bench{{"/alpha"}, {"/beta"}, {"/Bravo"}, {"/two words"}};
        bench.type(u"br"_s);
        QCOMPARE(bench.selected(), QStringList{u"Bravo"_s});
        bench.press(Qt::Key_Escape);
        bench.type(u"two w"_s);
        QCOMPARE(bench.current(), u"two words"_s);
        QVERIFY(!bench.part<QWidget>("quickLook"));
    }

    void filterNarrowsTheListAndEscapeShowsAllAgain()
    {
        PaneBench bench{{"/alpha"}, {"/beta"}};
        bench.press(Qt::Key_F, Qt::ControlModifier);
        bench.type(u"BET"_s);
        QTRY_COMPARE(bench.rows(), QStringList{u"beta"_s});
        bench.type(u"x"_s);
        QTRY_VERIFY(bench.isShown("paneNotice"));
        QCOMPARE(bench.part<QLabel>("noticeText")->text(), u"Nothing matches “BETx”."_s);
        bench.press(Qt::Key_Escape);
        QTRY_COMPARE(bench.rows().size(), 2);
        QVERIFY(bench.list().hasFocus());
        QVERIFY(!bench.isShown("paneNotice"));
    }

    void failureIsSaidAboveTheListAndRetryGoesThere()
    {
        PaneBench bench{{"/a/"}, {"/a/inside"}};
        bench.files->failOn(u"/a"_s, u"The server is away."_s);
        bench.press(Qt::Key_Return);
        QTRY_VERIFY(bench.isShown("errorBanner"));
        QCOMPARE(bench.part<QLabel>("errorBanner", "messageBarText")->text(), u"The server is away."_s);
        QCOMPARE(bench.rows(), QStringList{u"a"_s});
        QVERIFY(bench.list().hasFocus());
        bench.files->failOn(u"/a"_s, {});
        QTest::mouseClick(bench.part<QPushButton>("errorBanner", "messageBarConfirm"), Qt::LeftButton);
        QTRY_COMPARE(bench.rows(), QStringList{u"inside"_s});
        QTRY_VERIFY(!bench.isShown("errorBanner"));
    }

    void firstListingThatFailsIsSaidInsteadOfRows()
    {
        PaneBench bench({{"/a"}}, QString());
        bench.files->failOn(u"/"_s, u"The server is away."_s);
        bench.pane.load(u"/"_s, true);
        QTRY_COMPARE(bench.part<QLabel>("noticeText")->text(), u"The server is away."_s);
        QVERIFY(!bench.isShown("errorBanner"));
        // A new folder would be made in the root folder.
        bench.view.focusList();
        bench.press(Qt::Key_F7);
        QVERIFY(!bench.isShown("nameEdit"));
        bench.files->failOn(u"/"_s, {});
        QTest::mouseClick(bench.part<QPushButton>("noticeButton"), Qt::LeftButton);
        QTRY_COMPARE(bench.rows(), QStringList{u"a"_s});
        QVERIFY(!bench.isShown("paneNotice"));
    }

    void newFolderRefusesANameThatIsTaken()
    {
        PaneBench bench{{"/taken/"}};
        bench.press(Qt::Key_F7);
        bench.type(u"taken"_s);
        QVERIFY(!bench.part<QPushButton>("nameCreate")->isEnabled());
        QVERIFY(bench.isShown("nameProblem"));
        bench.type(u" not"_s);
        bench.press(Qt::Key_Return);
        QTRY_COMPARE(bench.rows(), (QStringList{u"taken"_s, u"taken not"_s}));
        QTRY_COMPARE(bench.current(), u"taken not"_s);
        QVERIFY(bench.list().hasFocus());
    }

    void pathThatCannotBeShownStaysToBeCorrectedOrIsLeftWithEscape()
    {
        PaneBench bench{{"/a/"}, {"/a/b/"}};
        bench.press(Qt::Key_L, Qt::ControlModifier);
        auto *edit = bench.part<QLineEdit>("pathEdit");
        QVERIFY(edit->hasFocus());
        edit->setText(u"/a/c"_s);
        bench.press(Qt::Key_Return);
        QTRY_VERIFY(bench.isShown("errorBanner"));
        QVERIFY(edit->isVisible() && edit->text() == u"/a/c"_s);
        edit->setText(u"a/b/"_s);
        QTest::keyClick(edit, Qt::Key_Return);
        QTRY_COMPARE(bench.pane.currentPath(), u"/a/b"_s);
        QVERIFY(!edit->isVisible() && bench.list().hasFocus());
        bench.press(Qt::Key_L, Qt::ControlModifier);
        edit->setText(u"/a"_s);
        QTest::keyClick(edit, Qt::Key_Escape);
        QVERIFY(!edit->isVisible() && bench.list().hasFocus());
        QCOMPARE(bench.pane.currentPath(), u"/a/b"_s);
    }

    void whyNothingCouldBeCopiedIsSaid()
    {
        PaneBench bench{{"/a"}};
        bench.refusal = u"The other side shows no folder."_s;
        bench.press(Qt::Key_F5);
        QCOMPARE(bench.part<QLabel>("questionBar", "messageBarText")->text(), bench.refusal);
        QCOMPARE(bench.selected(), QStringList{u"a"_s});
    }

    void hundredThousandRowsAreShownAndSelected()
    {
        PaneBench bench({}, QString());
        bench.openMany(100'000);
        bench.press(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(bench.pane.selection().size(), 100'000);
        QCOMPARE(bench.pane.selectedItems(2).size(), 2);
        // A few are not looked for among all rows, and come in their order.
        bench.pane.setSelection({u"/f050000"_s, u"/f099999"_s, u"/f000007"_s});
        QCOMPARE(bench.selected(), (QStringList{u"f000007"_s, u"f050000"_s, u"f099999"_s}));
        QCOMPARE(bench.pane.selectedItems(1).first().name, u"f000007"_s);
        bench.pane.setSelection({u"/f099999"_s});
        bench.press(Qt::Key_End);
        QCOMPARE(bench.current(), u"f099999"_s);
        QVERIFY(
            bench.list().viewport()->rect().contains(bench.list().visualRect(bench.list().currentIndex()).center()));
    }

    void folderOnAServerIsCountedOnlyWhenAskedAndThatCanBeStopped()
    {
        PaneBench bench{{"/docs/a", "123"}, {"/docs/locked/b", "4567"}, {"/docs/slow/c", "1"}};
        bench.files->failOn(u"/docs/locked"_s, u"Permission denied"_s);
        bench.files->block(u"/docs/slow"_s);
        bench.press(Qt::Key_Return, Qt::AltModifier);
        const auto *size = bench.part<QLabel>("infoDialog", "infoSize");
        auto *button = bench.part<QPushButton>("infoDialog", "infoCount");
        QCOMPARE(bench.files->listCount(u"/docs"_s), 0);
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(bench.files->isWaiting(u"/docs/slow"_s));
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY2(size->text().startsWith(u"So far "_s), qPrintable(size->text()));
        QCOMPARE(button->text(), u"Count"_s);
        bench.files->release(u"/docs/slow"_s);
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(size->text().startsWith(u"4 bytes in 2 files, 3 folders\n1 folder could not be read"_s));
        QVERIFY(!button->isVisible());
    }

    void permissionsChangeForAllSelectedAndEverythingInside()
    {
        PaneBench bench{{"/docs/a"}, {"/one"}, {"/two"}};
        bench.pane.setSelection({u"/docs"_s, u"/one"_s});
        bench.press(Qt::Key_Return, Qt::AltModifier);
        auto *dialog = bench.part<InfoDialog>("infoDialog");
        auto *apply = dialog->findChild<QPushButton *>(u"infoApply"_s);
        auto *octal = dialog->findChild<QLineEdit *>(u"permissionsOctal"_s);
        QVERIFY(!apply->isEnabled());
        QVERIFY2(octal->text().isEmpty(), "a folder and a file have no permissions in common");
        QTest::keyClicks(octal, u"640"_s);
        dialog->findChild<QCheckBox *>(u"infoRecursive"_s)->setChecked(true);
        QTest::mouseClick(apply, Qt::LeftButton);
        const auto modeOf = [&bench](const QString &path) {
            return bench.files->stat(path, {})->permissions.value_or(QString());
        };
        QTRY_COMPARE(modeOf(u"/docs/a"_s), u"rw-r-----"_s);
        QTRY_COMPARE(modeOf(u"/one"_s), u"rw-r-----"_s);
        QCOMPARE(modeOf(u"/two"_s), u"rw-r--r--"_s);
    }

    void quickLookFollowsTheArrowsSaysWhatCannotBeReadAndClosesWithSpace()
    {
        PaneBench bench{{"/a.txt", "first"}, {"/b.txt", "second"}, {"/c/"}};
        bench.press(Qt::Key_Down);
        bench.type(u" "_s);
        auto *look = bench.part<QuickLook>("quickLook");
        QVERIFY(look);
        auto *text = look->findChild<QPlainTextEdit *>(u"quickLookText"_s);
        QTRY_COMPARE(text->toPlainText(), u"first"_s);
        QTest::keyClick(text, Qt::Key_Down);
        QTRY_COMPARE(text->toPlainText(), u"second"_s);
        QCOMPARE(bench.current(), u"b.txt"_s);
        QCOMPARE(look->windowTitle(), u"b.txt"_s);
        QTest::keyClick(text, Qt::Key_Up);
        QTest::keyClick(text, Qt::Key_Up);
        auto *message = look->findChild<QLabel *>(u"quickLookMessage"_s);
        QTRY_COMPARE(message->text(), u"“c” is a folder."_s);
        bench.files->failOn(u"/a.txt"_s, u"The server is away."_s);
        QTest::keyClick(look, Qt::Key_Down);
        QTRY_COMPARE(message->text(), u"The server is away."_s);
        QTest::keyClick(look, Qt::Key_Space);
        QTRY_VERIFY(!bench.part<QuickLook>("quickLook"));
    }

    void menuOffersWhatTheSelectionAllows()
    {
        const QString all = u"Open|Quick look|Copy to other side|Cut|Copy|Duplicate|Copy path|Rename|Delete|"
                            "Delete for good|New folder|New file|Info"_s;
        const QString many = QString(all).remove(u"Open|Quick look|"_s).remove(u"Rename|"_s);
        const QList<std::pair<QSet<QString>, QString>> rows{
            {{}, u"New folder|New file|Select all|Reload|Show hidden files|Sort|Go to path"_s},
            {{u"/a"_s}, all},
            {{u"/f"_s}, all},
            {{u"/a"_s, u"/f"_s}, many}};
        for (const auto &[selection, entries] : rows) {
            PaneBench bench{{"/a"}, {"/f/"}};
            bench.pane.setSelection(selection);
            QStringList enabled;
            for (const QAction *action : openMenu(bench)->actions()) {
                if (action->isEnabled() && !action->isSeparator())
                    enabled << action->text();
            }
            QCOMPARE(enabled.join(u'|'), entries);
        }
    }

    void rightClickBesideTheEntriesOpensTheFoldersMenu()
    {
        PaneBench bench{{"/a", "text"}, {"/b"}};
        bench.pane.setSelection({u"/a"_s});
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(50, 150), bench.list().mapToGlobal(QPoint(50, 150)));
        QApplication::sendEvent(bench.list().viewport(), &event);
        QCOMPARE(bench.part<QMenu>("paneMenu")->actions().first()->text(), u"New folder"_s);
        QCOMPARE(bench.selected(), QStringList());
    }

    void menuEntryActsOnTheSelection()
    {
        PaneBench bench{{"/a", "text"}, {"/b"}};
        bench.pane.setSelection({u"/a"_s});
        for (QAction *action : openMenu(bench)->actions()) {
            if (action->text() == u"Duplicate"_s)
                action->trigger();
        }
        QTRY_COMPARE(bench.files->snapshot().value(u"/a copy"_s), "text");
        QTRY_COMPARE(bench.selected(), QStringList{u"a copy"_s});
    }

    void pathLineOffersSubfoldersAndTabTakesTheFirst()
    {
        PaneBench bench{{"/srv/www/"}, {"/srv/work/deep/"}, {"/srv/file"}, {"/other/"}};
        bench.press(Qt::Key_L, Qt::ControlModifier);
        auto *edit = bench.part<QLineEdit>("pathEdit");
        edit->clear();
        QTest::keyClicks(edit, u"/srv/w"_s);
        const QCompleter *completer = edit->completer();
        QTRY_COMPARE(completer->completionCount(), 2);
        QTest::keyClick(edit, Qt::Key_Tab);
        QCOMPARE(edit->text(), u"/srv/work/"_s);
        QTRY_COMPARE(completer->completionCount(), 1);
        QCOMPARE(completer->currentCompletion(), u"/srv/work/deep/"_s);
        QTest::keyClick(edit, Qt::Key_Return);
        QTRY_COMPARE(bench.pane.currentPath(), u"/srv/work"_s);
    }

    void subfoldersAreNoLongerListedOnceThePathIsEntered()
    {
        PaneBench bench{{"/srv/www/"}};
        bench.files->block(u"/srv"_s);
        bench.press(Qt::Key_L, Qt::ControlModifier);
        auto *edit = bench.part<QLineEdit>("pathEdit");
        edit->clear();
        QTest::keyClicks(edit, u"/srv/w"_s);
        QTRY_VERIFY(bench.files->isWaiting(u"/srv"_s));
        QTest::keyClick(edit, Qt::Key_Return);
        // Else they would open over the list that the path leads to, and take its keys.
        QTRY_VERIFY(!bench.files->isWaiting(u"/srv"_s));
        QTRY_VERIFY(bench.isShown("errorBanner"));
        QCOMPARE(edit->completer()->completionCount(), 0);
    }

    void cutEntriesArePaleUntilTheClipboardHoldsOthers()
    {
        PaneBench bench{{"/a"}, {"/b"}};
        const auto isPale = [&bench](int row) {
            return bench.list().model()->index(row, 0).data(Qt::UserRole).toBool();
        };
        bench.press(Qt::Key_X, Qt::ControlModifier);
        QVERIFY(isPale(0) && !isPale(1));
        bench.press(Qt::Key_Down);
        bench.press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(!isPale(0) && !isPale(1));
        bench.press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"/b"_s);
    }

    void modifiedTimesAreNoMoreExactThanTheirSource()
    {
        const std::tuple<QTime, bool, const char *, const char *> rows[] = {
            {QTime(14, 7, 9), true, "5 Mar 2024, 14:07", "Tuesday, 5 March 2024 14:07:09"},
            {QTime(0, 0), true, "5 Mar 2024, 00:00", "Tuesday, 5 March 2024 00:00:00"},
            {QTime(14, 7), false, "5 Mar 2024, 14:07", "Tuesday, 5 March 2024 14:07"},
            {QTime(0, 0), false, "5 Mar 2024", "Tuesday, 5 March 2024"}, // a day is all some servers tell
            {QTime(), false, "—", "—"}};
        for (const auto &[time, isLocal, brief, full] : rows) {
            FileItem item;
            if (time.isValid())
                item.modified = QDateTime(QDate(2024, 3, 5), time);
            QCOMPARE(FileFacts::modified(item, isLocal), QString::fromUtf8(brief));
            // The name of the time zone may follow for files of this machine.
            const QString text = FileFacts::modifiedInFull(item, isLocal);
            QVERIFY2(isLocal ? text.startsWith(QString::fromUtf8(full)) : text == QString::fromUtf8(full), full);
        }
    }
};

MOORIX_TEST(PaneViewTest)
#include "PaneViewTest.moc"
