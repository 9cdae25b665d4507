// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SortHeader.h"

#include "ui/Theme.h"

#include <QPainter>

namespace moorix {

SortHeader::SortHeader(int padding, QWidget *parent)
    : QHeaderView(Qt::Horizontal, parent)
    , m_padding(padding)
{
}

void SortHeader::paintSection(QPainter *painter, const QRect &rect, int column) const
{
    constexpr int arrowRoom = 14;
    const bool isHovered = rect.contains(mapFromGlobal(QCursor::pos())) && underMouse();
    painter->fillRect(rect, Theme::color(isHovered ? Theme::Color::currentRow : Theme::Color::base));
    painter->fillRect(QRect(rect.bottomLeft(), QSize(rect.width(), 1)), Theme::color(Theme::Color::border));
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    painter->setFont(bold);
    painter->setPen(Theme::color(Theme::Color::mutedText));
    const QRect room = rect.adjusted(m_padding, 0, -m_padding, 0);
    const QString text = model()->headerData(column, orientation()).toString();
    const auto alignment = model()->headerData(column, orientation(), Qt::TextAlignmentRole).value<Qt::Alignment>();
    const bool isRight = alignment.testFlag(Qt::AlignRight);
    painter->drawText(room, Qt::AlignVCenter | (isRight ? Qt::AlignRight : Qt::AlignLeft), text);
    if (column != sortIndicatorSection())
        return;
    const int textWidth = QFontMetrics(bold).horizontalAdvance(text);
    const qreal x =
        isRight ? room.right() - textWidth - arrowRoom / 2.0 : room.left() + textWidth + arrowRoom / 2.0 + 2;
    const qreal y = room.center().y() + 1;
    const qreal up = sortIndicatorOrder() == Qt::AscendingOrder ? -1 : 1;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(Theme::color(Theme::Color::accent), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPolyline(QPolygonF{{x - 3.5, y - 1.75 * up}, {x, y + 1.75 * up}, {x + 3.5, y - 1.75 * up}});
}

} // namespace moorix
