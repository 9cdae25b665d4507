// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SidebarDelegate.h"

#include "ui/Theme.h"

#include <QIcon>
#include <QPainter>

#include <algorithm>

namespace moorix {

namespace {

bool isHeading(const QModelIndex &index)
{
    return !index.parent().isValid();
}

} // namespace

SidebarDelegate::SidebarDelegate(int connectedRole, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_connectedRole(connectedRole)
{
}

QSize SidebarDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const int text = option.fontMetrics.height();
    if (isHeading(index))
        return {60, text + (index.row() == 0 ? 18 : 28)};
    return {60, text + 12};
}

void SidebarDelegate::paintHeading(QPainter &painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    QFont font = option.font;
    font.setPixelSize(std::max(9, font.pixelSize() - 1));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(Theme::color(index == m_dropRow ? Theme::Color::accent : Theme::Color::faintText));
    painter.drawText(option.rect.adjusted(15, 0, -8, -6), Qt::AlignLeft | Qt::AlignBottom, index.data().toString());
}

void SidebarDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (isHeading(index)) {
        paintHeading(*painter, option, index);
        painter->restore();
        return;
    }
    const QRect row = option.rect.adjusted(6, 1, -6, -1);
    const bool isDropRow = index == m_dropRow;
    const bool isSelected = isDropRow || option.state.testFlag(QStyle::State_Selected);
    const bool isHovered = option.state.testFlag(QStyle::State_MouseOver);
    if (isSelected || isHovered) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(Theme::color(isSelected ? Theme::Color::selection : Theme::Color::hover));
        painter->drawRoundedRect(row, 6, 6);
    }
    const bool hasKeyboard =
        option.state.testFlag(QStyle::State_HasFocus) && option.state.testFlag(QStyle::State_Active);
    if (hasKeyboard || isDropRow) {
        painter->setPen(Theme::color(Theme::Color::accent));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(row).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
    }
    const auto icon = index.data(Qt::DecorationRole).value<QIcon>();
    icon.paint(painter, QRect(row.left() + 9, row.center().y() - 7, 16, 16));
    const bool isConnected = index.data(m_connectedRole).toBool();
    const QRect textRect = row.adjusted(32, 0, isConnected ? -20 : -8, 0);
    painter->setPen(Theme::color(Theme::Color::text));
    painter->setFont(option.font);
    painter->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                      option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, textRect.width()));
    if (isConnected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(Theme::color(Theme::Color::success));
        painter->drawEllipse(QPointF(row.right() - 11, row.center().y() + 1), 3.5, 3.5);
    }
    painter->restore();
}

} // namespace moorix
