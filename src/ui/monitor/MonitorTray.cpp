// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/MonitorTray.h"

#include "app/AppModel.h"
#include "app/Monitoring.h"
#include "monitor/MonitorText.h"
#include "settings/SettingsStore.h"
#include "ui/Theme.h"

#include <QMenu>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr double hundred = 100;

std::optional<double> memoryShare(const LocalStats &stats)
{
    if (!stats.memory)
        return std::nullopt;
    return double(stats.memory->total - stats.memory->available) / double(stats.memory->total);
}

/// From 0 to 1, for the height of a bar.
std::optional<double> share(const LocalStats &stats, MonitorTray::Widget widget)
{
    switch (widget) {
    case MonitorTray::Widget::cpu:
        return stats.cpu ? std::optional(stats.cpu->busy() / hundred) : std::nullopt;
    case MonitorTray::Widget::memory:
        return memoryShare(stats);
    case MonitorTray::Widget::disk:
        return stats.rootDisk() && stats.rootDisk()->space ? std::optional(stats.rootDisk()->space->share())
                                                           : std::nullopt;
    case MonitorTray::Widget::network: {
        const auto network = stats.network();
        if (!network)
            return std::nullopt;
        // From 1 kB/s to 100 MB/s, each factor of ten taking as much room.
        constexpr double least = 3;
        constexpr double range = 5;
        return std::clamp((std::log10(std::max(network->in + network->out, 1.0)) - least) / range, 0.0, 1.0);
    }
    case MonitorTray::Widget::battery:
        return stats.battery ? std::optional(stats.battery->percent / hundred) : std::nullopt;
    }
    return std::nullopt;
}

QString line(const LocalStats &stats, MonitorTray::Widget widget)
{
    const QString percent = monitorText::percent(share(stats, widget));
    switch (widget) {
    case MonitorTray::Widget::cpu:
        return MonitorTray::tr("CPU %1").arg(percent);
    case MonitorTray::Widget::memory:
        return MonitorTray::tr("Memory %1").arg(percent);
    case MonitorTray::Widget::disk:
        return MonitorTray::tr("Disk (/) %1").arg(percent);
    case MonitorTray::Widget::network: {
        const auto network = stats.network();
        return MonitorTray::tr("Network ↓ %1 ↑ %2")
            .arg(monitorText::rate(network ? std::optional(network->in) : std::nullopt),
                 monitorText::rate(network ? std::optional(network->out) : std::nullopt));
    }
    case MonitorTray::Widget::battery:
        return stats.battery ? MonitorTray::tr("Battery %1").arg(percent) : QString();
    }
    return {};
}

Theme::Color colorOf(MonitorTray::Widget widget)
{
    switch (widget) {
    case MonitorTray::Widget::memory:
        return Theme::Color::success;
    case MonitorTray::Widget::disk:
        return Theme::Color::folder;
    case MonitorTray::Widget::network:
        return Theme::Color::warning;
    default:
        return Theme::Color::accent;
    }
}

} // namespace

MonitorTray::MonitorTray(AppModel &model, QObject *parent, std::function<bool()> hasTray)
    : QObject(parent)
    , m_model(model)
    , m_hasTray(std::move(hasTray))
{
    connect(&model.settings(), &SettingsStore::settingChanged, this, &MonitorTray::followSettings);
    connect(&model.monitoring().thisMachine(), &MonitoredHost::changed, this, &MonitorTray::refresh);
    followSettings();
}

MonitorTray::~MonitorTray() = default;

QList<MonitorTray::Widget> MonitorTray::chosen() const
{
    const SettingsStore &settings = m_model.settings();
    QList<Widget> widgets;
    const auto add = [&widgets](const Setting<bool> &setting, Widget widget) {
        if (setting.value())
            widgets << widget;
    };
    add(settings.widgetCPU, Widget::cpu);
    add(settings.widgetRAM, Widget::memory);
    add(settings.widgetDisk, Widget::disk);
    add(settings.widgetNet, Widget::network);
    add(settings.widgetBattery, Widget::battery);
    return widgets;
}

void MonitorTray::followSettings()
{
    const bool isWanted = m_model.settings().showMenuBarIcon.value() && m_hasTray();
    if (!isWanted) {
        m_icon.reset();
        m_menu.reset();
        m_lines.clear();
    } else if (!m_icon) {
        m_menu = std::make_unique<QMenu>();
        m_menu->addSeparator();
        m_menu->addAction(tr("Open the monitor"), this, &MonitorTray::monitorRequested);
        m_menu->addAction(tr("Show the window"), this, &MonitorTray::windowRequested);
        m_menu->addSeparator();
        m_menu->addAction(tr("Quit"), this, &MonitorTray::quitRequested);
        m_icon = std::make_unique<QSystemTrayIcon>(Theme::icon(u"office-chart-area"_s));
        m_icon->setContextMenu(m_menu.get());
        connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger)
                emit monitorRequested();
        });
        m_icon->show();
    }
    m_shown.reset();
    m_model.monitoring().setTrayShown(isWanted && !chosen().isEmpty());
    refresh();
}

QStringList MonitorTray::lines(const LocalStats &stats, const QList<Widget> &widgets)
{
    QStringList texts;
    for (const Widget widget : widgets)
        texts << line(stats, widget);
    texts.removeAll(QString());
    return texts;
}

QPixmap MonitorTray::picture(const LocalStats &stats, const QList<Widget> &widgets, int size)
{
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const qreal gap = size / 16.0;
    const qreal width = (size - gap * qreal(widgets.size() - 1)) / qreal(widgets.size());
    qreal left = 0;
    for (const Widget widget : widgets) {
        const QRectF track(left, 0, width, size);
        QColor ground = Theme::color(Theme::Color::mutedText);
        ground.setAlphaF(0.35F);
        painter.setBrush(ground);
        painter.drawRoundedRect(track, gap, gap);
        const double level = std::clamp(share(stats, widget).value_or(0), 0.0, 1.0);
        painter.setBrush(Theme::color(colorOf(widget)));
        painter.drawRoundedRect(track.adjusted(0, (1 - level) * size, 0, 0), gap, gap);
        left += width + gap;
    }
    return picture;
}

void MonitorTray::refresh()
{
    const QList<Widget> widgets = chosen();
    const LocalStats *stats = m_model.monitoring().thisMachine().localStats();
    if (!m_icon || !stats)
        return;
    const QStringList texts = lines(*stats, widgets);
    if (texts == m_shown)
        return;
    m_shown = texts;
    m_icon->setToolTip(texts.join(u'\n'));
    constexpr int size = 64;
    m_icon->setIcon(widgets.isEmpty() ? Theme::icon(u"office-chart-area"_s) : picture(*stats, widgets, size));
    qDeleteAll(m_lines);
    m_lines.clear();
    for (const QString &text : texts) {
        auto *action = new QAction(text, m_menu.get());
        action->setEnabled(false);
        m_menu->insertAction(m_menu->actions().at(m_lines.size()), action);
        m_lines << action;
    }
}

} // namespace moorix
