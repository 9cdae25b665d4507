// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalDock.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"
#include "ui/terminal/SSHTerminalView.h"
#include "ui/terminal/TerminalSessionManager.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QMenu>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace moorix {

TerminalDock::TerminalDock(TerminalSessionManager &sessions, QWidget *parent)
    : QWidget(parent)
    , m_sessions(sessions)
    , m_tabs(new QTabBar(this))
    , m_screens(new QStackedWidget(this))
    , m_buttons(new QStackedWidget(this))
{
    setObjectName(u"terminalDock"_s);
    setAttribute(Qt::WA_StyledBackground);
    setMinimumHeight(110);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeBar());
    column->addWidget(m_screens, 1);
    connect(m_tabs, &QTabBar::currentChanged, this, &TerminalDock::showIndex);
    connect(&sessions, &TerminalSessionManager::sessionsChanged, this, &TerminalDock::followSessions);
    followSessions();
}

TerminalDock::~TerminalDock()
{
    m_sessions.disconnect(this);
    m_tabs->disconnect(this);
}

QWidget *TerminalDock::makeBar()
{
    auto *bar = new QWidget(this);
    bar->setObjectName(u"terminalBar"_s);
    bar->setAttribute(Qt::WA_StyledBackground);
    m_tabs->setObjectName(u"terminalTabs"_s);
    m_tabs->setExpanding(false);
    m_tabs->setDrawBase(false);
    m_tabs->setElideMode(Qt::ElideRight);
    m_tabs->setUsesScrollButtons(true);
    m_tabs->setFocusPolicy(Qt::NoFocus);
    m_tabs->installEventFilter(this);
    QToolButton *add = Widgets::iconButton(u"list-add"_s, tr("New terminal"), u"newTerminal"_s, bar);
    add->setFocusPolicy(Qt::NoFocus);
    add->setPopupMode(QToolButton::InstantPopup);
    auto *menu = new QMenu(add);
    menu->setObjectName(u"newTerminalMenu"_s);
    add->setMenu(menu);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        menu->clear();
        emit newMenuOpens(menu);
    });
    QToolButton *hide = Widgets::iconButton(u"go-down"_s, tr("Hide the terminals (Ctrl+`)"), u"hideTerminals"_s, bar);
    hide->setFocusPolicy(Qt::NoFocus);
    connect(hide, &QToolButton::clicked, this, &TerminalDock::hideRequested);
    m_buttons->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 6, 0);
    row->setSpacing(2);
    row->addWidget(m_tabs, 0, Qt::AlignBottom);
    row->addWidget(add);
    row->addStretch(1);
    row->addWidget(m_buttons);
    row->addWidget(hide);
    return bar;
}

int TerminalDock::indexOf(const QUuid &server) const
{
    for (int index = 0; index < m_tabs->count(); ++index) {
        if (m_tabs->tabData(index).toUuid() == server)
            return index;
    }
    return -1;
}

void TerminalDock::followSessions()
{
    const auto isHere = [this](const QUuid &server) {
        return m_sessions.isHost(TerminalSessionManager::Host::dock, server) && !m_sessions.isInPane(server);
    };
    const bool hadAny = m_tabs->count() > 0;
    for (int index = m_tabs->count() - 1; index >= 0; --index) {
        if (!isHere(m_tabs->tabData(index).toUuid()))
            dropScreen(index);
    }
    for (const QUuid &server : m_sessions.servers()) {
        if (isHere(server) && indexOf(server) < 0)
            addScreen(server);
    }
    if (hadAny && m_tabs->count() == 0)
        emit emptied();
}

void TerminalDock::addScreen(const QUuid &server)
{
    auto *screen =
        new SSHTerminalView(m_sessions, m_sessions.serverOf(server), {.docked = true, .showsHeader = false}, m_screens);
    const QSignalBlocker blocker(m_tabs);
    const int index = m_tabs->addTab(QString());
    m_tabs->setTabData(index, server);
    m_tabs->setTabIcon(index, server == ServerConnection::localTerminalID
                                  ? Theme::icon(u"dialog-scripts"_s)
                                  : ServerLook::icon(m_sessions.serverOf(server)));
    m_screens->insertWidget(index, screen);
    m_buttons->insertWidget(index, screen->buttons());
    const auto showTitle = [this, screen, server] {
        m_tabs->setTabText(indexOf(server), screen->title().replace(u'&', QLatin1String("&&")));
        m_tabs->setTabToolTip(indexOf(server), Widgets::toolTip(screen->title()));
    };
    connect(screen, &SSHTerminalView::titleChanged, this, showTitle);
    connect(screen, &SSHTerminalView::popOutRequested, this, [this, server] { emit popOutRequested(server); });
    connect(screen, &SSHTerminalView::goToPaneFolderRequested, this,
            [this, server] { emit goToPaneFolderRequested(server); });
    connect(screen, &SSHTerminalView::openFolderRequested, this, [this, server] { emit openFolderRequested(server); });
    showTitle();
    m_tabs->setCurrentIndex(index);
    showIndex(index);
}

void TerminalDock::dropScreen(int index)
{
    auto *screen = static_cast<SSHTerminalView *>(m_screens->widget(index));
    screen->disconnect(this);
    // Later: a button of the screen may have asked for its end.
    QWidget *buttons = screen->buttons();
    m_buttons->removeWidget(buttons);
    buttons->hide();
    buttons->setParent(screen);
    screen->detach();
    m_screens->removeWidget(screen);
    screen->hide();
    screen->deleteLater();
    {
        const QSignalBlocker blocker(m_tabs);
        m_tabs->removeTab(index);
    }
    showIndex(m_tabs->currentIndex());
}

void TerminalDock::showIndex(int index)
{
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    m_screens->setCurrentIndex(index);
    m_buttons->setCurrentIndex(index);
    if (hadFocus)
        focusContent();
}

void TerminalDock::showTerminal(const QUuid &server)
{
    m_tabs->setCurrentIndex(indexOf(server));
}

SSHTerminalView *TerminalDock::current() const
{
    return static_cast<SSHTerminalView *>(m_screens->currentWidget());
}

SSHTerminalView *TerminalDock::screen(const QUuid &server) const
{
    return static_cast<SSHTerminalView *>(m_screens->widget(indexOf(server)));
}

void TerminalDock::focusContent()
{
    if (SSHTerminalView *screen = current())
        screen->focusContent();
}

bool TerminalDock::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_tabs && event->type() == QEvent::MouseButtonRelease) {
        const auto *click = static_cast<QMouseEvent *>(event);
        const int index = m_tabs->tabAt(click->position().toPoint());
        if (click->button() == Qt::MiddleButton && index >= 0) {
            m_tabs->setCurrentIndex(index);
            current()->requestClose();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace moorix
