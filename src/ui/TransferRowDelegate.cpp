// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferRowDelegate.h"

#include "ui/Theme.h"
#include "ui/TransferText.h"

#include <QApplication>
#include <QDateTime>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

constexpr int barWidth = 120;
constexpr int barHeight = 4;
constexpr int gap = 12;

void paintBar(QPainter &painter, const QRectF &bar, int permille, bool isHalted, Theme::Color ground)
{
    const qreal radius = bar.height() / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::color(ground));
    painter.drawRoundedRect(bar, radius, radius);
    if (permille > 0) {
        QRectF done = bar;
        // Never narrower than its round ends.
        done.setWidth(std::max(bar.height(), bar.width() * permille / 1000.0));
        painter.setBrush(Theme::color(isHalted ? Theme::Color::mutedText : Theme::Color::accent));
        painter.drawRoundedRect(done, radius, radius);
    }
    painter.restore();
}

} // namespace

QString TransferRowDelegate::displayText(const QVariant &value, const QLocale &locale) const
{
    return value.userType() == QMetaType::QDateTime ? TransferText::moment(value.toDateTime())
                                                    : QStyledItemDelegate::displayText(value, locale);
}

QSize TransferRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return QStyledItemDelegate::sizeHint(option, index) + QSize(2 * gap, 0);
}

void TransferRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem ground = option;
    initStyleOption(&ground, index);
    const QString text = std::exchange(ground.text, QString());
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &ground, painter, option.widget);
    QRect rect = option.rect.adjusted(gap, 0, 0, 0);
    const bool isSelected = option.state & QStyle::State_Selected;
    if (const QVariant permille = index.data(permilleRole); permille.isValid()) {
        // On the colour of the selection the usual one is hard to see.
        paintBar(*painter, QRectF(rect.left(), rect.center().y() - barHeight / 2 + 0.5, barWidth, barHeight),
                 permille.toInt(), index.data(isHaltedRole).toBool(),
                 isSelected ? Theme::Color::base : Theme::Color::border);
        rect.setLeft(rect.left() + barWidth + gap);
    }
    painter->setPen(Theme::color(isSelected ? Theme::Color::text : Theme::Color::mutedText));
    painter->setFont(option.font);
    painter->drawText(rect, int(Qt::AlignVCenter | Qt::AlignLeft) | Qt::TextSingleLine,
                      ground.fontMetrics.elidedText(text, Qt::ElideRight, rect.width()));
}

} // namespace moorix
