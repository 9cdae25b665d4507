// SPDX-License-Identifier: GPL-3.0-or-later
#include "PaneBench.h"

#include "support/TestMain.h"
#include "ui/Theme.h"
#include "ui/pane/FileFacts.h"
#include "ui/pane/InfoDialog.h"
#include "ui/pane/QuickLook.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QClipboard>
#include <QCompleter>
#include <QMenu>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;
using namespace moorix;
using moorix::test::MemoryFileService;
using moorix::test::PaneBench;

/// What a pane opens beside its list: info, quick look, menus, completion.
class PaneFilesTest final : public QObject
{
    Q_OBJECT

    static QStringList enabledEntries(const QMenu &menu)
    {
        QStringList texts;
        for (const QAction *action : menu.actions()) {
            if (action->isEnabled() && !action->isSeparator())
                texts << action->text();
        }
        return texts;
    }

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

    void infoCountsAFolderOnAServerOnlyWhenAsked()
    {
        PaneBench bench{{"/docs/a", "123"}, {"/docs/deep/b", "4567"}};
        QVERIFY(bench.open(u"/"_s));
        bench.press(Qt::Key_Return, Qt::AltModifier);
        auto *dialog = bench.part<InfoDialog>("infoDialog");
        QVERIFY(dialog);
        auto *size = dialog->findChild<QLabel *>(u"infoSize"_s);
        QCOMPARE(bench.files->listCount(u"/docs"_s), 0);
        QTest::mouseClick(dialog->findChild<QPushButton *>(u"infoCount"_s), Qt::LeftButton);
        QTRY_COMPARE(size->text(), u"7 bytes in 2 files, 2 folders"_s);
        QVERIFY(!dialog->findChild<QPushButton *>(u"infoCount"_s)->isVisible());
    }

    void countingCanBeStoppedAndFailuresAreCounted()
    {
        PaneBench bench{{"/docs/a", "123"}, {"/docs/locked/b", "4567"}, {"/docs/slow/c", "1"}};
        bench.files->failOn(u"/docs/locked"_s, u"Permission denied"_s);
        bench.files->block(u"/docs/slow"_s);
        QVERIFY(bench.open(u"/"_s));
        bench.press(Qt::Key_Return, Qt::AltModifier);
        auto *dialog = bench.part<InfoDialog>("infoDialog");
        auto *button = dialog->findChild<QPushButton *>(u"infoCount"_s);
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(bench.files->isWaiting(u"/docs/slow"_s));
        QTest::mouseClick(button, Qt::LeftButton);
        const QString text = dialog->findChild<QLabel *>(u"infoSize"_s)->text();
        QVERIFY2(text.startsWith(u"So far "_s), qPrintable(text));
        QCOMPARE(button->text(), u"Count"_s);
        bench.files->release(u"/docs/slow"_s);
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(dialog->findChild<QLabel *>(u"infoSize"_s)->text().contains(u"1 folder could not be read"_s));
    }

