// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/MonitorArea.h"

#include "app/AppModel.h"
#include "app/Monitoring.h"
#include "files/Format.h"
#include "servers/ServerStore.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/monitor/HostColumn.h"
#include "ui/monitor/HostText.h"
#include "ui/monitor/ProcessPage.h"
#include "ui/servers/ServerLook.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

namespace {

constexpr int margin = 14;
constexpr int narrowestColumn = 300;

} // namespace

MonitorArea::MonitorArea(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(u"monitorArea"_s);
    setAttribute(Qt::WA_StyledBackground);
    m_processes = new ProcessPage(model.monitoring().local(), this);
    m_pages = new QStackedWidget(this);
    m_pages->addWidget(makeDashboard());
    m_pages->addWidget(m_processes);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeBar());
    column->addWidget(m_pages, 1);
    connect(&model.monitoring(), &Monitoring::hostsChanged, this, &MonitorArea::followHosts);
    followHosts();
    showPage(false);
}

QWidget *MonitorArea::makeBar()
{
    auto *bar = new QFrame(this);
    bar->setProperty("role", u"bar"_s);
    QLabel *name = Widgets::label(tr("Monitor"), TextRole::heading, bar);
    name->setWordWrap(false);
    const auto tab = [bar](const QString &text, const QString &objectName) {
        QPushButton *made = Widgets::button(text, objectName, bar);
        made->setProperty("role", u"chip"_s);
        made->setCheckable(true);
        made->setAutoExclusive(true);
        return made;
    };
    m_overviewTab = tab(tr("Overview"), u"monitorOverview"_s);
    m_processesTab = tab(tr("Processes"), u"monitorProcesses"_s);
    connect(m_overviewTab, &QPushButton::clicked, this, [this] { showPage(false); });
    connect(m_processesTab, &QPushButton::clicked, this, [this] { showPage(true); });
    m_serverMenu = new QMenu(this);
    m_serversButton = Widgets::button(tr("Servers"), u"monitorServers"_s, bar);
    m_serversButton->setIcon(Theme::icon(u"network-server"_s));
    m_serversButton->setToolTip(tr("Choose the servers that are shown"));
    m_serversButton->setMenu(m_serverMenu);
    connect(m_serverMenu, &QMenu::aboutToShow, this, &MonitorArea::fillServerMenu);
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins(margin, 9, margin, 9);
    row->setSpacing(8);
    row->addWidget(name);
    row->addSpacing(8);
    row->addWidget(m_overviewTab);
    row->addWidget(m_processesTab);
    row->addStretch(1);
    row->addWidget(m_serversButton);
    return bar;
}

