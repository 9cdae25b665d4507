// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/SSHTerminalView.h"

#include "files/Format.h"
#include "ui/ElidedLabel.h"
#include "ui/MessageBar.h"
#include "ui/Widgets.h"
#include "ui/terminal/TerminalSessionManager.h"
#include "ui/terminal/TerminalView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

SSHTerminalView::SSHTerminalView(TerminalSessionManager &sessions, ServerConnection server, Options options,
                                 QWidget *parent)
    : QWidget(parent)
    , m_sessions(sessions)
    , m_server(std::move(server))
    , m_options(options)
    , m_column(new QVBoxLayout(this))
    , m_buttons(new QWidget(this))
    , m_question(new MessageBar(this))
    , m_end(new MessageBar(this))
    , m_connecting(Widgets::label(tr("Connecting…"), Widgets::TextRole::muted, this))
{
    setObjectName(u"sshTerminalView"_s);
    makeButtons();
    m_connecting->setObjectName(u"terminalConnecting"_s);
    m_connecting->setContentsMargins(12, 6, 12, 6);
    m_end->setObjectName(u"terminalEndBar"_s);
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(0);
    if (options.showsHeader)
        m_column->addWidget(makeHeader());
    m_column->addWidget(m_question);
    m_column->addWidget(m_connecting);
    m_column->addWidget(m_end);
    connect(&sessions, &TerminalSessionManager::sessionChanged, this, [this](const QUuid &changed) {
        if (changed == m_server.id)
            followState();
    });
    connect(m_question, &MessageBar::dismissed, this, &SSHTerminalView::focusContent);
    connect(m_end, &MessageBar::dismissed, this, &SSHTerminalView::focusContent);
    attach();
}

SSHTerminalView::~SSHTerminalView()
{
    detach();
}

QWidget *SSHTerminalView::makeHeader()
{
    auto *header = new QWidget(this);
    header->setObjectName(u"terminalHeader"_s);
    header->setAttribute(Qt::WA_StyledBackground);
    m_title = new ElidedLabel(Qt::ElideMiddle, header);
    m_title->setObjectName(u"terminalTitle"_s);
    m_title->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(12, 3, 6, 3);
    row->setSpacing(8);
    row->addWidget(m_title, 1);
    row->addWidget(m_buttons);
    return header;
}

QToolButton *SSHTerminalView::addButton(const QString &iconName, const QString &toolTip, const QString &objectName)
{
    QToolButton *button = Widgets::iconButton(iconName, toolTip, objectName, m_buttons);
    button->setFocusPolicy(Qt::NoFocus);
    m_buttons->layout()->addWidget(button);
    return button;
}

void SSHTerminalView::makeButtons()
{
    auto *row = new QHBoxLayout(m_buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    connect(addButton(u"go-jump"_s, tr("Go to the pane's folder"), u"terminalGoToFolder"_s), &QToolButton::clicked,
            this, &SSHTerminalView::goToPaneFolderRequested);
    connect(addButton(u"folder-open"_s, tr("Open the terminal's folder in the pane"), u"terminalOpenFolder"_s),
            &QToolButton::clicked, this, &SSHTerminalView::openFolderRequested);
    m_reconnect = addButton(u"view-refresh"_s, tr("Reconnect"), u"terminalReconnect"_s);
    connect(m_reconnect, &QToolButton::clicked, this, [this] { m_sessions.restart(m_server.id); });
    if (m_options.docked) {
        connect(addButton(u"window-new"_s, tr("Open this terminal in its own window"), u"terminalPopOut"_s),
                &QToolButton::clicked, this, &SSHTerminalView::popOutRequested);
    }
    connect(addButton(u"window-close"_s, tr("Close this terminal"), u"terminalClose"_s), &QToolButton::clicked, this,
            &SSHTerminalView::requestClose);
}

QString SSHTerminalView::title() const
{
    return m_sessions.has(m_server.id) ? m_sessions.titleOf(m_server.id) : Format::display(m_server.displayName());
}

TerminalView *SSHTerminalView::terminal() const
{
    return m_view;
}

void SSHTerminalView::attach()
{
    TerminalSessionManager::TerminalScreen screen;
    static_cast<TerminalSessionManager::Style &>(screen) = m_sessions.style();
    screen.server = m_server;
    m_view = &m_sessions.view(screen);
    m_column->insertWidget(m_column->indexOf(m_end), m_view, 1);
    m_view->show();
    setFocusProxy(m_view);
    followState();
}

void SSHTerminalView::detach()
{
    // Whoever took it meanwhile keeps it.
    if (!m_view || m_view->parentWidget() != this)
        return;
    m_column->removeWidget(m_view);
    m_view->hide();
    m_view->setParent(nullptr);
    m_view = nullptr;
}

void SSHTerminalView::focusContent()
{
    if (m_view)
        m_view->setFocus();
}

void SSHTerminalView::followState()
{
    if (!m_sessions.has(m_server.id) || !m_view)
        return;
    const Runner &runner = m_sessions.runnerOf(m_server.id);
    const bool hasEnded = m_sessions.hasEnded(m_server.id);
    m_connecting->setVisible(runner.isPreparing());
    m_reconnect->setVisible(hasEnded);
    if (hasEnded && m_end->isHidden()) {
        m_end->offer(runner.isLocal() ? tr("The shell has ended.") : tr("The connection has ended."),
                     runner.isLocal() ? tr("Start again") : tr("Reconnect"), MessageBar::Tone::information, [this] {
                         m_sessions.restart(m_server.id);
                         focusContent();
                     });
        m_question->dismiss();
    } else if (!hasEnded) {
        m_end->dismiss();
    }
    if (m_title)
        m_title->setText(title());
    emit titleChanged();
}

void SSHTerminalView::requestClose()
{
    if (!m_sessions.has(m_server.id))
        return;
    if (!m_sessions.isBusy(m_server.id)) {
        close();
        return;
    }
    m_question->ask(m_server.id == ServerConnection::localTerminalID
                        ? tr("A program is running in this terminal and ends with it.")
                        : tr("What runs on the server in this terminal ends with it."),
                    tr("Close"), MessageBar::Tone::warning, [this] { close(); });
}

void SSHTerminalView::close()
{
    const std::function<void()> closed = onClose;
    m_view = nullptr;
    setFocusProxy(nullptr);
    m_sessions.terminate(m_server.id);
    // The session's end may have been the end of this object.
    if (closed)
        closed();
}

void SSHTerminalView::tell(const QString &sentence)
{
    m_question->tell(sentence, MessageBar::Tone::warning);
}

void SSHTerminalView::offer(const QString &sentence, const QString &buttonText, std::function<void()> pressed)
{
    m_question->offer(sentence, buttonText, MessageBar::Tone::information, std::move(pressed));
}

} // namespace moorix
