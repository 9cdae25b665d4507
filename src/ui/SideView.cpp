// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SideView.h"

#include "app/Comparison.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "settings/SettingsStore.h"
#include "transfers/TransferEngine.h"
#include "ui/QuickConnectBar.h"
#include "ui/SessionView.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHBoxLayout>
#include <QMenu>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolButton>

namespace moorix {

namespace {

/// By itself a tab bar is at least as wide as its scroll buttons, shown or not, and leaves a gap behind a short tab.
class SideTabBar final : public QTabBar
{
public:
    using QTabBar::QTabBar;
    QSize minimumSizeHint() const override { return {60, QTabBar::minimumSizeHint().height()}; }

protected:
    /// A short title may be narrower than its own abbreviation, for which the bar would want to scroll.
    QSize minimumTabSizeHint(int index) const override
    {
        return QTabBar::minimumTabSizeHint(index).boundedTo(tabSizeHint(index));
    }
};

} // namespace

SideView::SideView(AppModel &model, WindowTerminals &terminals, Side side, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_terminals(terminals)
    , m_side(side)
    , m_tabs(model.tabs(side))
    , m_bar(new SideTabBar(this))
    , m_quickConnect(new QuickConnectBar(model, m_tabs, this))
    , m_stack(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("sideView"));
    setAttribute(Qt::WA_StyledBackground);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_quickConnect);
    column->addWidget(m_stack, 1);

    connect(m_quickConnect, &QuickConnectBar::keyboardReleased, this, &SideView::focusContent);
    connect(&m_tabs, &PaneTabs::sessionsChanged, this, &SideView::followSessions);
    connect(&m_tabs, &PaneTabs::currentChanged, this, &SideView::followCurrent);
    connect(&model.transfers(), &TransferEngine::listChanged, this, &SideView::followTransfers);
    connect(&model.transfers(), &TransferEngine::transferChanged, this, &SideView::followTransfers);
    // Whatever takes the keyboard inside a side makes it the active one.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        if (now && isAncestorOf(now))
            m_model.setActiveSide(m_side);
    });
    followSessions();
    followCurrent();
}

SideView::~SideView()
{
    // The tab bar and the stack still emit while they go.
    m_bar->disconnect(this);
}

QWidget *SideView::makeHeader()
{
    auto *header = new QWidget(this);
    header->setObjectName(QStringLiteral("sideHeader"));
    header->setAttribute(Qt::WA_StyledBackground);
    m_bar->setObjectName(QStringLiteral("sideTabs"));
    m_bar->setMovable(true);
    m_bar->setExpanding(false);
    m_bar->setDrawBase(false);
    m_bar->setElideMode(Qt::ElideMiddle);
    m_bar->setUsesScrollButtons(true);
    // What is dragged gets to folders that another tab shows.
    m_bar->setChangeCurrentOnDrag(true);
    m_bar->setFocusPolicy(Qt::NoFocus);
    m_bar->setContextMenuPolicy(Qt::CustomContextMenu);
    m_bar->installEventFilter(this);
    QToolButton *add =
        Widgets::iconButton(QStringLiteral("list-add"), tr("New tab (Ctrl+T)"), QStringLiteral("newTab"), header);
    add->setFocusPolicy(Qt::NoFocus);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 6, 0);
    row->setSpacing(2);
    row->addWidget(m_bar, 0, Qt::AlignBottom);
    row->addWidget(add);
    row->addStretch(1);

    connect(m_bar, &QTabBar::currentChanged, this, [this](int index) { m_tabs.setCurrentIndex(index); });
    connect(m_bar, &QTabBar::tabMoved, this, [this](int from, int to) { m_tabs.moveTab(from, to); });
    connect(m_bar, &QTabBar::tabBarClicked, this, [this] { m_model.setActiveSide(m_side); });
    connect(m_bar, &QWidget::customContextMenuRequested, this, &SideView::showTabMenu);
    connect(add, &QToolButton::clicked, this, &SideView::openNewTab);
    return header;
}

SessionView *SideView::currentView() const
{
    return m_views.value(&m_tabs.current());
}

void SideView::focusContent()
{
    if (SessionView *view = currentView())
        view->focusContent();
}

void SideView::setActive(bool isActive)
{
    Widgets::setStyleProperty(*this, "active", isActive);
    Widgets::setStyleProperty(*m_bar, "active", isActive);
}

void SideView::offerConnection(const QString &address)
{
    m_quickConnect->offer(address);
}

void SideView::openNewTab()
{
    m_model.setActiveSide(m_side);
    const Session &current = m_tabs.current();
    const bool isLocal = current.pane() && current.pane()->isLocal() && !current.pane()->currentPath().isEmpty();
    m_tabs.openLocal(isLocal ? current.pane()->currentPath() : m_model.settings().defaultLocalPath.value());
    focusContent();
}

void SideView::followSessions()
{
    const QSignalBlocker blocker(m_bar);
    const QList<Session *> &sessions = m_tabs.sessions();
    for (const auto &[session, view] : QHash(m_views).asKeyValueRange()) {
        if (sessions.contains(session))
            continue;
        // The view itself may have asked for its end, so it goes later, still before its session does.
        m_stack->removeWidget(view);
        view->hide();
        view->deleteLater();
        session->disconnect(this);
        m_views.remove(session);
        m_badges.remove(session);
    }
    while (m_bar->count() > sessions.size())
        m_bar->removeTab(m_bar->count() - 1);
    while (m_bar->count() < sessions.size())
        addTab();
    for (int index = 0; index < sessions.size(); ++index) {
        Session *session = sessions.at(index);
        if (!m_views.contains(session)) {
            m_views.insert(session, makeView(*session));
            m_stack->addWidget(m_views.value(session));
        }
        updateTab(index);
    }
    m_bar->setCurrentIndex(int(m_tabs.currentIndex()));
}

