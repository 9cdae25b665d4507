// SPDX-License-Identifier: GPL-3.0-or-later
#include "EditorBench.h"

#include "ui/editor/EditorStatusLine.h"

#include <QFileDialog>
#include <QTabBar>

using namespace moorix;
using namespace moorix::test;

/// Saves that fail, overlap or go elsewhere.
class EditorSavingTest final : public QObject
{
    Q_OBJECT

    static void saveAs(const EditorBench &bench, const char *path)
    {
        bench.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        auto *dialog = bench.window->findChild<QFileDialog *>();
        QVERIFY(dialog);
        emit dialog->fileSelected(bench.home.path(QString::fromLatin1(path)));
        dialog->close();
        QTRY_VERIFY(!bench.window->findChild<QFileDialog *>());
        // There is no window manager.
        bench.window->activateWindow();
        QTRY_COMPARE(QApplication::focusWidget(), bench.view());
    }
    static QString tab(const EditorBench &bench) { return bench.find<QTabBar>("editorTabs")->tabText(0); }

private slots:
    void saveElsewhereIsTriedAgainThereAndNotOnTheFileItself()
    {
        const EditorBench bench({{"left/a&b", "gr\xFCn\n"}});
        bench.open("a&b");
        QCOMPARE(tab(bench), u"a&&b"_s);
        saveAs(bench, "away/c");
        QTRY_VERIFY(bench.choice("Try again"));
        QVERIFY(QDir().mkpath(bench.home.path("away")));
        bench.click(bench.choice("Try again"));
        QTRY_COMPARE(bench.home.read("away/c"), "gr\xFCn\n");
        bench.view()->insert(u"→"_s);
        saveAs(bench, "away/d");
        QTRY_VERIFY(bench.choice("Save in UTF-8"));
        bench.click(bench.choice("Save in UTF-8"));
        QTRY_COMPARE(bench.home.read("away/d"), "\xE2\x86\x92gr\xC3\xBCn\n");
        QCOMPARE(bench.home.read("away/c"), "gr\xFCn\n");
        QCOMPARE(bench.home.read("left/a&b"), "gr\xFCn\n");
    }

    void whatIsDoneDuringASaveIsNotTakenForSaved()
    {
        const EditorBench bench({{"left/a", "old\n"}});
        bench.open("a");
        // Nothing comes of a save before the program has time.
        bench.type("x");
        bench.save();
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QTRY_COMPARE(bench.home.read("left/a"), "xold\n");
        QTRY_COMPARE(tab(bench), u"● a"_s);
        QCOMPARE(bench.text(), "old\n");
        QTRY_COMPARE(bench.unsaved().size(), 1);
        bench.save();
        bench.type("y");
        bench.save();
        QTRY_COMPARE(tab(bench), u"a"_s);
        QCOMPARE(bench.home.read("left/a"), "yold\n");
        bench.save();
        saveAs(bench, "left/b");
        QTRY_COMPARE(bench.home.read("left/b"), "yold\n");
    }

    void unsavedTextThatCannotBeKeptIsToldBeforeTheProgramEnds()
    {
        const EditorBench bench({{"left/a", "old\n"}, {"data/Moorix/unsaved", "no folder"}});
        bench.open("a");
        bench.type("x");
        QTRY_VERIFY(bench.label("messageBarText").contains(u"would be lost in a crash"_s));
        bench.window->close();
        bench.click(bench.choice("Quit"));
        QVERIFY(bench.window->isVisible() && bench.choice("Quit all the same"));
        bench.click(bench.choice("Quit all the same"));
        QVERIFY(!bench.window->isVisible());
    }

    void lineEndsThatAreShownAreThoseOfTheText()
    {
        const EditorBench bench({{"left/a", "1\n2\n"}});
        bench.open("a");
        emit bench.find<EditorStatusLine>("editorStatusLine")->lineEndChosen(LineEnd::crlf);
        QCOMPARE(bench.text(), "1\r\n2\r\n");
        bench.click(bench.find("editorUndo"));
        QVERIFY(!bench.find("editorUndo")->isEnabled() && bench.find("editorRedo")->isEnabled());
        QCOMPARE(bench.button("editorLineEnds"), u"LF"_s);
        bench.key(Qt::Key_Home, Qt::ControlModifier);
        bench.key(Qt::Key_Return);
        QCOMPARE(bench.text(), "\n1\n2\n");
    }
};

MOORIX_TEST(EditorSavingTest)
#include "EditorSavingTest.moc"
