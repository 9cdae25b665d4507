// SPDX-License-Identifier: GPL-3.0-or-later
#include "PaneBench.h"

using namespace Qt::StringLiterals;
using namespace moorix;
using moorix::test::PaneBench;

class PaneViewTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Theme::apply(*qApp, u"midnight"_s, 13); }

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

    void nameWithASlashIsRefusedInWords()
    {
        PaneBench bench{{"/b", "x"}};
        bench.press(Qt::Key_F2);
        auto *editor = bench.part<QLineEdit>("renameEdit");
        editor->setText(u"a/b"_s);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_VERIFY(bench.isShown("questionBar"));
        QVERIFY(bench.part<QLabel>("questionBar", "messageBarText")->text().contains(u"slash"_s));
        QVERIFY(bench.files->snapshot().contains(u"/b"_s));
    }

    void viewGoesAwayWhileANameIsBeingEdited()
    {
        PaneBench bench{{"/b", "x"}};
        bench.press(Qt::Key_F2);
        bench.part<QLineEdit>("renameEdit")->setText(u"a/b"_s);
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
        bench.pane.setSelection({u"/f099999"_s});
        bench.press(Qt::Key_End);
        QCOMPARE(bench.current(), u"f099999"_s);
        QVERIFY(
            bench.list().viewport()->rect().contains(bench.list().visualRect(bench.list().currentIndex()).center()));
    }
};

MOORIX_TEST(PaneViewTest)
#include "PaneViewTest.moc"
