// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneMenu.h"

#include "ui/Theme.h"
#include "ui/pane/ListOrder.h"
#include "ui/pane/PaneView.h"

#include <QCoreApplication>
#include <QMenu>

#include <vector>

namespace moorix {

namespace {

std::vector<std::vector<PaneCommand>> groupsFor(const QList<FileItem> &entries)
{
    using enum PaneCommand;
    if (entries.isEmpty())
        return {{newFolder, newFile}, {paste}, {selectAll}, {openTerminal}, {reload, toggleHidden, editPath}};
    return {{open, openInOtherPane, openInNewTab, edit, quickLook},
            {copyToOtherSide, moveToOtherSide, compareFiles},
            {cut, copy, paste, duplicate, copyPath},
            {rename, remove, removeForGood},
            {newFolder, newFile, openTerminal},
            {info}};
}

/// Keys a row can do without; a menu shows only what the entry allows.
bool isLeftOutWhenUseless(PaneCommand command)
{
    return command == PaneCommand::openInOtherPane || command == PaneCommand::openInNewTab ||
           command == PaneCommand::edit;
}

QAction *add(QMenu &menu, PaneView &view, PaneCommand command)
{
    const PaneCommandInfo &info = infoOf(command);
    const bool isDangerous = command == PaneCommand::remove || command == PaneCommand::removeForGood;
    QAction *action =
        menu.addAction(Theme::icon(info.iconName, isDangerous ? Theme::Color::danger : Theme::Color::text), info.text);
    if (!info.keys.isEmpty())
        action->setShortcut(info.keys.front());
    QObject::connect(action, &QAction::triggered, &view, [&view, command] { view.run(command); });
    return action;
}

/// A menu shows either an icon or whether it is checked.
void showAsChecked(QAction &action, bool isChecked)
{
    action.setIconVisibleInMenu(false);
    action.setCheckable(true);
    action.setChecked(isChecked);
}

void addOrder(QMenu &menu, PaneView &view, const PaneModel &pane)
{
    QMenu *order = menu.addMenu(QCoreApplication::translate("moorix", "Sort"));
    for (const PaneCommand command : ListOrder::commands) {
        if (command == PaneCommand::sortAscending)
            order->addSeparator();
        showAsChecked(*add(*order, view, command), ListOrder::isInForce(command, pane));
    }
}

} // namespace

void PaneMenu::popup(PaneView &view, const PaneModel &pane, const QPoint &globalPosition)
{
    auto *menu = new QMenu(&view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("paneMenu"));
    const QList<FileItem> entries = pane.selectedItems(2);
    for (const std::vector<PaneCommand> &group : groupsFor(entries)) {
        if (!menu->isEmpty())
            menu->addSeparator();
        for (const PaneCommand command : group) {
            const bool isAvailable = view.wouldRun(command, entries);
            if (isAvailable || !isLeftOutWhenUseless(command))
                add(*menu, view, command)->setEnabled(isAvailable);
            if (command == PaneCommand::toggleHidden) {
                showAsChecked(*menu->actions().last(), pane.showHidden());
                addOrder(*menu, view, pane);
            }
        }
    }
    menu->popup(globalPosition);
}

} // namespace moorix
