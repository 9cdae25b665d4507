// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ComboBox.h"

#include "ui/Theme.h"

#include <QPainter>

namespace moorix {

namespace {

void paintArrow(QComboBox &box)
{
    QPainter painter(&box);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::color(Theme::Color::mutedText), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tip(box.width() - 14, box.height() / 2.0 + 2);
    const QPointF arrow[] = {tip + QPointF(-4, -4), tip, tip + QPointF(4, -4)};
    painter.drawPolyline(arrow, 3);
}

} // namespace

void ComboBox::paintEvent(QPaintEvent *event)
{
    QComboBox::paintEvent(event);
    paintArrow(*this);
}

void FontComboBox::paintEvent(QPaintEvent *event)
{
    QFontComboBox::paintEvent(event);
    paintArrow(*this);
}

} // namespace moorix
