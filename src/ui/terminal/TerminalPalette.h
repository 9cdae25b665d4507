// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalCell.h"
#include "terminal/TerminalColorTable.h"

#include <QColor>

#include <array>

namespace moorix {

/// What a terminal theme chooses; everything else is derived from it.
struct TerminalColors
{
    QColor foreground;
    QColor background;
    QColor cursor;
    std::array<QColor, 16> ansi;

    friend bool operator==(const TerminalColors &, const TerminalColors &) = default;
};

/// Turns what the program asked for into colours on the screen.
class TerminalPalette final
{
public:
    struct Pair
    {
        QRgb text = 0;
        QRgb ground = 0;
        friend bool operator==(const Pair &, const Pair &) = default;
    };
    enum class Mark { none, selected, found, foundCurrent };

    explicit TerminalPalette(const TerminalColors &colors = standard());
    /// The program's choices in place of the theme's colours.
    TerminalPalette(const TerminalColors &colors, const TerminalColorTable &chosen);

    /// Those of a dark terminal, for as long as no theme was set.
    static TerminalColors standard();
    /// As programs are told them.
    static TerminalColorTable::Colors themeColors(const TerminalColors &colors);

    const TerminalColors &colors() const { return m_colors; }
    QRgb background() const { return m_background; }
    QRgb foreground() const { return m_foreground; }
    QRgb cursor() const { return m_cursor; }
    /// `isReversed`: the whole screen is.
    Pair pair(const TerminalStyle &style, bool isReversed) const;
    /// The colours of a marked cell; its text stays legible on the mark.
    Pair marked(Pair pair, Mark mark) const;
    /// `text`, or, where that cannot be read on `ground`, the colour of the theme that can be read best.
    QRgb legible(QRgb text, QRgb ground) const;

    /// `share` of 0 to 1 of `over` on `under`.
    static QRgb mix(QRgb under, QRgb over, double share);

private:
    QRgb color(TerminalColor color, QRgb byDefault) const;

    TerminalColors m_colors;
    QRgb m_foreground;
    QRgb m_background;
    QRgb m_cursor;
    std::array<QRgb, 256> m_indexed;
    QRgb m_selection;
    QRgb m_found;
    QRgb m_foundCurrent;
};

} // namespace moorix