QWidget *MonitorArea::makeDashboard()
{
    m_scroll = new QScrollArea(this);
    m_scroll->setObjectName(u"monitorScroll"_s);
    m_scroll->setProperty("role", u"page"_s);
    m_scroll->setWidgetResizable(true);
    m_scroll->setAccessibleName(tr("Monitored machines"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    auto *body = new QWidget(m_scroll);
    body->setProperty("role", u"pageBody"_s);
    auto *column = new QVBoxLayout(body);
    column->setContentsMargins(margin, 12, margin, margin);
    column->setSpacing(margin);
    m_row = new QHBoxLayout;
    m_row->setSpacing(margin);
    column->addLayout(m_row, 1);
    column->addWidget(makeInvitation());
    m_scroll->setWidget(body);
    return m_scroll;
}

QWidget *MonitorArea::makeInvitation()
{
    const HostText::Message message = HostText::noServer();
    auto *frame = new QFrame(this);
    frame->setProperty("role", u"card"_s);
    frame->setObjectName(u"noServer"_s);
    QLabel *title = Widgets::label(message.title, TextRole::heading, frame);
    title->setObjectName(u"noServerTitle"_s);
    QLabel *text = Widgets::label(message.text, TextRole::muted, frame);
    QPushButton *choose = Widgets::button(tr("Choose servers"), u"monitorChoose"_s, frame);
    connect(choose, &QPushButton::clicked, this, [this] { m_serversButton->showMenu(); });
    auto *words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(text);
    auto *row = new QHBoxLayout(frame);
    row->setContentsMargins(14, 11, 14, 11);
    row->setSpacing(margin);
    row->addLayout(words, 1);
    row->addWidget(choose);
    m_invitation = frame;
    return frame;
}

void MonitorArea::fillServerMenu()
{
    m_serverMenu->clear();
    QList<ServerConnection> servers = m_model.servers().library().servers;
    std::ranges::sort(servers, [](const ServerConnection &a, const ServerConnection &b) {
        return a.displayName().localeAwareCompare(b.displayName()) < 0;
    });
    const auto add = [this](const ServerConnection &server) {
        const QString name = Format::display(server.displayName()).replace(u'&', u"&&"_s);
        QAction *action = m_serverMenu->addAction(ServerLook::icon(server), name);
        action->setCheckable(true);
        action->setChecked(m_model.monitoring().isChosen(server.id));
        connect(action, &QAction::toggled, this,
                [this, id = server.id](bool isChosen) { m_model.monitoring().setChosen(id, isChosen); });
    };
    std::ranges::for_each(servers, add);
    const QList<ServerConnection> unsaved = m_model.monitoring().unsavedServers();
    if (!unsaved.isEmpty())
        m_serverMenu->addSection(tr("Connected, not saved"));
    std::ranges::for_each(unsaved, add);
    if (m_serverMenu->isEmpty())
        m_serverMenu->addAction(tr("No servers are saved"))->setEnabled(false);
}

void MonitorArea::followHosts()
{
    std::vector<MonitoredHost *> wanted{&m_model.monitoring().thisMachine()};
    for (const auto &host : m_model.monitoring().servers())
        wanted.push_back(host.get());
    QHash<const MonitoredHost *, HostColumn *> known;
    for (HostColumn *column : std::as_const(m_columns))
        known.insert(&column->host(), column);
    m_columns.clear();
    for (MonitoredHost *host : wanted) {
        HostColumn *column = known.take(host);
        if (!column) {
            column = new HostColumn(*host, this);
            connect(column, &HostColumn::heightChanged, this, &MonitorArea::alignFirstRows);
            connect(
                column, &HostColumn::removeRequested, this,
                // By then the host may be gone.
                [this, id = host->server().value_or(ServerConnection()).id] {
                    m_model.monitoring().setChosen(id, false);
                },
                Qt::QueuedConnection);
        }
        m_columns << column;
        m_row->addWidget(column, 1);
    }
    // Their hosts are gone already; they must not be painted once more.
    for (HostColumn *gone : std::as_const(known))
        delete gone;
    m_invitation->setVisible(m_columns.size() == 1);
    fitColumns();
}

void MonitorArea::fitColumns()
{
    for (HostColumn *column : std::as_const(m_columns)) {
        column->setMinimumWidth(narrowestColumn);
        column->setNeighbours(int(m_columns.size()) - 1);
    }
}

void MonitorArea::alignFirstRows()
{
    int height = 0;
    for (const HostColumn *column : std::as_const(m_columns))
        height = std::max(height, column->firstRowHeight());
    for (HostColumn *column : std::as_const(m_columns))
        column->setFirstRowHeight(height);
}

void MonitorArea::showPage(bool showsProcesses)
{
    m_pages->setCurrentIndex(showsProcesses ? 1 : 0);
    m_overviewTab->setChecked(!showsProcesses);
    m_processesTab->setChecked(showsProcesses);
    m_serversButton->setVisible(!showsProcesses);
    if (showsProcesses)
        m_processes->focusList();
}

void MonitorArea::showMonitor()
{
    emit shown();
    focusContent();
}

QString MonitorArea::title() const
{
    return tr("Monitor");
}

void MonitorArea::focusContent()
{
    if (m_pages->currentWidget() == m_processes)
        m_processes->focusList();
    else
        m_overviewTab->setFocus();
}

void MonitorArea::focusSearch()
{
    showPage(true);
    m_processes->focusSearch();
}

void MonitorArea::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    window()->installEventFilter(this);
    followVisibility();
}

void MonitorArea::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    followVisibility();
}

void MonitorArea::followVisibility()
{
    m_model.monitoring().setDashboardShown(isVisible() && !window()->isMinimized());
}

bool MonitorArea::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == window() && event->type() == QEvent::WindowStateChange)
        followVisibility();
    return QWidget::eventFilter(watched, event);
}

void MonitorArea::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit backRequested();
    else
        QWidget::keyPressEvent(event);
}

} // namespace moorix
