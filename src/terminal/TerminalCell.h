// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <cstring>
#include <type_traits>

namespace moorix {

/// A colour as the program in the terminal asked for it: the default, one of 256 palette entries, or red, green, blue.
/// What it looks like is the theme's matter.
class TerminalColor final
{
public:
    constexpr TerminalColor() = default;
    static constexpr TerminalColor indexed(quint8 index) { return TerminalColor(indexedTag | index); }
    static constexpr TerminalColor rgb(quint8 red, quint8 green, quint8 blue)
    {
        return TerminalColor(rgbTag | quint32(red) << 16 | quint32(green) << 8 | blue);
    }

    constexpr bool isDefault() const { return m_value == 0; }
    constexpr bool isIndexed() const { return (m_value & indexedTag) != 0; }
    constexpr quint8 index() const { return quint8(m_value); }
    /// 0xRRGGBB, for colours that are neither the default nor indexed.
    constexpr quint32 rgb() const { return m_value & 0xFFFFFF; }

    friend constexpr bool operator==(TerminalColor, TerminalColor) = default;

private:
    static constexpr quint32 indexedTag = 0x01000000;
    static constexpr quint32 rgbTag = 0x02000000;
    explicit constexpr TerminalColor(quint32 value)
        : m_value(value)
    {
    }

    quint32 m_value = 0;
};

/// How large a line is shown: each half of a line of double height is a line of its own, with the same text.
enum class TerminalLineSize : quint8 { single, wide, upperHalf, lowerHalf };

enum class TerminalUnderline : quint8 { none, single, twofold, curly };

/// How a cell is drawn.
struct TerminalStyle
{
    TerminalColor foreground;
    TerminalColor background;
    /// A hyperlink of the emulator, 0 for none.
    quint16 link = 0;
    TerminalUnderline underline = TerminalUnderline::none;
    bool bold : 1 = false;
    bool dim : 1 = false;
    bool italic : 1 = false;
    bool blink : 1 = false;
    bool reverse : 1 = false;
    bool hidden : 1 = false;
    bool strike : 1 = false;
    /// Not to be seen: kept by what erases selectively.
    bool isProtected : 1 = false;

    friend bool operator==(const TerminalStyle &one, const TerminalStyle &other)
    {
        return std::memcmp(&one, &other, sizeof one) == 0;
    }
};
/// Styles are compared for every cell: at once, as there is nothing between their members.
static_assert(std::has_unique_object_representations_v<TerminalStyle>);

/// One place of the screen or the scrollback.
struct TerminalCell
{
    /// 0 where nothing was written. From `clusterBase` on it is no code point but a cluster of the emulator, such as a
    /// letter with combining marks: TerminalEmulator::text() tells what it is made of.
    char32_t character = 0;
    TerminalStyle style;
    /// 1 or 2 columns; 0 for the second column of a wide character.
    quint8 width = 1;

    static constexpr char32_t clusterBase = 0x110000;

    friend bool operator==(const TerminalCell &, const TerminalCell &) = default;
};

} // namespace moorix
