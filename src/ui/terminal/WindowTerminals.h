// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"
#include "ui/terminal/TerminalSessionManager.h"

#include <QHash>
#include <QObject>
#include <QUuid>

class QMenu;
class QMimeData;
class QSplitter;

namespace moorix {

class PaneModel;
class SSHTerminalView;
class TerminalDock;
class TerminalPopoutController;

/// The terminals of the window and the three places they are shown in: the dock at the bottom, a tab of a side, a
/// window of their own. Takes folders from the sides to the terminals and back. Main thread; the model and the window
/// outlive it.
class WindowTerminals final : public QObject
{
    Q_OBJECT

public:
    WindowTerminals(AppModel &model, QWidget &window);
    /// Ends all terminals. Every screen has gone before.
    ~WindowTerminals() override;

    TerminalSessionManager &sessions() { return m_sessions; }
    TerminalDock &dock() { return *m_dock; }
    /// The content of the window with the dock below it.
    QSplitter *makeSplitter(QWidget *content, QWidget *parent);

    bool isDockShown() const;
    /// Where there is no terminal yet, showing begins with a local one.
    void showDock(bool isShown);
    /// The terminal of this computer.
    void openLocal();
    /// The terminal of a server, wherever it is shown; says why not where there can be none. A shell that is started by
    /// this begins in `folder`.
    void open(const ServerConnection &server, const QString &folder = {});
    /// In the dock, in the folder of this list: a terminal that is there already is asked to go there.
    void openHere(const PaneModel &pane, const std::optional<ServerConnection> &server);
    /// In a new tab of the active side: that of the server it shows, or of this computer.
    void openInSide();
    /// The screen of a terminal in a tab of a side.
    SSHTerminalView *makePaneScreen(const ServerConnection &server, QWidget *parent);

    void popOut(const QUuid &server);
    void attachBack(const QUuid &server);
    TerminalPopoutController *popout(const QUuid &server) const { return m_popouts.value(server); }

    /// The terminal that has the keyboard, else the one in front in the dock.
    std::optional<QUuid> currentTerminal() const;
    /// Types "cd" and the folder that a side shows of the terminal's computer; executes it only where the shell is sure
    /// to wait at an empty prompt.
    void goToPaneFolder(const QUuid &server);
    /// Shows the folder the shell is in, as far as it is known.
    void openTerminalFolder(const QUuid &server);

    /// What is said before the window closes: which terminals would be interrupted. Empty when none would.
    QString quitSentence() const;
    /// Closes the windows of terminals and ends all programs.
    void endAll();

signals:
    void dockShownChanged(bool isShown);

private:
    void wire(SSHTerminalView &screen, const QUuid &server);
    SSHTerminalView *screenOf(const QUuid &server) const;
    void show(const QUuid &server);
    void fillNewMenu(QMenu &menu);
    void tell(const QUuid &server, const QString &sentence);
    const PaneModel *paneOf(const QUuid &server) const;
    void openFolder(const QUuid &server, const QString &path);
    void openFolderOfHost(const QUuid &server, const QString &path, const QString &host);
    void typePaths(const QUuid &server, const QMimeData &files);
    void followSessions();

    AppModel &m_model;
    QWidget &m_window;
    TerminalSessionManager m_sessions;
    TerminalDock *m_dock = nullptr;
    QHash<QUuid, TerminalPopoutController *> m_popouts;
    QHash<QUuid, SSHTerminalView *> m_paneScreens;
};

} // namespace moorix
