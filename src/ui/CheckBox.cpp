// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/CheckBox.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QStyleOptionButton>

namespace moorix {

QSize CheckBox::sizeHint() const
{
    // The style's own box is smaller.
    return QCheckBox::sizeHint().expandedTo({18, 18}) + QSize(4, 0);
}

void CheckBox::paintEvent(QPaintEvent *)
{
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect indicator = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
    const QRectF box = QRectF(QRect(0, 0, 15, 15)).translated(indicator.left(), indicator.center().y() - 7);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1 : 0.5);
    const QColor accent = Theme::color(Theme::Color::accent);
    painter.setPen(
        QPen(hasFocus() || isChecked() ? accent : Theme::color(Theme::Color::faintText), hasFocus() ? 2 : 1));
    painter.setBrush(isChecked() ? accent : Theme::color(Theme::Color::base));
    painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    if (isChecked()) {
        painter.setPen(QPen(Theme::color(Theme::Color::base), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF tick[] = {box.topLeft() + QPointF(4, 7.5), box.topLeft() + QPointF(6.7, 10.2),
                                box.topLeft() + QPointF(11, 5)};
        painter.drawPolyline(tick, 3);
    }
    const QRect textRect = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this);
    painter.setPen(Theme::color(isEnabled() ? Theme::Color::text : Theme::Color::faintText));
    painter.drawText(textRect.translated(2, 0), Qt::AlignVCenter | Qt::TextShowMnemonic, text());
}

} // namespace moorix
