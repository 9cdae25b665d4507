// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"
#include "terminal/Runner.h"
#include "terminal/TerminalTheme.h"
#include "ui/terminal/TerminalPalette.h"

#include <QColor>
#include <QObject>
#include <QUrl>

#include <map>
#include <memory>

class QMimeData;

namespace moorix {

class SettingsStore;
class TerminalView;

/// The live terminals, one for each server and one for this computer, whoever shows them: a screen comes and goes, the
/// program in the terminal stays. An object of the window rather than state of the process, so that two windows, or
/// two tests, have nothing in common. Main thread.
class TerminalSessionManager final : public QObject
{
    Q_OBJECT

public:
    /// Where a terminal is shown: in the main window, or in one of its own.
    enum class Host { dock, popout };

    struct Style
    {
        double fontSize = 13;
        QString fontName = {};
        TerminalTheme terminalTheme = {};
        QColor background = {};
        QColor foreground = {};
        QColor cursor = {};
        bool gpu = false;
        bool localEcho = false;
    };
    /// What a screen asks for.
    struct TerminalScreen : Style
    {
        ServerConnection server;
    };

    /// `environment` is that of every runner.
    TerminalSessionManager(SettingsStore &settings, Runner::Environment environment, QObject *parent = nullptr);
    /// Ends all sessions.
    ~TerminalSessionManager() override;

    /// The style that the settings and the program's theme ask for.
    Style style() const;

    /// The terminal of a server; made, and its program started, the first time, later only dressed. A screen that goes
    /// must let go of it (setParent(nullptr)) first.
    /// A shell that is started by this begins in `folder`, absolute, or in the home folder where that is empty or, on a
    /// server, cannot be entered.
    TerminalView &view(const ServerConnection &server, const Style &style, const QString &folder = {});
    TerminalView &view(const TerminalScreen &screen) { return view(screen.server, screen); }
    /// Colours of the letters are installed only if they are another theme's than before.
    static void applyStyle(const Style &style, TerminalView &view, Runner &runner);
    /// The program and all that was made for it go, and so does the view.
    void terminate(const QUuid &server);
    /// Starts the program of a session anew where it has ended; the text stays.
    void restart(const QUuid &server);

    bool has(const QUuid &server) const { return m_sessions.contains(server); }
    /// In the order in which they were opened.
    QList<QUuid> servers() const { return m_order; }
    const ServerConnection &serverOf(const QUuid &server) const;
    const Runner &runnerOf(const QUuid &server) const;
    TerminalView &viewOf(const QUuid &server) const;
    /// What the terminal is called: "local shell — zsh", or the server's name.
    QString titleOf(const QUuid &server) const;
    /// Whether something would be lost if the terminal were closed: another program than the shell is at work or, on a
    /// server, where that is not known, the shell does not wait at an empty prompt.
    bool isBusy(const QUuid &server) const;

    /// Its program has ended, or could not be started.
    bool hasEnded(const QUuid &server) const;

    bool isHost(Host host, const QUuid &server) const;
    void setHost(Host host, const QUuid &server);
    /// A screen that disappears while its session moves to another host leaves it alone.
    void markMoving(const QUuid &server, bool isMoving = true);
    bool isMoving(const QUuid &server) const;
    /// A tab of the window shows it instead of the dock.
    void setInPane(const QUuid &server, bool isInPane);
    bool isInPane(const QUuid &server) const;

signals:
    /// Terminals came, went or changed their place.
    void sessionsChanged();
    /// Its title, or whether its program runs.
    void sessionChanged(const QUuid &server);
    void linkActivated(const QUrl &url);
    void folderActivated(const QUuid &server, const QString &path, const QString &host);
    /// Files were dropped on a terminal, or are to be pasted there.
    void filesOffered(const QUuid &server, const QMimeData &files);

private:
    struct Session;
    Session &session(const QUuid &server) const { return *m_sessions.at(server); }
    void follow(const QUuid &server, Session &session);
    void restyle();
    void stepFontSize(int step);

    SettingsStore &m_settings;
    Runner::Environment m_environment;
    std::map<QUuid, std::unique_ptr<Session>> m_sessions;
    QList<QUuid> m_order;
};

} // namespace moorix
