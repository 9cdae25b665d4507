// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include <QAccessible>
#include <QListWidget>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// What a screen reader says, and where the keyboard comes to.
class AccessibilityTest final : public QObject
{
    Q_OBJECT

    /// Visible widgets that take the keyboard and say nothing of themselves.
    static QStringList nameless()
    {
        QStringList found;
        for (QWidget *widget : QApplication::allWidgets()) {
            const bool takesKeyboard = widget->focusPolicy() & Qt::TabFocus && !widget->focusProxy();
            if (!widget->isVisible() || !widget->isEnabled() || widget->isWindow() || !takesKeyboard)
                continue;
            const QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(widget);
            if (spoken && !spoken->text(QAccessible::Name).isEmpty())
                continue;
            QString path = widget->objectName();
            for (const QWidget *parent = widget->parentWidget(); parent; parent = parent->parentWidget())
                path.prepend(parent->objectName() + u'/');
            found << QString::fromLatin1(widget->metaObject()->className()) + u' ' + path;
        }
        return found;
    }
    static void verifyNames(const char *where)
    {
        QApplication::processEvents();
        const QStringList found = nameless();
        QVERIFY2(found.isEmpty(), qPrintable(QLatin1String(where) + u": "_s + found.join(u"; ")));
    }

private slots:
    void everyPageNamesWhatTakesTheKeyboard()
    {
        WindowBench bench({{"left/a.txt", "a"}, {"right/a.txt", "b"}}, WindowBench::refusal);
        bench.addServer(u"nordlicht"_s);
        verifyNames("sides");
        const auto show = [&bench](const char *command) {
            bench.choose(bench.window->findChildren<QAction *>(), command);
            verifyNames(command);
        };
        for (const char *command : {"Filter", "Go to path", "Quick connect", "Transfers", "Compare files", "Monitor",
                                    "Backups", "New backup", "Synced folders", "Introduction", "Command palette",
                                    "Server library", "Keyboard shortcuts", "New server", "Import from", "About"})
            show(command);
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window != bench.window.get() && window->isVisible())
                window->close();
        }
        show("Preferences");
        auto *pages = bench.find<QListWidget>("preferencePages");
        for (int page = 0; page < pages->count(); ++page) {
            pages->setCurrentRow(page);
            verifyNames(qPrintable(pages->item(page)->text()));
        }
    }

    void rowsAndTabsAndButtonsAreReadOutAsTheyStand()
    {
        WindowBench bench({{"left/a.txt", "four"}});
        const QAccessibleInterface *list = QAccessible::queryAccessibleInterface(bench.list(Side::left));
        QCOMPARE(list->text(QAccessible::Name), u"Files"_s);
        const QAccessibleTableInterface *table = const_cast<QAccessibleInterface *>(list)->tableInterface();
        QVERIFY(table->cellAt(0, 0)->text(QAccessible::Name).contains(u"a.txt"_s));
        QVERIFY(table->cellAt(0, 1)->text(QAccessible::Name).contains(u"4 bytes"_s));
        const auto firstTab = [&bench] {
            return QAccessible::queryAccessibleInterface(bench.find("sideTabs"))->child(0)->text(QAccessible::Name);
        };
        QCOMPARE(firstTab(), u"left"_s);
        bench.choose(bench.window->findChildren<QAction *>(), "Swap sides");
        QCOMPARE(firstTab(), u"right"_s);
        for (QWidget *button : bench.window->findChildren<QWidget *>()) {
            // The pictures within text fields are no buttons to anybody.
            if (!button->inherits("QToolButton") || !button->isVisible() || button->parent()->inherits("QLineEdit"))
                continue;
            const QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(button);
            QVERIFY2(!spoken->text(QAccessible::Name).isEmpty(), qPrintable(button->objectName()));
        }
    }

    void keyboardBeginsInTheSidebarAtWhatIsShown()
    {
        WindowBench bench({});
        bench.pane(Side::left)->load(bench.home.path(), true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path());
        const auto *sidebar = bench.find<QTreeWidget>("sidebar");
        QTreeWidgetItem *shown = sidebar->selectedItems().value(0);
        QVERIFY(shown);
        bench.key(Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(sidebar->currentItem(), shown);
        bench.key(Qt::Key_Down);
        QVERIFY(sidebar->currentItem() != shown && !shown->isSelected());
        // What the arrows went over is not what is shown.
        bench.key(Qt::Key_Escape);
        QVERIFY(bench.list(Side::left)->hasFocus());
        QCOMPARE(sidebar->selectedItems(), QList<QTreeWidgetItem *>{shown});
    }

    void tabWalksThroughThePagesOfThePreferencesAndComesBack()
    {
        WindowBench bench({});
        bench.choose(bench.window->findChildren<QAction *>(), "Preferences");
        auto *pages = bench.find<QListWidget>("preferencePages");
        QTRY_VERIFY(pages->window()->isActiveWindow());
        pages->setFocus();
        QStringList order;
        for (int step = 0; step < 60; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            if (QApplication::focusWidget() == pages)
                break;
            order << QApplication::focusWidget()->objectName();
        }
        QCOMPARE(QApplication::focusWidget(), pages);
        QVERIFY2(order.startsWith(u"themeID"_s), qPrintable(order.join(u' ')));
        QVERIFY(order.indexOf(u"dualPaneEnabled"_s) < order.indexOf(u"showHiddenFiles"_s));
        QVERIFY(order.size() < 30);
    }
};

MOORIX_TEST(AccessibilityTest)
#include "AccessibilityTest.moc"
