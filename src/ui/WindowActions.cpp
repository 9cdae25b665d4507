// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/WindowActions.h"

#include "ui/Theme.h"
#include "ui/pane/ListOrder.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

struct CommandInfo
{
    WindowCommand command;
    QString text;
    QString iconName;
    QList<QKeySequence> keys;
    bool isCheckable = false;
};

// clang-format off
QList<CommandInfo> makeWindowCommands()
{
    using enum WindowCommand;
    return {
        {newTab, WindowActions::tr("New tab"), u"tab-new"_s, {Qt::CTRL | Qt::Key_T}},
        {closeTab, WindowActions::tr("Close tab"), u"tab-close"_s, {Qt::CTRL | Qt::Key_W}},
        {nextTab, WindowActions::tr("Next tab"), u"go-next-view"_s, {Qt::CTRL | Qt::Key_Tab, Qt::CTRL | Qt::Key_PageDown}},
        {previousTab, WindowActions::tr("Previous tab"), u"go-previous-view"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_Tab, Qt::CTRL | Qt::Key_PageUp}},
        {quit, WindowActions::tr("Quit"), u"application-exit"_s, {Qt::CTRL | Qt::Key_Q}},
        {preferences, WindowActions::tr("Preferences…"), u"configure"_s, {Qt::CTRL | Qt::Key_Comma}},
        {serverLibrary, WindowActions::tr("Server library"), u"network-server"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_S}},
        {quickConnect, WindowActions::tr("Quick connect"), u"network-connect"_s, {Qt::CTRL | Qt::Key_K}},
        {newServer, WindowActions::tr("New server…"), u"list-add"_s, {Qt::CTRL | Qt::Key_N}},
        {importServers, WindowActions::tr("Import from ~/.ssh/config…"), u"document-import"_s, {}},
        {importFile, WindowActions::tr("Import…"), u"document-import"_s, {}},
        {exportServers, WindowActions::tr("Export servers…"), u"document-export"_s, {}},
        {exportConfiguration, WindowActions::tr("Export configuration…"), u"document-export"_s, {}},
        {disconnect, WindowActions::tr("Disconnect"), u"network-disconnect"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_K}},
        {addFavorite, WindowActions::tr("Add to favourites"), u"bookmark-new"_s, {Qt::CTRL | Qt::Key_D}},
        {home, WindowActions::tr("Home folder"), u"go-home"_s, {Qt::ALT | Qt::Key_Home}},
        {sameFolderThere, WindowActions::tr("Show this folder on the other side"), u"view-split-left-right"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_U}},
        {sync, WindowActions::tr("Sync the two folders…"), u"folder-sync"_s, {Qt::CTRL | Qt::Key_Y}},
        {syncPairs, WindowActions::tr("Synced folders"), u"folder-sync"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_Y}},
        {swapSides, WindowActions::tr("Swap sides"), u"exchange-positions"_s, {Qt::CTRL | Qt::Key_U}},
        {twoSides, WindowActions::tr("Two sides"), u"view-split-left-right"_s, {Qt::CTRL | Qt::Key_2}, true},
        {sidebar, WindowActions::tr("Sidebar"), u"view-sidetree"_s, {Qt::CTRL | Qt::Key_B}, true},
        {focusSidebar, WindowActions::tr("Go to the sidebar"), u"go-first-view"_s, {Qt::CTRL | Qt::Key_0}},
        {transfers, WindowActions::tr("Transfers"), u"document-send"_s, {Qt::CTRL | Qt::Key_J}, true},
        {terminal, WindowActions::tr("Terminal"), u"dialog-scripts"_s, {Qt::CTRL | Qt::Key_QuoteLeft}, true},
        {terminalInSide, WindowActions::tr("Terminal in this side"), u"dialog-scripts"_s, {}},
        {terminalToFolder, WindowActions::tr("Take the terminal to this folder"), u"go-jump"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_G}},
        {folderOfTerminal, WindowActions::tr("Show the terminal's folder here"), u"folder-open"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_O}},
        {backups, WindowActions::tr("Backups"), u"backup"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_B}},
        {backupSelection, WindowActions::tr("Back up the selection…"), u"backup"_s, {}},
        {openArchive, WindowActions::tr("Open a backup's archive…"), u"archive-extract"_s, {}},
        {monitor, WindowActions::tr("Monitor"), u"office-chart-area"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_M}},
        {editor, WindowActions::tr("Editor"), u"document-edit"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_E}},
        {shortcuts, WindowActions::tr("Keyboard shortcuts"), u"help-keyboard-shortcuts"_s, {Qt::Key_F1}},
        {checkForUpdates, WindowActions::tr("Check for updates…"), u"download"_s, {}},
        {about, WindowActions::tr("About Moorix"), u"help-about"_s, {}},
        {commandPalette, WindowActions::tr("Command palette…"), u"search"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_P}},
        {customizeToolBar, WindowActions::tr("Customise toolbar…"), u"configure"_s, {}},
        {introduction, WindowActions::tr("Introduction"), u"help-about"_s, {}},
        {closeOtherTabs, WindowActions::tr("Close other tabs"), u"tab-close"_s, {}},
        {editServer, WindowActions::tr("Edit this server…"), u"document-edit"_s, {}},
        {newBackup, WindowActions::tr("New backup…"), u"backup"_s, {}},
        {pauseTransfers, WindowActions::tr("Pause all transfers"), u"media-playback-pause"_s, {}},
        {resumeTransfers, WindowActions::tr("Resume all transfers"), u"media-playback-start"_s, {}},
        {retryTransfers, WindowActions::tr("Retry all that failed"), u"view-refresh"_s, {}},
        {cancelTransfers, WindowActions::tr("Cancel all transfers"), u"dialog-cancel"_s, {}},
        {clearTransfers, WindowActions::tr("Clear ended transfers"), u"edit-clear-all"_s, {}},
    };
}
// clang-format on

