// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <optional>

class QLabel;
class QToolButton;
class QVBoxLayout;

namespace moorix {

class ElidedLabel;
class MessageBar;
class TerminalSessionManager;
class TerminalView;

/// The screen around the terminal of one server, or of this computer: a header with its name and buttons, questions,
/// and what is left to do once its program has ended. Shows the session's view; gives it back when it goes. Main
/// thread; the sessions outlive it.
class SSHTerminalView final : public QWidget
{
    Q_OBJECT

public:
    struct Options
    {
        /// In the main window rather than in one of its own.
        bool docked = true;
        /// Otherwise `buttons` are for somebody else to show.
        bool showsHeader = true;
    };

    SSHTerminalView(TerminalSessionManager &sessions, ServerConnection server, Options options,
                    QWidget *parent = nullptr);
    ~SSHTerminalView() override;

    const ServerConnection &server() const { return m_server; }
    /// Null while the terminal is shown elsewhere.
    TerminalView *terminal() const;
    QString title() const;
    /// The buttons of the header.
    QWidget *buttons() const { return m_buttons; }
    /// Takes the session's view from whoever shows it.
    void attach();
    /// Lets go of the view, for another screen.
    void detach();
    void focusContent();
    /// Closes the terminal; asks first where a program would be ended by that.
    void requestClose();
    /// A sentence above the terminal.
    void tell(const QString &sentence);
    /// A sentence with a button that need not be pressed.
    void offer(const QString &sentence, const QString &buttonText, std::function<void()> pressed);

    /// The terminal is closed; called once its session has been ended.
    std::function<void()> onClose;

signals:
    void titleChanged();
    void popOutRequested();
    void goToPaneFolderRequested();
    void openFolderRequested();

private:
    QWidget *makeHeader();
    void makeButtons();
    QToolButton *addButton(const QString &iconName, const QString &toolTip, const QString &objectName);
    void followState();
    void close();

    TerminalSessionManager &m_sessions;
    ServerConnection m_server;
    Options m_options;
    QPointer<TerminalView> m_view;
    QVBoxLayout *m_column;
    ElidedLabel *m_title = nullptr;
    QWidget *m_buttons;
    QToolButton *m_reconnect = nullptr;
    MessageBar *m_question;
    MessageBar *m_end;
    QLabel *m_connecting;
};

} // namespace moorix
