// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/CoreBars.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

CoreBars::CoreBars(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"coreBars"_s);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void CoreBars::setCores(const QList<CoreUse> &cores)
{
    m_cores = cores;
    update();
}

QRectF CoreBars::bar(qsizetype index) const
{
    constexpr qreal widest = 34;
    const qreal step = std::min(width() / std::max<qreal>(qreal(m_cores.size()), 1), widest);
    const qreal gap = step > 6 ? 4 : step > 3 ? 1 : 0;
    return {qreal(index) * step, 0, step - gap, qreal(height())};
}

void CoreBars::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    constexpr qreal radius = 3;
    constexpr double hundred = 100;
    for (qsizetype i = 0; i < m_cores.size(); ++i) {
        const QRectF track = bar(i);
        painter.setBrush(Theme::color(Theme::Color::border));
        painter.drawRoundedRect(track, radius, radius);
        const auto &use = m_cores.at(i).use;
        if (!use)
            continue;
        const auto filled = [&track](double percent) {
            const qreal tall = std::clamp(percent / hundred, 0.0, 1.0) * track.height();
            return QRectF(track.left(), track.bottom() - tall, track.width(), tall);
        };
        QColor system = Theme::color(Theme::Color::accent);
        system.setAlphaF(0.5F);
        painter.setBrush(system);
        painter.drawRoundedRect(filled(use->busy()), radius, radius);
        painter.setBrush(Theme::color(Theme::Color::accent));
        painter.drawRoundedRect(filled(use->user), radius, radius);
    }
}

QString CoreBars::textAt(const QPoint &position) const
{
    for (qsizetype i = 0; i < m_cores.size(); ++i) {
        if (!bar(i).contains(position))
            continue;
        const CoreUse &core = m_cores.at(i);
        if (!core.use)
            return tr("Core %1").arg(core.number);
        return tr("Core %1: %2 % busy — programs %3 %, system %4 %, waiting for disks %5 %, taken by the host %6 %")
            .arg(core.number)
            .arg(std::lround(core.use->busy()))
            .arg(std::lround(core.use->user))
            .arg(std::lround(core.use->system))
            .arg(std::lround(core.use->iowait))
            .arg(std::lround(core.use->steal));
    }
    return {};
}

bool CoreBars::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    QToolTip::showText(help->globalPos(), Widgets::toolTip(textAt(help->pos())), this);
    return true;
}

} // namespace moorix
