// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneMenu.h"

#include "ui/Theme.h"
#include "ui/pane/PaneView.h"

#include <QMenu>

#include <vector>

namespace moorix {

namespace {

std::vector<std::vector<PaneCommand>> groupsFor(const PaneModel &pane)
{
    using enum PaneCommand;
    if (pane.selection().isEmpty())
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

} // namespace

void PaneMenu::popup(PaneView &view, const PaneModel &pane, const QPoint &globalPosition)
{
    auto *menu = new QMenu(&view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("paneMenu"));
    for (const std::vector<PaneCommand> &group : groupsFor(pane)) {
        if (!menu->isEmpty())
            menu->addSeparator();
        for (const PaneCommand command : group) {
            const bool isAvailable = view.isAvailable(command);
            if (!isAvailable && isLeftOutWhenUseless(command))
                continue;
            const PaneCommandInfo &info = infoOf(command);
            const bool isDangerous = command == PaneCommand::remove || command == PaneCommand::removeForGood;
            QAction *action = menu->addAction(
                Theme::icon(info.iconName, isDangerous ? Theme::Color::danger : Theme::Color::text), info.text);
            action->setEnabled(isAvailable);
            action->setCheckable(command == PaneCommand::toggleHidden);
            action->setChecked(command == PaneCommand::toggleHidden && pane.showHidden());
            if (!info.keys.isEmpty())
                action->setShortcut(info.keys.front());
            QObject::connect(action, &QAction::triggered, &view, [&view, command] { view.run(command); });
        }
    }
    menu->popup(globalPosition);
}

} // namespace moorix
