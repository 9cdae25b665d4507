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