void SideView::addTab()
{
    const int index = m_bar->addTab(QString());
    auto *close = new QToolButton(m_bar);
    close->setObjectName(QStringLiteral("closeTab"));
    close->setText(QStringLiteral("×"));
    close->setToolTip(tr("Close tab"));
    close->setAccessibleName(tr("Close tab"));
    close->setFocusPolicy(Qt::NoFocus);
    m_bar->setTabButton(index, QTabBar::RightSide, close);
    connect(close, &QToolButton::clicked, this, [this, close] {
        for (int tab = 0; tab < m_bar->count(); ++tab) {
            if (m_bar->tabButton(tab, QTabBar::RightSide) == close)
                return m_tabs.close(tab);
        }
    });
}

/// Progress comes many times a second; a tab is drawn anew only when its dot changes.
void SideView::followTransfers()
{
    for (int index = 0; index < m_tabs.sessions().size(); ++index) {
        Session *session = m_tabs.sessions().at(index);
        if (m_badges.value(session) != TransferBadge::of(*session, m_model.transfers()))
            updateTab(index);
    }
}

void SideView::followCurrent()
{
    SessionView *view = currentView();
    if (!view)
        return;
    const QSignalBlocker blocker(m_bar);
    m_bar->setCurrentIndex(int(m_tabs.currentIndex()));
    // Looked up before the switch: hiding the old content moves the focus to anywhere.
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    m_stack->setCurrentWidget(view);
    if (hadFocus)
        view->focusContent();
}

void SideView::updateTab(int index)
{
    const Session &session = *m_tabs.sessions().at(index);
    m_bar->setTabText(index, session.title().replace(u'&', QLatin1String("&&")));
    const TransferBadge badge = TransferBadge::of(session, m_model.transfers());
    m_badges.insert(m_tabs.sessions().at(index), badge);
    if (session.mode() == PaneMode::local)
        m_bar->setTabIcon(index, badge.on(Theme::icon(QStringLiteral("folder"))));
    else if (session.mode() == PaneMode::terminal)
        m_bar->setTabIcon(index, Theme::icon(QStringLiteral("dialog-scripts")));
    else if (session.server())
        m_bar->setTabIcon(index, badge.on(ServerLook::icon(*session.server())));
    else
        m_bar->setTabIcon(index, Theme::icon(QStringLiteral("network-server")));
    const QStringList facts{Format::display(session.folder()), badge.text()};
    const QString told = facts.join(u'\n').trimmed();
    m_bar->setTabToolTip(index, told.isEmpty() ? QString() : Widgets::toolTip(told));
    // A bar that is not shown yet keeps the new width to itself.
    m_bar->updateGeometry();
}

SessionView *SideView::makeView(Session &session)
{
    auto *view = new SessionView(m_model, m_terminals, m_side, session, this);
    connect(view, &SessionView::editServerRequested, this, &SideView::editServerRequested);
    connect(view, &SessionView::disconnectRequested, this, &SideView::disconnectRequested);
    connect(view, &SessionView::newServerRequested, this, &SideView::newServerRequested);
    connect(view, &SessionView::importRequested, this, &SideView::importRequested);
    connect(view, &SessionView::archiveRequested, this, &SideView::archiveRequested);
    connect(view, &SessionView::editRequested, this, &SideView::editRequested);
    connect(view, &SessionView::comparisonRequested, this, &SideView::comparisonRequested);
    const auto update = [this, &session] {
        const qsizetype index = m_tabs.sessions().indexOf(&session);
        if (index >= 0)
            updateTab(int(index));
    };
    connect(&session, &Session::titleChanged, this, update);
    connect(&session, &Session::stateChanged, this, update);
    return view;
}

void SideView::showTabMenu(const QPoint &position)
{
    const int index = m_bar->tabAt(position);
    if (index < 0)
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("New tab"), this, &SideView::openNewTab);
    menu->addAction(tr("Close tab"), this, [this, index] { m_tabs.close(index); });
    QAction *closeOthers = menu->addAction(tr("Close other tabs"), this, [this, index] {
        for (qsizetype other = m_tabs.sessions().size() - 1; other >= 0; --other) {
            if (other != index)
                m_tabs.close(other);
        }
    });
    closeOthers->setEnabled(m_bar->count() > 1);
    menu->popup(m_bar->mapToGlobal(position));
}

void SideView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // Icons with a dot do not follow the theme by themselves.
    if (event->type() == QEvent::StyleChange && m_bar->count() == m_tabs.sessions().size()) {
        for (int index = 0; index < m_bar->count(); ++index)
            updateTab(index);
    }
}

bool SideView::focusNextPrevChild(bool next)
{
    // Tab in a list changes sides, as in every two-pane manager; elsewhere it walks through the fields.
    if (qobject_cast<QAbstractItemView *>(QApplication::focusWidget())) {
        m_model.setActiveSide(otherSide(m_side));
        return true;
    }
    return QWidget::focusNextPrevChild(next);
}

bool SideView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_bar && event->type() == QEvent::MouseButtonRelease) {
        const auto *click = static_cast<QMouseEvent *>(event);
        const int index = m_bar->tabAt(click->position().toPoint());
        if (click->button() == Qt::MiddleButton && index >= 0) {
            m_tabs.close(index);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace moorix
