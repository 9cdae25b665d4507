// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProxyStyle>

namespace moorix {

/// Fusion, with check boxes and radio buttons whose outline is seen on dark and light grounds alike, and with room for
/// the arrow at the end of a toolbar that is cut.
class ThemeStyle final : public QProxyStyle
{
    Q_OBJECT

public:
    ThemeStyle();

    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
};

} // namespace moorix
