// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUuid>
#include <QWidget>

class QMenu;
class QStackedWidget;
class QTabBar;

namespace moorix {

class SSHTerminalView;
class TerminalSessionManager;

/// The terminals at the bottom of the window, a tab each. Shows every session that is shown neither in a window of its
/// own nor in a tab of a side. Main thread; the sessions outlive it.
class TerminalDock final : public QWidget
{
    Q_OBJECT

public:
    explicit TerminalDock(TerminalSessionManager &sessions, QWidget *parent = nullptr);
    ~TerminalDock() override;

    /// Shows the terminal of this server in front. It is one of the dock's.
    void showTerminal(const QUuid &server);
    /// Null when there is none.
    SSHTerminalView *current() const;
    /// The dock's screen of a server, or null.
    SSHTerminalView *screen(const QUuid &server) const;
    void focusContent();

signals:
    /// The last terminal has gone.
    void emptied();
    void hideRequested();
    /// The menu with what can be opened is about to be shown.
    void newMenuOpens(QMenu *menu);
    void popOutRequested(const QUuid &server);
    void goToPaneFolderRequested(const QUuid &server);
    void openFolderRequested(const QUuid &server);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeBar();
    void followSessions();
    void addScreen(const QUuid &server);
    void dropScreen(int index);
    void showIndex(int index);
    int indexOf(const QUuid &server) const;

    TerminalSessionManager &m_sessions;
    QTabBar *m_tabs;
    QStackedWidget *m_screens;
    /// Of the terminal in front.
    QStackedWidget *m_buttons;
};

} // namespace moorix
