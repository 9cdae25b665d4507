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
            {{}, u"New folder|New file|Select all|Reload|Show hidden files|Go to path"_s},
            {{u"/a"_s}, all},
            {{u"/f"_s}, all},
            {{u"/a"_s, u"/f"_s}, many}};
        for (const auto &[selection, entries] : rows) {
            PaneBench bench{{"/a"}, {"/f/"}};
            bench.pane.setSelection(selection);
            const QMenu *menu = openMenu(bench);
            QVERIFY(menu);
            QCOMPARE(enabledEntries(*menu).join(u'|'), entries);
        }
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

MOORIX_TEST(PaneFilesTest)
#include "PaneFilesTest.moc"
