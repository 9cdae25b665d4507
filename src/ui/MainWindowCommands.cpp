// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "endpoints/AppUpdateManager.h"
#include "files/PaneModel.h"
#include "platform/AppPaths.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/Accessibility.h"
#include "ui/Favorites.h"
#include "ui/SessionView.h"
#include "ui/SideView.h"
#include "ui/Sidebar.h"
#include "ui/TransferDrawer.h"
#include "ui/UnsentEdits.h"
#include "ui/UpdateBar.h"
#include "ui/backup/BackupArea.h"
#include "ui/dialogs/AboutDialog.h"
#include "ui/dialogs/ShortcutsOverview.h"
#include "ui/editor/EditorArea.h"
#include "ui/pane/PaneView.h"
#include "ui/preferences/PreferencesWindow.h"
#include "ui/servers/ConnectionForm.h"
#include "ui/servers/ServerLibraryView.h"
#include "ui/sync/SyncArea.h"

#include <QAction>
#include <QApplication>
#include <QSplitter>
#include <QStackedWidget>

namespace moorix {

namespace {

/// What needs nothing of the two sides; all else brings them back where something else stands in their place.
bool worksBesideSides(WindowCommand command)
{
    using enum WindowCommand;
    switch (command) {
    case quit:
    case preferences:
    case newServer:
    case importServers:
    case importFile:
    case exportServers:
    case exportConfiguration:
    case sync:
    case syncPairs:
    case backups:
    case backupSelection:
    case openArchive:
    case monitor:
    case editor:
    case sidebar:
    case focusSidebar:
    case transfers:
    case terminal:
    case terminalToFolder:
    case shortcuts:
    case checkForUpdates:
    case about:
    case commandPalette:
    case customizeToolBar:
    case introduction:
    case editServer:
    case newBackup:
    case pauseTransfers:
    case resumeTransfers:
    case retryTransfers:
    case cancelTransfers:
    case clearTransfers:
        return true;
    default:
        return false;
    }
}

} // namespace

void MainWindow::connectCommands()
{
    addTabCommands();
    addServerCommands();
    addExchangeCommands();
    addViewCommands();
    addSyncCommands();
    addTerminalCommands();
    addTransferCommands();
    connect(m_actions, &WindowActions::windowCommandTriggered, this, &MainWindow::runCommand);
}

void MainWindow::addTabCommands()
{
    using enum WindowCommand;
    m_handlers[newTab] = [this] { activeView().openNewTab(); };
    m_handlers[closeTab] = [this] { activeTabs().close(activeTabs().currentIndex()); };
    m_handlers[closeOtherTabs] = [this] {
        PaneTabs &tabs = activeTabs();
        for (qsizetype index = tabs.sessions().size() - 1; index >= 0; --index) {
            if (index != tabs.currentIndex())
                tabs.close(index);
        }
    };
    m_handlers[nextTab] = [this] { stepTab(1); };
    m_handlers[previousTab] = [this] { stepTab(-1); };
    m_handlers[home] = [this] {
        activeTabs().openLocalHere(AppPaths::home());
        activeView().focusContent();
    };
    m_handlers[addFavorite] = [this] { this->MainWindow::addFavorite(); };
    m_handlers[quit] = [this] { close(); };
}

void MainWindow::addServerCommands()
{
    using enum WindowCommand;
    m_handlers[serverLibrary] = [this] {
        activeTabs().openServers();
        activeView().focusContent();
    };
    m_handlers[quickConnect] = [this] {
        PaneSlot &slot = activeTabs().slot();
        slot.setShowsQuickConnect(!slot.showsQuickConnect());
        if (!slot.showsQuickConnect())
            activeView().focusContent();
    };
    m_handlers[newServer] = [this] { this->MainWindow::newServer(std::nullopt); };
    m_handlers[editServer] = [this] {
        if (const auto &server = activeTabs().current().server())
            this->MainWindow::editServer(server->id);
    };
    m_handlers[disconnect] = [this] {
        if (const auto &server = activeTabs().current().server())
            m_unsent->disconnectServer(server->id);
        else
            emit m_model.messageRaised(tr("This tab is not connected to a server."));
    };
}

void MainWindow::addViewCommands()
{
    using enum WindowCommand;
    m_handlers[preferences] = [this] { showPreferences(); };
    m_handlers[customizeToolBar] = [this] {
        showPreferences();
        m_preferences->showToolBarPage();
    };
    m_handlers[sameFolderThere] = [this] { showSameFolderThere(); };
    m_handlers[swapSides] = [this] { this->MainWindow::swapSides(); };
    m_handlers[twoSides] = [this] {
        m_model.settings().dualPaneEnabled.set(!m_model.settings().dualPaneEnabled.value());
    };
    m_handlers[sidebar] = [this] { m_sidebar->setVisible(m_actions->action(WindowCommand::sidebar)->isChecked()); };
    m_handlers[focusSidebar] = [this] {
        m_sidebar->show();
        m_actions->action(WindowCommand::sidebar)->setChecked(true);
        m_sidebar->setFocus();
    };
    m_handlers[transfers] = [this] {
        const bool hadKeyboard = m_drawer->isAncestorOf(QApplication::focusWidget());
        m_drawer->setVisible(m_actions->action(WindowCommand::transfers)->isChecked());
        if (m_drawer->isVisible())
            m_drawer->takeKeyboard();
        else if (hadKeyboard)
            leaveDrawer();
    };
    m_handlers[introduction] = [this] { showIntroduction(); };
    m_handlers[shortcuts] = [this] {
        auto *shown = findChild<ShortcutsOverview *>();
        QDialog *overview = shown ? shown : new ShortcutsOverview(*m_actions, this);
        overview->show();
        overview->raise();
        overview->activateWindow();
    };
    // Where an update is offered already, the keyboard goes to it.
    m_handlers[checkForUpdates] = [this] {
        if (m_model.updates().isShowingPrompt())
            return m_updateBar->takeKeyboard();
        m_model.updates().checkForUpdates(true);
        if (m_model.updates().isChecking())
            emit m_model.messageRaised(m_model.updates().statusMessage());
    };
    connect(&m_model.updates(), &AppUpdateManager::promptRequested, this,
            [this] { emit m_model.messageRaised(m_model.updates().statusMessage()); });
    m_handlers[about] = [this] { (new AboutDialog(this))->open(); };
}

void MainWindow::runCommand(WindowCommand command)
{
    if (showsEditor() && command == WindowCommand::closeTab)
        return m_editor->run(EditorCommand::close);
    if (showsEditor() && (command == WindowCommand::nextTab || command == WindowCommand::previousTab))
        return m_editor->stepTab(command == WindowCommand::nextTab ? 1 : -1);
    const bool leaves = !showsSides() && !worksBesideSides(command);
    if (leaves)
        showSides();
    // What stands in their place asks first.
    if (leaves && !showsSides())
        return;
    // What would be closed is what stood in their place.
    if (leaves && (command == WindowCommand::closeTab || command == WindowCommand::closeOtherTabs))
        return;
    if (const auto handler = m_handlers.constFind(command); handler != m_handlers.cend())
        (*handler)();
}

/// Nothing is done to what is out of sight.
void MainWindow::runPaneCommand(PaneCommand command)
{
    if (showsSync()) {
        runSyncCommand(command);
        return;
    }
    if (showsComparison()) {
        runComparisonCommand(command);
        return;
    }
    if (showsIntroduction())
        return;
    if (showsBackups()) {
        if (command == PaneCommand::goBack || command == PaneCommand::goUp)
            m_backups->goBack();
        return;
    }
    if (showsMonitor()) {
        runMonitorCommand(command);
        return;
    }
    if (showsEditor()) {
        runEditorCommand(command);
        return;
    }
    if (command == PaneCommand::focusOtherSide) {
        m_model.setActiveSide(otherSide(m_model.activeSide()));
        return;
    }
    SessionView *view = activeView().currentView();
    if (view && view->pane())
        view->pane()->run(command);
    else if (view && view->library())
        view->library()->run(command);
}

bool MainWindow::showsSides() const
{
    return m_middle->currentWidget() == m_sides;
}

void MainWindow::showSides()
{
    if (showsSides())
        return;
    const bool hadFocus = m_middle->currentWidget()->isAncestorOf(QApplication::focusWidget());
    const bool wasSync = showsSync();
    m_middle->setCurrentWidget(m_sides);
    if (wasSync) {
        m_sync->leave();
        m_sidebar->markSync({});
    }
    followSession();
    if (hadFocus || !QApplication::focusWidget())
        activeView().focusContent();
}

void MainWindow::openServer(const QUuid &id, bool inNewTab)
{
    const std::optional<ServerConnection> server = m_model.servers().server(id);
    if (!server)
        return;
    showSides();
    if (inNewTab)
        activeTabs().openServer(*server, std::nullopt, std::nullopt);
    else
        activeTabs().openServerHere(*server);
    activeView().focusContent();
}

void MainWindow::openForm(const ServerConnection &server, bool isNew)
{
    activeTabs().slot().setDraft(server);
    const auto purpose = isNew ? ConnectionForm::Purpose::create : ConnectionForm::Purpose::edit;
    auto *form = new ConnectionForm(m_model, server, purpose, this);
    connect(form, &ConnectionForm::saved, this, [this](const ServerConnection &saved) {
        emit m_model.messageRaised(tr("“%1” is saved.").arg(saved.displayName()));
    });
    form->open();
}

void MainWindow::editServer(const QUuid &id)
{
    if (const std::optional<ServerConnection> server = m_model.servers().server(id))
        openForm(*server, false);
}

void MainWindow::newServer(const std::optional<QUuid> &folder)
{
    ServerConnection draft = ServerConnection::newDraft(NetworkProtocol::sftp);
    draft.folderID = folder;
    openForm(draft, true);
}

void MainWindow::addFavorite()
{
    const Session &session = activeTabs().current();
    if (session.server() && m_model.servers().server(session.server()->id)) {
        const QUuid id = session.server()->id;
        m_model.servers().toggleFavorite(id);
        const bool isFavorite = m_model.servers().server(id)->isFavorite;
        emit m_model.messageRaised((isFavorite ? tr("“%1” is a favourite.") : tr("“%1” is no longer a favourite."))
                                       .arg(session.server()->displayName()));
    } else if (session.mode() == PaneMode::local && !session.pane()->currentPath().isEmpty()) {
        Setting<QString> &favorites = m_model.settings().localFavoritesRaw;
        favorites.set(Favorites::adding(favorites.value(), session.pane()->currentPath()));
        emit m_model.messageRaised(tr("“%1” is in the sidebar.").arg(session.title()));
    } else {
        emit m_model.messageRaised(tr("Only local folders and saved servers can be favourites."));
    }
}

void MainWindow::showPreferences()
{
    if (!m_preferences)
        m_preferences = new PreferencesWindow(m_model, this);
    m_preferences->show();
    m_preferences->raise();
    m_preferences->activateWindow();
}

void MainWindow::stepTab(int step)
{
    PaneTabs &tabs = activeTabs();
    const qsizetype count = tabs.sessions().size();
    tabs.setCurrentIndex((tabs.currentIndex() + step + count) % count);
}

void MainWindow::showSameFolderThere()
{
    const Session &session = activeTabs().current();
    PaneTabs &other = m_model.tabs(otherSide(m_model.activeSide()));
    if (!session.pane())
        emit m_model.messageRaised(tr("This side shows no folder."));
    else if (session.server())
        other.openServer(*session.server(), std::nullopt, session.pane()->currentPath());
    else
        other.openLocalHere(session.pane()->currentPath());
}

void MainWindow::swapSides()
{
    // The sides change places with all their tabs, histories and connections.
    const QList<int> sizes = m_sides->sizes();
    QWidget *second = m_sides->widget(1);
    m_sides->insertWidget(0, second);
    Accessibility::readInOrder(*m_sides);
    m_sides->setSizes({sizes.value(1), sizes.value(0)});
    m_sides->handle(1)->installEventFilter(this);
    for (SideView *view : m_sideViews)
        view->show();
    applyTwoSides();
}

} // namespace moorix
