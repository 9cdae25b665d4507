// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/HostColumn.h"

#include "files/Format.h"
#include "ui/ElidedLabel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/monitor/CoreBars.h"
#include "ui/monitor/HistoryGraph.h"
#include "ui/monitor/HostText.h"
#include "ui/monitor/MonitorCard.h"
#include "ui/monitor/TopProcesses.h"
#include "ui/monitor/UsageBar.h"
#include "ui/servers/ServerLook.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QResizeEvent>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using Figure = MonitoredHost::Figure;
using Widgets::TextRole;

namespace {

constexpr int gap = 10;
/// What a row of cards is divided into.
constexpr int wholeRow = 6;

} // namespace

HostColumn::HostColumn(MonitoredHost &host, QWidget *parent)
    : QWidget(parent)
    , m_host(host)
{
    setObjectName(u"hostColumn"_s);
    setAccessibleName(Format::display(host.title()));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(gap);
    column->addWidget(makeHeader());
    column->addWidget(makeMessage());
    m_body = new QWidget(this);
    m_grid = new QGridLayout(m_body);
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(gap);
    makeCards();
    column->addWidget(m_body);
    column->addStretch();
    connect(&m_host, &MonitoredHost::changed, this, &HostColumn::refresh);
    refresh();
}

QWidget *HostColumn::makeHeader()
{
    auto *header = new QWidget(this);
    constexpr int height = 28;
    header->setFixedHeight(height);
    auto *icon = new QLabel(header);
    const QIcon look = m_host.server() ? ServerLook::icon(*m_host.server()) : Theme::icon(u"computer"_s);
    icon->setPixmap(look.pixmap(QSize(16, 16), devicePixelRatioF()));
    auto *name = new ElidedLabel(Qt::ElideRight, header);
    name->setProperty("role", u"heading"_s);
    name->setObjectName(u"hostName"_s);
    name->setText(Format::display(m_host.title()));
    m_subtitle = new ElidedLabel(Qt::ElideRight, header);
    m_subtitle->setProperty("role", u"muted"_s);
    m_stale = Widgets::label({}, TextRole::body, header);
    m_stale->setObjectName(u"hostStale"_s);
    m_stale->setWordWrap(false);
    m_stale->setProperty("tone", u"warning"_s);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(2, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(icon);
    row->addWidget(name);
    row->addWidget(m_subtitle, 1);
    row->addWidget(m_stale);
    name->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    if (m_host.server()) {
        QToolButton *remove = Widgets::iconButton(
            u"window-close"_s, tr("Take “%1” off the dashboard").arg(Format::display(m_host.title())), u"hostRemove"_s,
            header);
        connect(remove, &QToolButton::clicked, this, &HostColumn::removeRequested);
        row->addWidget(remove);
    }
    return header;
}

QWidget *HostColumn::makeMessage()
{
    auto *frame = new QFrame(this);
    frame->setProperty("role", u"note"_s);
    m_messageTitle = Widgets::label({}, TextRole::body, frame);
    m_messageTitle->setProperty("role", u"title"_s);
    m_messageTitle->setObjectName(u"hostMessageTitle"_s);
    m_messageText = Widgets::label({}, TextRole::muted, frame);
    m_messageText->setObjectName(u"hostMessageText"_s);
    m_messageText->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *column = new QVBoxLayout(frame);
    column->setContentsMargins(14, 10, 14, 10);
    column->setSpacing(4);
    column->addWidget(m_messageTitle);
    column->addWidget(m_messageText);
    m_connect = Widgets::button(tr("Connect"), u"hostConnect"_s, frame);
    connect(m_connect, &QPushButton::clicked, this, [this] { m_host.setDisconnected(false); });
    column->addSpacing(4);
    column->addWidget(m_connect, 0, Qt::AlignLeft);
    m_message = frame;
    return frame;
}

MonitorCard *HostColumn::addCard(const QString &title, const QString &objectName)
{
    auto *card = new MonitorCard(title, objectName, m_body);
    m_cards << card;
    return card;
}

HistoryGraph *HostColumn::addGraph(MonitorCard &card, QList<Figure> figures)
{
    const bool isRate = figures.size() > 1;
    QList<HistoryGraph::Series> series;
    for (const Figure figure : figures) {
        const QString label = figure == Figure::received ? u"↓"_s : figure == Figure::sent ? u"↑"_s : QString();
        series << HistoryGraph::Series{&m_host.history(figure),
                                       figure == Figure::sent ? Theme::Color::success : Theme::Color::accent, label};
    }
    HistoryGraph::Options options;
    options.longestStepMsecs = m_host.longestStepMsecs();
    constexpr double hundred = 100;
    if (!isRate)
        options.ceiling = hundred;
    options.text = isRate ? [](double value) { return monitorText::rate(value); }
                          : [](double value) { return monitorText::percent(value / 100); };
    auto *graph = new HistoryGraph(std::move(series), std::move(options), &card);
    card.addContent(graph, 1);
    m_graphs << graph;
    return graph;
}

void HostColumn::makeCards()
{
    m_load = addCard(tr("CPU Load"), u"cardLoad"_s);
    addGraph(*m_load, {Figure::cpu})->setAccessibleName(tr("CPU over time"));
    m_memory = addCard(tr("Memory"), u"cardMemory"_s);
    addGraph(*m_memory, {Figure::memory})->setAccessibleName(tr("Memory over time"));
    m_disk = addCard(tr("Disk (/)"), u"cardDisk"_s);
    m_diskBar = new UsageBar(m_disk);
    m_disk->addContent(m_diskBar, 0);
    m_otherDisks = Widgets::label({}, TextRole::muted, m_disk);
    m_otherDisks->setObjectName(u"otherDisks"_s);
    m_disk->addContent(m_otherDisks, 0);
    m_uptime = addCard(tr("Uptime"), u"cardUptime"_s);
    m_processes = addCard(tr("Processes"), u"cardProcesses"_s);
    for (MonitorCard *card : {m_uptime, m_processes})
        card->setParts({3, 3, 2});
    m_cores = addCard(tr("Cores"), u"cardCores"_s);
    if (m_host.isLocal()) {
        m_coreBars = new CoreBars(m_cores);
        m_cores->addContent(m_coreBars, 1);
    } else {
        m_loadBar = new UsageBar(m_cores);
        m_cores->addContent(m_loadBar, 0);
        // As tall as the bars of this computer's cores.
        static_cast<QVBoxLayout *>(m_cores->layout())->addSpacing(CoreBars::tallness - m_loadBar->sizeHint().height());
    }
    m_topCard = addCard(tr("Top Processes"), u"cardTop"_s);
    m_topCard->setParts({6, 6, 4});
    m_top = new TopProcesses(m_topCard);
    m_topCard->addContent(m_top, 1);
    if (m_host.isLocal())
        makeLocalCards();
    for (MonitorCard *card : std::as_const(m_cards)) {
        if (card != m_load && card != m_memory && card != m_topCard && card != m_network)
            static_cast<QVBoxLayout *>(card->layout())->addStretch(0);
    }
}

void HostColumn::makeLocalCards()
{
    m_network = addCard(tr("Network"), u"cardNetwork"_s);
    addGraph(*m_network, {Figure::received, Figure::sent})->setAccessibleName(tr("Network over time"));
    m_disks = addCard(tr("Disks"), u"cardDisks"_s);
    auto *lines = Widgets::label({}, TextRole::muted, m_disks);
    lines->setObjectName(u"diskLines"_s);
    m_disks->addContent(lines, 0);
    m_sensors = addCard(tr("Sensors"), u"cardSensors"_s);
    m_sensors->setParts({6, 6, 6});
    m_disks->hide();
    m_sensors->hide();
}

void HostColumn::setNeighbours(int count)
{
    m_isAlone = count == 0;
    m_mostColumns = std::max(3 - count, 1);
    auto *column = static_cast<QVBoxLayout *>(layout());
    column->setStretch(column->indexOf(m_body), m_isAlone ? 1 : 0);
    column->setStretch(column->count() - 1, m_isAlone ? 0 : 1);
    refresh();
    arrange();
}

int HostColumn::firstRowHeight() const
{
    int height = 0;
    for (const MonitorCard *card : {m_load, m_memory}) {
        if (m_host.stats() && (card == m_load || m_columns > 1))
            height = std::max(height, card->layout()->totalHeightForWidth(card->width()));
    }
    return height;
}

void HostColumn::setFirstRowHeight(int height)
{
    m_grid->setRowMinimumHeight(0, height);
}

void HostColumn::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrange();
    emit heightChanged();
}

