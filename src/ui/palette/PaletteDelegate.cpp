// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/palette/PaletteDelegate.h"

#include "ui/Theme.h"
#include "ui/palette/PaletteModel.h"

#include <QPainter>

#include <algorithm>

namespace moorix {

namespace {

constexpr int margin = 10;
constexpr int iconSize = 16;
constexpr int gap = 12;

/// Returns how much of the line's end the keys take.
int paintKeys(QPainter &painter, const QStyleOptionViewItem &option, const QString &keys)
{
    if (keys.isEmpty())
        return 0;
    const int width = option.fontMetrics.horizontalAdvance(keys) + 12;
    const int height = option.fontMetrics.height() + 2;
    const QRectF box(option.rect.right() - margin - width, option.rect.center().y() - height / 2, width, height);
    painter.setPen(Theme::color(Theme::Color::border));
    painter.setBrush(Theme::color(Theme::Color::toolBar));
    painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    painter.setPen(Theme::color(Theme::Color::mutedText));
    painter.drawText(box, Qt::AlignCenter, keys);
    return width + gap;
}

} // namespace

void PaletteDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const auto &model = static_cast<const PaletteModel &>(*index.model());
    const PaletteEntry &entry = model.entry(index.row());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(option.font);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    if (isSelected || option.state.testFlag(QStyle::State_MouseOver)) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(Theme::color(isSelected ? Theme::Color::selection : Theme::Color::hover));
        painter->drawRoundedRect(option.rect, 6, 6);
    }
    QRect line = option.rect.adjusted(margin, 0, -margin, 0);
    const QRect icon(line.left(), line.center().y() - iconSize / 2 + 1, iconSize, iconSize);
    index.data(Qt::DecorationRole)
        .value<QIcon>()
        .paint(painter, icon, Qt::AlignCenter, entry.isEnabled ? QIcon::Normal : QIcon::Disabled);
    line.setLeft(icon.right() + gap);
    line.setRight(line.right() - paintKeys(*painter, option, entry.keys));

    painter->setPen(Theme::color(entry.isEnabled ? Theme::Color::text : Theme::Color::faintText));
    const QString text = option.fontMetrics.elidedText(entry.text, Qt::ElideMiddle, line.width());
    painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter, text);
    line.setLeft(line.left() + option.fontMetrics.horizontalAdvance(text) + gap);
    const QString &detail = entry.isEnabled ? entry.detail : entry.refusal;
    // Of a place both ends tell most; a sentence is read from its beginning.
    const Qt::TextElideMode elision = entry.isEnabled ? Qt::ElideMiddle : Qt::ElideRight;
    if (!detail.isEmpty() && line.width() > 40) {
        painter->setPen(Theme::color(isSelected ? Theme::Color::mutedText : Theme::Color::faintText));
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                          option.fontMetrics.elidedText(detail, elision, line.width()));
    }
    painter->restore();
}

QSize PaletteDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {100, std::max(iconSize, option.fontMetrics.height()) + 13};
}

} // namespace moorix