const QList<CommandInfo> &windowCommands()
{
    static const QList<CommandInfo> commands = makeWindowCommands();
    return commands;
}

const CommandInfo &infoOf(WindowCommand command)
{
    return *std::ranges::find(windowCommands(), command, &CommandInfo::command);
}

/// What a button of the toolbar says: also the key, which nobody would learn otherwise.
void setToolTip(QAction &action)
{
    const QString keys = action.shortcut().toString(QKeySequence::NativeText);
    action.setToolTip(keys.isEmpty() ? action.text() : WindowActions::tr("%1 (%2)").arg(action.text(), keys));
}

/// Keys that text fields need themselves, and those without a modifier, are left to the file list that has the
/// keyboard; the menus only name them.
bool isForListOnly(const QKeySequence &keys)
{
    const QKeyCombination first = keys[0];
    const Qt::Key key = first.key();
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12)
        return false;
    const bool isPlain = !first.keyboardModifiers().testAnyFlags(Qt::ControlModifier | Qt::AltModifier);
    return isPlain || key == Qt::Key_Return || key == Qt::Key_A || key == Qt::Key_C || key == Qt::Key_V ||
           key == Qt::Key_X;
}

QMenu *addMenu(QMenuBar &bar, const WindowActions::Menu &menu)
{
    for (const QAction *title : bar.actions()) {
        if (title->text() != menu.within)
            continue;
        auto *made = new QMenu(menu.title, title->menu());
        const QList<QAction *> lines = title->menu()->actions();
        title->menu()->insertMenu(*std::ranges::find_if(lines, &QAction::isSeparator), made);
        return made;
    }
    return bar.addMenu(menu.title);
}

} // namespace

const QList<WindowActions::Menu> &WindowActions::menus()
{
    using W = WindowCommand;
    using P = PaneCommand;
    constexpr std::monostate line;
    static const QList<Menu> all{
        {tr("&File"),
         {W::newTab,
          W::closeTab,
          W::closeOtherTabs,
          line,
          P::open,
          P::openInOtherPane,
          P::openInNewTab,
          P::quickLook,
          P::edit,
          line,
          P::newFolder,
          P::newFile,
          P::rename,
          P::duplicate,
          line,
          P::copyToOtherSide,
          P::moveToOtherSide,
          line,
          P::info,
          P::remove,
          P::removeForGood,
          line,
          W::importFile,
          W::exportConfiguration,
          line,
          W::quit}},
        {tr("&Edit"),
         {P::cut, P::copy, P::paste, line, P::selectAll, P::invertSelection, line, P::copyPath, line, W::preferences}},
        {tr("&View"),
         {P::filter, P::toggleHidden, P::reload, line, W::twoSides, W::sidebar, W::customizeToolBar, line, W::swapSides,
          W::sameFolderThere}},
        {tr("Sort"),
         {P::sortByName, P::sortBySize, P::sortByDate, P::sortByKind, line, P::sortAscending, P::sortDescending},
         tr("&View")},
        {tr("&Go"),
         {W::commandPalette, line, P::goBack, P::goForward, P::goUp, W::home, P::editPath, line, W::nextTab,
          W::previousTab, P::focusOtherSide, W::focusSidebar, line, W::addFavorite}},
        {tr("&Servers"),
         {W::quickConnect, W::serverLibrary, line, W::newServer, W::editServer, line, W::importServers,
          W::exportServers, line, W::disconnect}},
        {tr("&Transfers"),
         {W::transfers, line, W::pauseTransfers, W::resumeTransfers, W::retryTransfers, line, W::cancelTransfers,
          W::clearTransfers}},
        {tr("T&ools"),
         {P::compareFiles, line, W::sync, W::syncPairs, line, W::backups, W::newBackup, W::backupSelection,
          W::openArchive, line, W::terminal, W::terminalInSide, P::openTerminal, W::terminalToFolder,
          W::folderOfTerminal, line, W::editor, W::monitor}},
        {tr("&Help"), {W::shortcuts, W::introduction, line, W::checkForUpdates, line, W::about}},
    };
    return all;
}

