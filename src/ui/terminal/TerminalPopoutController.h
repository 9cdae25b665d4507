// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"
#include "terminal/ShakeDetector.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>

class QLabel;

namespace moorix {

class SSHTerminalView;
class TerminalSessionManager;

/// A window of its own for one terminal, called "MoorixTerminalWindow-" and the server's id, which tells it from the
/// main window. It goes back into the main window by its button, or by being shaken by its title bar and let go.
/// Wayland never tells a window where it is, so there the button is the way. Main thread.
class TerminalPopoutController final : public QWidget
{
    Q_OBJECT

public:
    /// `mainWindow` outlives the controller; so do the sessions.
    TerminalPopoutController(TerminalSessionManager &sessions, const ServerConnection &server, QWidget &mainWindow);
    ~TerminalPopoutController() override;

    const QUuid &serverID() const { return m_server.id; }
    SSHTerminalView *screen() const { return m_container; }
    /// The window is at `x`, `now` seconds after any moment: what a move by the title bar comes to.
    void trackShake(double now, double x);
    bool isShakeArmed() const { return m_shakeArmed; }

signals:
    /// The terminal is wanted back in the main window.
    void attachRequested(const QUuid &server);

protected:
    void moveEvent(QMoveEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QWidget *makeHeader();
    void followTitle();
    void showHint();
    void hideHint();
    void startReleaseWatch();
    void checkRelease();
    void animateAttachBack();

    TerminalSessionManager &m_sessions;
    ServerConnection m_server;
    QWidget &m_mainWindow;
    SSHTerminalView *m_container;
    QLabel *m_title;
    ShakeDetector m_shakeSamples;
    bool m_shakeArmed = false;
    QPointer<QLabel> m_hintWindow;
    QTimer m_releaseWatch;
    QElapsedTimer m_sinceShown;
    QElapsedTimer m_sinceMove;
};

} // namespace moorix