QList<MonitorCard *> HostColumn::shownCards(int columns) const
{
    QList<MonitorCard *> cards = m_cards;
    if (!m_showsDisks)
        cards.removeOne(m_disks);
    if (!m_showsSensors)
        cards.removeOne(m_sensors);
    // What is of the same height everywhere comes first.
    if (columns == 1)
        cards.move(cards.indexOf(m_topCard), cards.indexOf(m_cores));
    return cards;
}

void HostColumn::arrange()
{
    constexpr int twoFrom = 470;
    constexpr int threeFrom = 840;
    const int fitting = width() >= threeFrom ? 3 : width() >= twoFrom ? 2 : 1;
    const int columns = std::min(fitting, m_mostColumns);
    const QList<MonitorCard *> cards = shownCards(columns);
    if (columns == m_columns && cards == m_shown)
        return;
    m_columns = columns;
    m_shown = cards;
    for (MonitorCard *card : std::as_const(m_cards))
        m_grid->removeWidget(card);
    int row = 0;
    int used = 0;
    for (qsizetype i = 0; i < cards.size(); ++i) {
        const int parts = cards.at(i)->parts(columns);
        if (used + parts > wholeRow) {
            ++row;
            used = 0;
        }
        const bool isLastOfRow = i + 1 == cards.size() || used + parts + cards.at(i + 1)->parts(columns) > wholeRow;
        m_grid->addWidget(cards.at(i), row, used, 1, isLastOfRow ? wholeRow - used : parts);
        used += parts;
    }
    for (int part = 0; part < wholeRow; ++part)
        m_grid->setColumnStretch(part, 1);
    for (int each = 0; each < m_grid->rowCount(); ++each)
        m_grid->setRowStretch(each, 0);
    for (QWidget *card : {static_cast<QWidget *>(m_load), static_cast<QWidget *>(m_topCard)}) {
        int cardRow = 0;
        int column = 0;
        int rows = 0;
        int wide = 0;
        m_grid->getItemPosition(m_grid->indexOf(card), &cardRow, &column, &rows, &wide);
        m_grid->setRowStretch(cardRow, 1);
    }
}

