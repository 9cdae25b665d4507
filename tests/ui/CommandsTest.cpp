// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "transfers/TransferEngine.h"
#include "ui/WindowActions.h"
#include "ui/pane/ListOrder.h"

#include <QMenu>
#include <QMenuBar>
#include <QSet>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Every command of the window, as menus and keys offer it.
class CommandsTest final : public QObject
{
    Q_OBJECT

    static QMenu *openMenu(const WindowBench &bench, const QString &title)
    {
        for (const QAction *action : bench.window->menuBar()->actions()) {
            if (action->text() == title) {
                action->menu()->popup(bench.window->mapToGlobal(QPoint(20, 20)));
                return action->menu();
            }
        }
        return nullptr;
    }
    static QStringList disabledIn(const QMenu &menu)
    {
        QStringList texts;
        for (const QAction *action : menu.actions()) {
            if (!action->isSeparator() && !action->isEnabled())
                texts << action->text();
        }
        return texts;
    }
    /// Those that stand for more than one entry.
    static QString clashingMnemonics(const QList<QAction *> &actions)
    {
        QString clashing;
        QSet<QString> known;
        for (const QAction *action : actions) {
            const QString key = QKeySequence::mnemonic(action->text()).toString();
            if (!key.isEmpty() && known.contains(key))
                clashing += key + u' ';
            known.insert(key);
        }
        return clashing;
    }

private slots:
    void everyCommandStandsInOneMenuWithATextAndAnIconAndKeysOfItsOwn()
    {
        WindowBench bench({});
        const auto *actions = bench.window->findChild<WindowActions *>();
        QList<WindowActions::Entry> all;
        for (int command = 0; command <= int(WindowCommand::clearTransfers); ++command)
            all += WindowCommand(command);
        for (int command = 0; command <= int(PaneCommand::focusOtherSide); ++command)
            all += PaneCommand(command);
        QHash<QKeySequence, QString> keys;
        for (const WindowActions::Entry &command : all) {
            const QString text = WindowActions::textOf(command);
            QAction *action = actions->action(command);
            QVERIFY2(action && !action->icon().isNull() && !text.isEmpty() && action->text() == text, qPrintable(text));
            const auto menus = std::ranges::count_if(WindowActions::menus(), [&](const WindowActions::Menu &menu) {
                return menu.entries.contains(command);
            });
            QVERIFY2(menus == 1, qPrintable(text));
            for (const QKeySequence &key : action->shortcuts()) {
                QVERIFY2(!keys.contains(key), qPrintable(text + u" and "_s + keys.value(key)));
                keys.insert(key, text);
            }
        }
        QCOMPARE(clashingMnemonics(bench.window->menuBar()->actions()), QString());
        for (const QAction *menu : bench.window->menuBar()->actions())
            QCOMPARE(clashingMnemonics(menu->menu()->actions()), QString());
    }

    void menusOfferWhatWouldDoSomethingAndKeysWorkAfterwards()
    {
        WindowBench bench({{"right/a.txt", "a"}});
        QMenu *file = openMenu(bench, u"&File"_s);
        QVERIFY(disabledIn(*file).contains(u"Rename"_s) && disabledIn(*file).contains(u"Close other tabs"_s));
        file->close();
        QCOMPARE(disabledIn(*file), QStringList());
        bench.activateList(Side::right);
        bench.pane(Side::right)->setSelection({});
        file->popup(bench.window->mapToGlobal(QPoint(20, 20)));
        // The command takes the entry under the cursor, as its key does.
        QVERIFY(!disabledIn(*file).contains(u"Rename"_s) && disabledIn(*file).contains(u"Open in new tab"_s));
        file->close();
        QMenu *tools = openMenu(bench, u"T&ools"_s);
        QVERIFY(disabledIn(*tools).contains(u"Sync the two folders…"_s));
        QVERIFY(disabledIn(*tools).contains(u"Show the terminal's folder here"_s));
        tools->close();
        QMenu *transfers = openMenu(bench, u"&Transfers"_s);
        QCOMPARE(disabledIn(*transfers).size(), 5);
        transfers->close();
    }

    void orderIsChosenByMenuOrKeyForTheActiveList()
    {
        WindowBench bench({{"left/b.txt", "1"}, {"left/a.txt", "22"}, {"right/c.txt", ""}});
        const auto *actions = bench.window->findChild<WindowActions *>();
        const auto checked = [actions] {
            QStringList texts;
            for (const PaneCommand command : ListOrder::commands) {
                if (actions->action(command)->isChecked())
                    texts << infoOf(command).text;
            }
            return texts.join(u", ");
        };
        QMenu *view = openMenu(bench, u"&View"_s);
        QVERIFY(std::ranges::any_of(view->actions(), [&](const QAction *action) {
            return action->menu() && action->menu()->actions().contains(actions->action(PaneCommand::sortBySize));
        }));
        view->close();
        QCOMPARE(checked(), u"Sort by name, Ascending"_s);
        const auto first = [&bench] { return bench.pane(Side::left)->displayedItem(0).name; };
        bench.activateList(Side::left);
        bench.key(Qt::Key_F6, Qt::ControlModifier);
        QCOMPARE(first(), u"b.txt"_s);
        bench.key(Qt::Key_F6, Qt::ControlModifier);
        QCOMPARE(first(), u"a.txt"_s);
        QCOMPARE(checked(), u"Sort by size, Descending"_s);
        // What is chosen already stays so, whatever the click has made of its check.
        actions->action(PaneCommand::sortDescending)->trigger();
        QCOMPARE(checked(), u"Sort by size, Descending"_s);
        QCOMPARE(bench.model->settings().sortKeyRaw.value(), u"size"_s);
        bench.activateList(Side::right);
        QCOMPARE(checked(), u"Sort by name, Ascending"_s);
    }

    void allTransfersAreCancelledRetriedAndClearedAtOnce()
    {
        WindowBench bench({{"left/a.txt", "new"}, {"left/b.txt", "new"}, {"right/a.txt", "old"}, {"right/b.txt", "x"}});
        const QList<QAction *> actions = bench.window->findChildren<QAction *>();
        for (const char *name : {"a.txt", "b.txt"}) {
            bench.select(Side::left, name);
            bench.choose(actions, "Copy to other side");
        }
        QTRY_VERIFY(bench.find("conflictBar"));
        bench.choose(actions, "Cancel all transfers");
        QTRY_VERIFY(!bench.find("conflictBar"));
        QCOMPARE(bench.home.read("right/a.txt"), "old");
        bench.choose(actions, "Retry all that failed");
        QTRY_VERIFY(bench.find("conflictBar"));
        bench.choose(actions, "Cancel all transfers");
        QTRY_VERIFY(!bench.find("conflictBar"));
        QMenu *menu = openMenu(bench, u"&Transfers"_s);
        QTRY_VERIFY(!disabledIn(*menu).contains(u"Clear ended transfers"_s));
        menu->close();
        bench.choose(actions, "Clear ended transfers");
        // Those whose work has not stopped yet go as well.
        QTRY_VERIFY(bench.model->transfers().transfers().isEmpty());
        menu = openMenu(bench, u"&Transfers"_s);
        QCOMPARE(disabledIn(*menu).size(), 5);
        menu->close();
    }
};

MOORIX_TEST(CommandsTest)
#include "CommandsTest.moc"
