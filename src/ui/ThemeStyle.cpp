// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ThemeStyle.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QStyleOption>

namespace moorix {

namespace {

void drawMark(QPainter &painter, const QRectF &box, QStyle::State state, bool isRound)
{
    const bool isFilled = state & (QStyle::State_On | QStyle::State_NoChange);
    const bool isLit = state & (QStyle::State_HasFocus | QStyle::State_MouseOver);
    const QColor accent = Theme::color(Theme::Color::accent);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (!(state & QStyle::State_Enabled))
        painter.setOpacity(0.5);
    painter.setPen(QPen(isFilled || isLit ? accent : Theme::color(Theme::Color::faintText), 1));
    painter.setBrush(isFilled ? accent : Theme::color(Theme::Color::base));
    const qreal radius = isRound ? box.width() / 2 : 3;
    painter.drawRoundedRect(box, radius, radius);
    painter.setPen(QPen(Theme::color(Theme::Color::base), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.translate(box.topLeft());
    painter.scale(box.width() / 13, box.height() / 13);
    if (isRound && (state & QStyle::State_On)) {
        painter.setBrush(Theme::color(Theme::Color::base));
        painter.drawEllipse(QPointF(6.5, 6.5), 1, 1);
    } else if (state & QStyle::State_NoChange) {
        painter.drawLine(QPointF(3.5, 6.5), QPointF(9.5, 6.5));
    } else if (state & QStyle::State_On) {
        painter.drawPolyline(QPolygonF{{3.2, 6.8}, {5.6, 9.2}, {9.8, 4.2}});
    }
    painter.restore();
}

} // namespace

ThemeStyle::ThemeStyle()
    : QProxyStyle(QStringLiteral("Fusion"))
{
}

int ThemeStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    // The button for what does not fit into a toolbar is as wide as others with an icon only.
    return metric == PM_ToolBarExtensionExtent ? 30 : QProxyStyle::pixelMetric(metric, option, widget);
}

void ThemeStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                               const QWidget *widget) const
{
    const bool isRound = element == PE_IndicatorRadioButton;
    if (!isRound && element != PE_IndicatorCheckBox && element != PE_IndicatorItemViewItemCheck) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    drawMark(*painter, QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), option->state, isRound);
}

} // namespace moorix