void HostColumn::refresh()
{
    showState();
    if (!m_host.stats())
        return;
    showFigures(*m_host.stats());
    if (const LocalStats *local = m_host.localStats())
        showLocal(*local);
    showAlerts();
    for (HistoryGraph *graph : std::as_const(m_graphs))
        graph->update();
}

void HostColumn::showState()
{
    const HostText::Message message = HostText::message(m_host);
    m_messageTitle->setText(message.title);
    m_messageText->setText(message.text);
    m_messageText->setVisible(!message.text.isEmpty());
    m_connect->setVisible(message.offersConnecting);
    m_message->setVisible(!message.title.isEmpty());
    Widgets::setStyleProperty(*m_message, "tone", message.isFailure ? u"warning"_s : QString());
    m_body->setVisible(m_host.stats().has_value());
    const auto stale = m_host.staleSince();
    m_stale->setText(stale ? tr("stale since %1").arg(stale->toLocalTime().toString(u"HH:mm"_s)) : QString());
    m_stale->setVisible(stale.has_value());
    Widgets::setStyleProperty(*m_body, "isStale", stale.has_value());
    m_subtitle->setText(m_host.stats() ? HostText::system(*m_host.stats()) : QString());
}

void HostColumn::showFigures(const RemoteStats &stats)
{
    m_load->setValue(monitorText::load(stats.load.mid(0, 1)));
    m_load->setDetails(tr("1, 5, 15 min: %1").arg(monitorText::load(stats.load)));
    m_memory->setValue(monitorText::percent(stats.memoryShare()));
    m_memory->setDetails(HostText::usedOf(stats.memUsedKB, stats.memTotalKB));
    m_disk->setValue(monitorText::percent(stats.diskShare()));
    m_disk->setDetails(HostText::usedOf(stats.diskUsedKB, stats.diskTotalKB));
    m_diskBar->setShare(stats.diskShare());
    if (!m_host.isLocal())
        m_otherDisks->hide();
    m_uptime->setValue(monitorText::uptime(stats.uptime));
    m_uptime->setDetails(HostText::bootTime(stats.uptime, m_host.readAt()));
    m_processes->setValue(monitorText::count(stats.processCount));
    m_cores->setValue(monitorText::count(stats.cores));
    if (m_loadBar) {
        const auto share = stats.loadShare();
        m_loadBar->setShare(share);
        m_cores->setDetails(share ? tr("load %1 for each core").arg(monitorText::load({*share})) : QString());
    }
    m_top->setProcesses(stats.topProcesses);
}

void HostColumn::showLocal(const LocalStats &stats)
{
    m_load->setValue(HostText::busy(stats.cpu));
    m_load->setDetails(HostText::cpuParts(stats));
    m_memory->setDetails(HostText::memory(stats));
    const auto network = stats.network();
    m_network->setValue(u"↓ "_s + monitorText::rate(network ? std::optional(network->in) : std::nullopt));
    m_network->setDetails(u"↑ "_s + monitorText::rate(network ? std::optional(network->out) : std::nullopt));
    const QString lines = HostText::disks(stats);
    m_otherDisks->setText(lines);
    m_otherDisks->setVisible(m_isAlone && !lines.isEmpty());
    m_disks->findChild<QLabel *>(u"diskLines"_s)->setText(lines);
    m_showsDisks = !m_isAlone && !lines.isEmpty();
    m_disks->setVisible(m_showsDisks);
    m_processes->setDetails(HostText::threads(stats));
    m_cores->setDetails(tr("load %1").arg(monitorText::load(stats.load)));
    m_coreBars->setCores(stats.cores);
    const QString sensors = HostText::sensors(stats);
    m_sensors->setDetails(sensors);
    m_showsSensors = !sensors.isEmpty();
    m_sensors->setVisible(m_showsSensors);
    arrange();
}

void HostColumn::showAlerts()
{
    QString cpu;
    QStringList memory;
    QString disk;
    for (const LoadWatch::Alert &alert : m_host.alerts()) {
        if (alert.resource == Resource::cpu)
            cpu = alert.text;
        else if (alert.resource == Resource::disk)
            disk = alert.text;
        else
            memory << alert.text;
    }
    m_load->setAlert(cpu);
    m_memory->setAlert(memory.join(u' '));
    m_disk->setAlert(disk);
    emit heightChanged();
}

} // namespace moorix
