// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/UsageBar.h"

#include "monitor/MonitorText.h"
#include "ui/Theme.h"

#include <QPainter>

#include <algorithm>

namespace moorix {

namespace {

constexpr double nearlyFull = 0.8;
constexpr double full = 0.9;

} // namespace

UsageBar::UsageBar(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void UsageBar::setShare(std::optional<double> share)
{
    m_share = share;
    setAccessibleName(monitorText::percent(share));
    update();
}

void UsageBar::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF track(rect());
    const qreal radius = track.height() / 2;
    painter.setBrush(Theme::color(Theme::Color::border));
    painter.drawRoundedRect(track, radius, radius);
    const double share = std::clamp(m_share.value_or(0), 0.0, 1.0);
    if (share <= 0)
        return;
    const auto role = share > full         ? Theme::Color::danger
                      : share > nearlyFull ? Theme::Color::warning
                                           : Theme::Color::accent;
    painter.setBrush(Theme::color(role));
    painter.drawRoundedRect(
        QRectF(track.topLeft(), QSizeF(std::max(share * track.width(), track.height()), track.height())), radius,
        radius);
}

} // namespace moorix