    void permissionsChangeForAllSelectedAndEverythingInside()
    {
        PaneBench bench{{"/docs/a"}, {"/one"}, {"/two"}};
        QVERIFY(bench.open(u"/"_s));
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

    void quickLookFollowsTheArrowsAndClosesWithSpace()
    {
        PaneBench bench{{"/a.txt", "first"}, {"/b.txt", "second"}, {"/c/"}};
        QVERIFY(bench.open(u"/"_s));
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
        QTest::keyClick(look, Qt::Key_Space);
        QTRY_VERIFY(!bench.part<QuickLook>("quickLook"));
    }

    void quickLookSaysWhyAFileCannotBeRead()
    {
        PaneBench bench{{"/a.txt", "first"}};
        bench.files->failOn(u"/a.txt"_s, u"The server is away."_s);
        QVERIFY(bench.open(u"/"_s));
        bench.press(Qt::Key_F3);
        auto *look = bench.part<QuickLook>("quickLook");
        QTRY_COMPARE(look->findChild<QLabel *>(u"quickLookMessage"_s)->text(), u"The server is away."_s);
        QTest::keyClick(look, Qt::Key_F3);
        QTRY_VERIFY(!bench.part<QuickLook>("quickLook"));
    }

    void menuOffersWhatTheSelectionAllows_data()
    {
        QTest::addColumn<QSet<QString>>("selection");
        QTest::addColumn<QStringList>("entries");
        const QStringList many{
            u"Copy to other side"_s, u"Cut"_s,        u"Copy"_s,     u"Duplicate"_s, u"Copy path"_s, u"Delete"_s,
            u"Delete for good"_s,    u"New folder"_s, u"New file"_s, u"Info"_s};
        QStringList one = many;
        one.insert(5, u"Rename"_s);
        QTest::newRow("nothing") << QSet<QString>()
                                 << QStringList{u"New folder"_s, u"New file"_s,          u"Select all"_s,
                                                u"Reload"_s,     u"Show hidden files"_s, u"Go to path"_s};
        QTest::newRow("a file") << QSet<QString>{u"/a"_s} << QStringList{u"Open"_s, u"Quick look"_s} + one;
        QTest::newRow("a folder") << QSet<QString>{u"/f"_s} << QStringList{u"Open"_s, u"Quick look"_s} + one;
        QTest::newRow("several") << QSet<QString>{u"/a"_s, u"/f"_s} << many;
    }
    void menuOffersWhatTheSelectionAllows()
    {
        QFETCH(const QSet<QString>, selection);
        QFETCH(const QStringList, entries);
        PaneBench bench{{"/a"}, {"/f/"}};
        QVERIFY(bench.open(u"/"_s));
        bench.pane.setSelection(selection);
        const QMenu *menu = openMenu(bench);
        QVERIFY(menu);
        QCOMPARE(enabledEntries(*menu), entries);
    }

    void menuEntryActsOnTheSelection()
    {
        PaneBench bench{{"/a", "text"}, {"/b"}};
        QVERIFY(bench.open(u"/"_s));
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
        QVERIFY(bench.open(u"/"_s));
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

    void pathLineIsLeftWithEscapeAndNothingChanged()
    {
        PaneBench bench{{"/srv/www/"}};
        bench.files->failOn(u"/locked"_s, u"Permission denied"_s);
        QVERIFY(bench.open(u"/srv"_s));
        bench.press(Qt::Key_L, Qt::ControlModifier);
        auto *edit = bench.part<QLineEdit>("pathEdit");
        edit->clear();
        QTest::keyClicks(edit, u"/locked/"_s);
        QTest::keyClick(edit, Qt::Key_Escape);
        QVERIFY(!edit->isVisible());
        QVERIFY(bench.list().hasFocus());
        QCOMPARE(bench.pane.currentPath(), u"/srv"_s);
    }

    void cutEntriesArePaleUntilTheClipboardHoldsOthers()
    {
        PaneBench bench{{"/a"}, {"/b"}};
        QVERIFY(bench.open(u"/"_s));
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

    void modifiedTimesAreNoMoreExactThanTheirSource_data()
    {
        QTest::addColumn<QTime>("time");
        QTest::addColumn<bool>("isLocal");
        QTest::addColumn<QString>("brief");
        QTest::addColumn<QString>("full");
        QTest::newRow("here") << QTime(14, 7, 9) << true << u"5 Mar 2024, 14:07"_s
                              << u"Tuesday, 5 March 2024 14:07:09"_s;
        QTest::newRow("here at midnight")
            << QTime(0, 0) << true << u"5 Mar 2024, 00:00"_s << u"Tuesday, 5 March 2024 00:00:00"_s;
        QTest::newRow("server") << QTime(14, 7) << false << u"5 Mar 2024, 14:07"_s << u"Tuesday, 5 March 2024 14:07"_s;
        QTest::newRow("day of a server") << QTime(0, 0) << false << u"5 Mar 2024"_s << u"Tuesday, 5 March 2024"_s;
        QTest::newRow("unknown") << QTime() << false << u"—"_s << u"—"_s;
    }
    void modifiedTimesAreNoMoreExactThanTheirSource()
    {
        QFETCH(const QTime, time);
        QFETCH(const bool, isLocal);
        QFETCH(const QString, full);
        FileItem item;
        if (time.isValid())
            item.modified = QDateTime(QDate(2024, 3, 5), time);
        QTEST(FileFacts::modified(item, isLocal), "brief");
        // The name of the time zone may follow.
        QVERIFY2(FileFacts::modifiedInFull(item, isLocal).startsWith(full),
                 qPrintable(FileFacts::modifiedInFull(item, isLocal)));
        QVERIFY(isLocal || FileFacts::modifiedInFull(item, isLocal) == full);
    }
};

MOORIX_TEST(PaneFilesTest)
#include "PaneFilesTest.moc"
