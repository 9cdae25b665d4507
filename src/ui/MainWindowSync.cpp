// SPDX-License-Identifier: GPL-3.0-or-later
// Syncs in the window.
#include "ui/MainWindow.h"

#include "sync/SyncEngine.h"
#include "ui/SideView.h"
#include "ui/Sidebar.h"
#include "ui/sync/SyncArea.h"

#include <QApplication>
#include <QStackedWidget>

namespace moorix {

namespace {

/// What leaves a sync in the window; all else is about the two sides, which come back for it.
bool worksBesideSync(WindowCommand command)
{
    using enum WindowCommand;
    switch (command) {
    case quit:
    case preferences:
    case newServer:
    case importServers:
    case sync:
    case syncPairs:
    case sidebar:
    case focusSidebar:
    case transfers:
    case shortcuts:
    case about:
        return true;
    default:
        return false;
    }
}

} // namespace

void MainWindow::addSyncCommands()
{
    m_handlers[WindowCommand::sync] = [this] { m_sync->showShownPair(); };
    m_handlers[WindowCommand::syncPairs] = [this] { m_sync->showOverview(); };
}

void MainWindow::connectSync()
{
    connect(m_sync, &SyncArea::shown, this, &MainWindow::showSync);
    connect(m_sync, &SyncArea::backRequested, this, &MainWindow::showSides);
    connect(m_sidebar, &Sidebar::pairChosen, m_sync, &SyncArea::showPair);
    connect(m_sidebar, &Sidebar::syncChosen, m_sync, &SyncArea::showSession);
    connect(m_sidebar, &Sidebar::pairSettingsRequested, m_sync, &SyncArea::showSettings);
    connect(m_sidebar, &Sidebar::pairForgetRequested, m_sync, &SyncArea::askToForget);
    connect(m_sidebar, &Sidebar::pairsRequested, m_sync, &SyncArea::showOverview);
}

bool MainWindow::showsSync() const
{
    return m_middle->currentWidget() == m_sync;
}

void MainWindow::showSync()
{
    m_middle->setCurrentWidget(m_sync);
    m_sidebar->markSync(m_sync->shownKey());
    followSession();
}

void MainWindow::showSides()
{
    if (!showsSync())
        return;
    const bool hadFocus = m_sync->isAncestorOf(QApplication::focusWidget());
    m_middle->setCurrentIndex(0);
    m_sync->leave();
    m_sidebar->markSync({});
    followSession();
    if (hadFocus || !QApplication::focusWidget())
        activeView().focusContent();
}

void MainWindow::runCommand(WindowCommand command)
{
    const bool leavesSync = showsSync() && !worksBesideSync(command);
    if (leavesSync)
        showSides();
    // What would be closed is the sync.
    if (leavesSync && command == WindowCommand::closeTab)
        return;
    if (const auto handler = m_handlers.constFind(command); handler != m_handlers.cend())
        (*handler)();
}

/// The sides are out of sight, and so is what these commands would do there.
void MainWindow::runSyncCommand(PaneCommand command)
{
    switch (command) {
    case PaneCommand::filter:
        m_sync->focusSearch();
        break;
    case PaneCommand::reload:
        m_sync->reload();
        break;
    case PaneCommand::goBack:
    case PaneCommand::goUp:
        showSides();
        break;
    default:
        break;
    }
}

} // namespace moorix
