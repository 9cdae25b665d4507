// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <algorithm>
#include <array>
#include <optional>

namespace moorix {

/// The colours of a terminal as 0xRRGGBB: those of its theme, and those that its program has chosen instead (OSC 4, 10,
/// 11 and 12). Places 0 to 255 are the palette's, the others have names.
class TerminalColorTable final
{
public:
    static constexpr int foreground = 256;
    static constexpr int background = 257;
    static constexpr int cursor = 258;
    static constexpr int places = 259;
    using Colors = std::array<quint32, places>;

    /// The first 16 and those with names are black; the others are the cube and the greys that every terminal has.
    static Colors plain();
    /// "rgb:12/34/56", with one to four digits each, or "#123456", with as many for each colour; nothing for all else.
    static std::optional<quint32> parse(QByteArrayView text);
    /// As terminals answer: "rgb:1212/3434/5656".
    static QByteArray describe(quint32 color);

    void setTheme(const Colors &colors) { m_theme = colors; }
    quint32 color(int place) const { return chosen(place).value_or(m_theme.at(std::size_t(place))); }
    std::optional<quint32> chosen(int place) const { return m_chosen.at(std::size_t(place)); }
    bool hasChosen() const
    {
        return std::any_of(m_chosen.begin(), m_chosen.end(), [](const auto &color) { return color.has_value(); });
    }
    void choose(int place, quint32 color) { m_chosen.at(std::size_t(place)) = color; }
    /// The theme's colours from `place` up to, without, `end`.
    void forget(int place, int end) { std::fill(m_chosen.begin() + place, m_chosen.begin() + end, std::nullopt); }

    friend bool operator==(const TerminalColorTable &, const TerminalColorTable &) = default;

private:
    Colors m_theme = plain();
    std::array<std::optional<quint32>, places> m_chosen;
};

} // namespace moorix
