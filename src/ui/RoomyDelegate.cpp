// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/RoomyDelegate.h"

#include <QApplication>
#include <QPainter>

namespace moorix {

namespace {

/// Beside what every cell has.
constexpr int room = 9;

} // namespace

void RoomyDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QStyle *style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
    QStyleOptionViewItem content = option;
    content.rect.adjust(room, 0, -room, 0);
    QStyledItemDelegate::paint(painter, content, index);
}

QSize RoomyDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return QStyledItemDelegate::sizeHint(option, index) + QSize(2 * room, 0);
}

} // namespace moorix
