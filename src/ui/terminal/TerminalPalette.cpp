// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalPalette.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace moorix {

namespace {

constexpr double leastContrast = 3;

double linear(int channel)
{
    const double value = channel / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(QRgb color)
{
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) + 0.0722 * linear(qBlue(color));
}

double contrast(QRgb one, QRgb other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace

TerminalPalette::TerminalPalette(const TerminalColors &colors)
    : TerminalPalette(colors, {})
{
}

TerminalPalette::TerminalPalette(const TerminalColors &colors, const TerminalColorTable &chosen)
    : m_colors(colors)
{
    TerminalColorTable table = chosen;
    table.setTheme(themeColors(colors));
    const auto color = [&table](int place) { return 0xff000000 | table.color(place); };
    m_foreground = color(TerminalColorTable::foreground);
    m_background = color(TerminalColorTable::background);
    m_cursor = color(TerminalColorTable::cursor);
    for (int i = 0; i < TerminalColorTable::foreground; ++i)
        m_indexed.at(std::size_t(i)) = color(i);
    constexpr std::size_t yellow = 3;
    m_selection = mix(m_background, m_foreground, 0.3);
    m_found = mix(m_background, m_indexed.at(yellow), 0.4);
    m_foundCurrent = m_indexed.at(yellow);
}

TerminalColorTable::Colors TerminalPalette::themeColors(const TerminalColors &colors)
{
    const auto rgb = [](const QColor &color) { return color.rgb() & 0xFFFFFF; };
    TerminalColorTable::Colors table = TerminalColorTable::plain();
    std::transform(colors.ansi.begin(), colors.ansi.end(), table.begin(), rgb);
    table.at(TerminalColorTable::foreground) = rgb(colors.foreground);
    table.at(TerminalColorTable::background) = rgb(colors.background);
    table.at(TerminalColorTable::cursor) = rgb(colors.cursor);
    return table;
}

TerminalColors TerminalPalette::standard()
{
    constexpr std::array<QRgb, 16> ansi{0xff2b3245, 0xfff27781, 0xff4cc38a, 0xffe6b566, 0xff5b9cff, 0xffc792ea,
                                        0xff4fc1d9, 0xffc8d1e0, 0xff6c7a95, 0xffff9aa2, 0xff7fe0b0, 0xffffd08a,
                                        0xff8db9ff, 0xffddb6f5, 0xff86dcec, 0xfff3f6fb};
    TerminalColors result{QColor(0xd6, 0xde, 0xeb), QColor(0x0f, 0x14, 0x20), QColor(0x5b, 0x9c, 0xff), {}};
    std::transform(ansi.begin(), ansi.end(), result.ansi.begin(), [](QRgb rgb) { return QColor::fromRgb(rgb); });
    return result;
}

QRgb TerminalPalette::mix(QRgb under, QRgb over, double share)
{
    const auto channel = [share](int a, int b) { return qRound(a + (b - a) * share); };
    return qRgb(channel(qRed(under), qRed(over)), channel(qGreen(under), qGreen(over)),
                channel(qBlue(under), qBlue(over)));
}

QRgb TerminalPalette::color(TerminalColor color, QRgb byDefault) const
{
    if (color.isDefault())
        return byDefault;
    return color.isIndexed() ? m_indexed.at(color.index()) : 0xff000000 | color.rgb();
}

TerminalPalette::Pair TerminalPalette::pair(const TerminalStyle &style, bool isReversed) const
{
    Pair result{color(style.foreground, m_foreground), color(style.background, m_background)};
    if (style.reverse != isReversed)
        std::swap(result.text, result.ground);
    if (style.dim)
        result.text = mix(result.ground, result.text, 0.55);
    return result;
}

TerminalPalette::Pair TerminalPalette::marked(Pair pair, Mark mark) const
{
    switch (mark) {
    case Mark::none:
        return pair;
    case Mark::selected:
        return {legible(pair.text, m_selection), m_selection};
    case Mark::found:
        return {legible(pair.text, m_found), m_found};
    case Mark::foundCurrent:
        return {legible(m_background, m_foundCurrent), m_foundCurrent};
    }
    return pair;
}

QRgb TerminalPalette::legible(QRgb text, QRgb ground) const
{
    if (contrast(text, ground) >= leastContrast)
        return text;
    const std::array candidates{m_foreground, m_background, QRgb(0xff000000), QRgb(0xffffffff)};
    // Those of the theme first, as far as they do.
    for (const QRgb candidate : {m_foreground, m_background}) {
        if (contrast(candidate, ground) >= leastContrast)
            return candidate;
    }
    return *std::max_element(candidates.begin(), candidates.end(), [ground](QRgb one, QRgb other) {
        return contrast(one, ground) < contrast(other, ground);
    });
}

} // namespace moorix
