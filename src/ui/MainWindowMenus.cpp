// SPDX-License-Identifier: GPL-3.0-or-later
// What menus and the command palette say of a command: whether it can be run now, and else why not.
#include "ui/MainWindow.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "base/Error.h"
#include "files/PaneModel.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/SessionView.h"
#include "ui/SideView.h"
#include "ui/backup/SourceList.h"
#include "ui/pane/ListOrder.h"
#include "ui/pane/PaneView.h"
#include "ui/servers/ServerLibraryView.h"
#include "ui/terminal/WindowTerminals.h"

#include <QAction>
#include <QCoreApplication>

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

/// Why a command of file lists would do nothing with these entries.
QString refusalFor(PaneCommand command, const QList<FileItem> &entries)
{
    switch (command) {
    case PaneCommand::goBack:
        return tr("There is no earlier folder.");
    case PaneCommand::goForward:
        return tr("There is no later folder.");
    case PaneCommand::goUp:
        return tr("This is the topmost folder.");
    case PaneCommand::paste:
        return tr("The clipboard holds no files.");
    default:
        break;
    }
    if (entries.isEmpty())
        return tr("Nothing is selected.");
    const bool needsFolder = command == PaneCommand::openInNewTab || command == PaneCommand::openInOtherPane;
    if (entries.size() > 1)
        return needsFolder ? tr("Select a single folder.") : tr("Select a single entry.");
    if (needsFolder)
        return tr("A folder has to be selected.");
    return command == PaneCommand::edit ? tr("A file has to be selected.") : QString();
}

bool needsShownFolder(PaneCommand command)
{
    using enum PaneCommand;
    return command == newFolder || command == newFile || command == paste || command == openTerminal;
}

std::optional<QString> unless(bool isAvailable, const QString &reason)
{
    return isAvailable ? std::nullopt : std::optional(reason);
}

} // namespace

QList<FileItem> MainWindow::entriesActedOn() const
{
    const SessionView *view = activeView().currentView();
    return showsSides() && view && view->pane() ? view->pane()->entriesActedOn() : QList<FileItem>();
}

std::optional<QString> MainWindow::refusal(const WindowActions::Entry &command, const QList<FileItem> &entries) const
{
    if (const auto *ofWindow = std::get_if<WindowCommand>(&command))
        return refusal(*ofWindow);
    if (const auto *ofPane = std::get_if<PaneCommand>(&command))
        return refusal(*ofPane, entries);
    return std::nullopt;
}

std::optional<QString> MainWindow::refusal(WindowCommand command) const
{
    using enum WindowCommand;
    const Session &session = activeTabs().current();
    switch (command) {
    case disconnect:
        return unless(session.server().has_value(), tr("This tab is not connected to a server."));
    case editServer:
        return unless(session.server() && m_model.servers().server(session.server()->id),
                      tr("This tab shows no saved server."));
    case closeOtherTabs:
    case nextTab:
    case previousTab:
        return unless(activeTabs().sessions().size() > 1, tr("There is only one tab."));
    case sameFolderThere:
        return unless(session.pane(), tr("This side shows no folder."));
    case addFavorite: {
        const bool isSaved = session.server() && m_model.servers().server(session.server()->id);
        return unless(isSaved || session.mode() == PaneMode::local,
                      tr("Only local folders and saved servers can be favourites."));
    }
    case terminalToFolder:
    case folderOfTerminal:
        return unless(m_terminals->currentTerminal().has_value(), tr("No terminal is shown."));
    case backupSelection:
        return unless(SourceList::hasSelection(m_model), tr("No local files are selected."));
    case sync:
        try {
            m_model.shownPair();
        } catch (const Error &error) {
            return error.message();
        }
        return std::nullopt;
    default:
        return refusalOfTransfers(command);
    }
}

std::optional<QString> MainWindow::refusal(PaneCommand command, const QList<FileItem> &entries) const
{
    if (!showsSides())
        return refusalBesideSides(command);
    if (command == PaneCommand::focusOtherSide)
        return unless(m_model.settings().dualPaneEnabled.value(), tr("Only one side is shown."));
    const SessionView *view = activeView().currentView();
    if (view && view->pane()) {
        if (view->pane()->wouldRun(command, entries))
            return std::nullopt;
        if (needsShownFolder(command) && activeTabs().current().pane()->currentPath().isEmpty())
            return tr("This side shows no folder.");
        return refusalFor(command, entries);
    }
    if (view && view->library())
        return unless(view->library()->isAvailable(command), tr("Not for servers, or none is selected."));
    return tr("This side shows no folder.");
}

/// What stands in place of the sides understands a few of their commands.
std::optional<QString> MainWindow::refusalBesideSides(PaneCommand command) const
{
    const bool isBack = command == PaneCommand::goBack || command == PaneCommand::goUp;
    const bool isSearch = command == PaneCommand::filter && !showsBackups();
    const bool isReload = command == PaneCommand::reload && (showsSync() || showsComparison());
    return unless(!showsIntroduction() && (isBack || isSearch || isReload), tr("The folders are not in view."));
}

void MainWindow::prepareMenus()
{
    const QList<FileItem> entries = entriesActedOn();
    for (const WindowActions::Menu &menu : WindowActions::menus()) {
        for (const WindowActions::Entry &entry : menu.entries) {
            if (QAction *action = m_actions->action(entry))
                action->setEnabled(!refusal(entry, entries));
        }
    }
    showPaneState();
}

/// What the commands that can be checked show of the active list. A click has turned the check of one already.
void MainWindow::showPaneState()
{
    m_actions->action(PaneCommand::toggleHidden)->setChecked(m_followedPane && m_followedPane->showHidden());
    for (const PaneCommand command : ListOrder::commands)
        m_actions->action(command)->setChecked(m_followedPane && ListOrder::isInForce(command, *m_followedPane));
}

} // namespace moorix
