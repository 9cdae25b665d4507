// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/pane/PaneCommand.h"

#include <QHash>
#include <QObject>

#include <utility>
#include <variant>

class QAction;
class QMenuBar;

namespace moorix {

/// What the window itself offers, beside the commands of file lists.
enum class WindowCommand {
    newTab,
    closeTab,
    nextTab,
    previousTab,
    quit,
    preferences,
    serverLibrary,
    quickConnect,
    newServer,
    importServers,
    importFile,
    exportServers,
    exportConfiguration,
    disconnect,
    addFavorite,
    home,
    sameFolderThere,
    sync,
    syncPairs,
    swapSides,
    twoSides,
    sidebar,
    focusSidebar,
    transfers,
    terminal,
    terminalInSide,
    terminalToFolder,
    folderOfTerminal,
    backups,
    backupSelection,
    openArchive,
    monitor,
    editor,
    shortcuts,
    checkForUpdates,
    about,
    commandPalette,
    customizeToolBar,
    introduction,
    closeOtherTabs,
    editServer,
    newBackup,
    pauseTransfers,
    resumeTransfers,
    retryTransfers,
    cancelTransfers,
    clearTransfers
};

/// Every action of the window with its text, icon and keys, and the menus they stand in.
class WindowActions final : public QObject
{
    Q_OBJECT

public:
    /// A line of a menu; nothing is a separator.
    using Entry = std::variant<std::monostate, WindowCommand, PaneCommand>;
    struct Menu
    {
        QString title;
        QList<Entry> entries;
        /// The title of the menu in which this one stands, behind the first group; empty for one of the menu bar.
        QString within = {};
    };
    static const QList<Menu> &menus();
    /// Without the mnemonic; empty for a separator.
    static QString textOf(const Entry &entry);
    static QString iconNameOf(const Entry &entry);

    /// The actions belong to `window`, so that their keys work all over it.
    explicit WindowActions(QWidget &window);

    QAction *action(WindowCommand command) const { return m_window.value(command); }
    QAction *action(PaneCommand command) const { return m_pane.value(command); }
    QAction *action(const Entry &entry) const;
    void fill(QMenuBar &bar);
    /// As they are while no menu is open.
    void enableAll();

signals:
    void windowCommandTriggered(moorix::WindowCommand command);
    void paneCommandTriggered(moorix::PaneCommand command);
    /// Before a menu opens: its actions are to be enabled as things stand. They are all enabled again when it closes,
    /// so that their keys work.
    void menuOpens();

private:
    void addPaneActions(QWidget &window);

    QHash<WindowCommand, QAction *> m_window;
    QHash<PaneCommand, QAction *> m_pane;
};

} // namespace moorix