QString WindowActions::textOf(const Entry &entry)
{
    if (const auto *command = std::get_if<WindowCommand>(&entry))
        return infoOf(*command).text;
    if (const auto *command = std::get_if<PaneCommand>(&entry))
        return infoOf(*command).text;
    return {};
}

QString WindowActions::iconNameOf(const Entry &entry)
{
    if (const auto *command = std::get_if<WindowCommand>(&entry))
        return infoOf(*command).iconName;
    if (const auto *command = std::get_if<PaneCommand>(&entry))
        return infoOf(*command).iconName;
    return {};
}

WindowActions::WindowActions(QWidget &window)
    : QObject(&window)
{
    for (const CommandInfo &info : windowCommands()) {
        auto *action = new QAction(Theme::icon(info.iconName), info.text, this);
        action->setShortcuts(info.keys);
        action->setCheckable(info.isCheckable);
        // A menu shows either an icon or whether it is checked.
        action->setIconVisibleInMenu(!info.isCheckable);
        setToolTip(*action);
        window.addAction(action);
        m_window.insert(info.command, action);
        connect(action, &QAction::triggered, this,
                [this, command = info.command] { emit windowCommandTriggered(command); });
    }
    addPaneActions(window);
}

void WindowActions::addPaneActions(QWidget &window)
{
    for (const Menu &menu : menus()) {
        for (const Entry &entry : menu.entries) {
            const PaneCommand *command = std::get_if<PaneCommand>(&entry);
            if (!command)
                continue;
            const PaneCommandInfo &info = infoOf(*command);
            auto *action = new QAction(Theme::icon(info.iconName), info.text, this);
            action->setShortcuts(info.keys);
            setToolTip(*action);
            if (!info.keys.isEmpty() && isForListOnly(info.keys.first()))
                action->setShortcutContext(Qt::WidgetShortcut);
            else
                window.addAction(action);
            m_pane.insert(*command, action);
            connect(action, &QAction::triggered, this,
                    [this, command = *command] { emit paneCommandTriggered(command); });
        }
    }
    QList<PaneCommand> checkable(std::begin(ListOrder::commands), std::end(ListOrder::commands));
    for (const PaneCommand command : checkable += PaneCommand::toggleHidden) {
        m_pane.value(command)->setCheckable(true);
        m_pane.value(command)->setIconVisibleInMenu(false);
    }
    for (const PaneCommand command : {PaneCommand::remove, PaneCommand::removeForGood})
        m_pane.value(command)->setIcon(Theme::icon(infoOf(command).iconName, Theme::Color::danger));
}

QAction *WindowActions::action(const Entry &entry) const
{
    if (const auto *command = std::get_if<WindowCommand>(&entry))
        return action(*command);
    if (const auto *command = std::get_if<PaneCommand>(&entry))
        return action(*command);
    return nullptr;
}

void WindowActions::fill(QMenuBar &bar)
{
    for (const Menu &menu : menus()) {
        QMenu *made = addMenu(bar, menu);
        for (const Entry &entry : menu.entries) {
            if (QAction *known = action(entry))
                made->addAction(known);
            else
                made->addSeparator();
        }
        // A menu within another one opens and closes while that one is open.
        if (!menu.within.isEmpty())
            continue;
        connect(made, &QMenu::aboutToShow, this, &WindowActions::menuOpens);
        connect(made, &QMenu::aboutToHide, this, &WindowActions::enableAll);
    }
}

void WindowActions::enableAll()
{
    for (QAction *action : std::as_const(m_window))
        action->setEnabled(true);
    for (QAction *action : std::as_const(m_pane))
        action->setEnabled(true);
}

} // namespace moorix
