// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffOverview.h"

#include "compare/DiffHeights.h"
#include "ui/Theme.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <array>

namespace moorix {

DiffOverview::DiffOverview(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("diffOverview"));
    setAccessibleName(tr("Where the files differ"));
    setCursor(Qt::PointingHandCursor);
}

void DiffOverview::setChanges(const DiffLayout &layout, const DiffHeights &heights)
{
    m_changes.clear();
    const double whole = double(std::max<qsizetype>(heights.total(), 1));
    layout.eachHunk([&](const DiffLayout::Hunk &hunk, qsizetype first, qsizetype end) {
        m_changes.push_back({double(heights.top(first)) / whole, double(heights.top(end)) / whole, hunk.leftCount > 0,
                             hunk.rightCount > 0});
    });
    update();
}

void DiffOverview::setInSight(double from, double to)
{
    m_from = from;
    m_to = to;
    update();
}

void DiffOverview::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Theme::color(Theme::Color::sidebar));
    painter.fillRect(QRect(0, 0, 1, height()), Theme::color(Theme::Color::border));
    // However many changes there are, no more than one mark a pixel is painted for each side.
    constexpr int leastHeight = 3;
    std::array<int, 2> painted{-leastHeight, -leastHeight};
    const int middle = width() / 2;
    for (const Change &change : m_changes) {
        const int top = int(change.from * height());
        const int bottom = std::max(int(change.to * height()), top + leastHeight);
        for (const int side : {0, 1}) {
            const int from = std::max(top, painted[std::size_t(side)]);
            if (!(side == 0 ? change.isLeft : change.isRight) || from >= bottom)
                continue;
            painted[std::size_t(side)] = bottom;
            const Theme::Color color = side == 0 ? Theme::Color::danger : Theme::Color::success;
            painter.fillRect(QRect(side == 0 ? 3 : middle + 1, from, middle - 3, bottom - from), Theme::color(color));
        }
    }
    QColor ground = Theme::color(Theme::Color::text);
    ground.setAlphaF(0.10F);
    const QRectF inSight(1, m_from * height(), width() - 1, std::max((m_to - m_from) * height(), 4.0));
    painter.fillRect(inSight, ground);
    painter.setPen(Theme::color(Theme::Color::faintText));
    painter.drawRect(inSight.adjusted(0, 0, -1, -1));
}

void DiffOverview::mousePressEvent(QMouseEvent *event)
{
    if (event->buttons().testFlag(Qt::LeftButton))
        emit wanted(std::clamp(event->position().y() / std::max(height(), 1), 0.0, 1.0));
}

void DiffOverview::mouseMoveEvent(QMouseEvent *event)
{
    mousePressEvent(event);
}

} // namespace moorix
