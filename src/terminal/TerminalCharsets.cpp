// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalCharsets.h"

#include "terminal/TerminalUtf8.h"

#include <cstring>
#include <string_view>

namespace moorix {

namespace {

constexpr char shiftOut = '\x0e';
constexpr char shiftIn = '\x0f';

/// From the underscore on.
constexpr std::u16string_view drawing = u" ◆▒␉␌␍␊°±␤␋┘┐┌└┼⎺⎻─⎼⎽├┤┴┬│≤≥π≠£·";

char32_t drawn(char set, char character)
{
    if (set == '0' && character >= '_' && character <= '~')
        return drawing[std::size_t(character - '_')];
    return set == 'A' && character == '#' ? U'£' : char32_t(uchar(character));
}

} // namespace

bool TerminalCharsets::escape(QByteArrayView bytes)
{
    if (bytes.size() == 2 && bytes[0] >= '(' && bytes[0] <= '+') {
        m_sets[std::size_t(bytes[0] - '(')] = bytes[1] == '0' || bytes[1] == 'A' ? bytes[1] : 'B';
        m_allAscii = m_sets == std::array{'B', 'B', 'B', 'B'};
        return true;
    }
    if (bytes == "n" || bytes == "o")
        m_used = bytes == "n" ? 2 : 3;
    else if (bytes == "N" || bytes == "O")
        m_once = bytes == "N" ? 2 : 3;
    else
        return false;
    return true;
}

void TerminalCharsets::control(char control)
{
    if (control == shiftOut || control == shiftIn)
        m_used = control == shiftOut ? 1 : 0;
}

bool TerminalCharsets::leaves(QByteArrayView bytes) const
{
    if (m_once != 0)
        return false;
    return m_allAscii || (m_sets[m_used] == 'B' && !std::memchr(bytes.data(), shiftOut, std::size_t(bytes.size())) &&
                          !std::memchr(bytes.data(), shiftIn, std::size_t(bytes.size())));
}

std::string TerminalCharsets::translated(QByteArrayView bytes)
{
    std::string text;
    for (const char c : bytes) {
        if (c == shiftOut || c == shiftIn) {
            control(c);
        } else if (uchar(c) < ' ' || (uchar(c) & 0xC0) == 0x80) {
            text += c;
        } else {
            const char set = m_sets[m_once != 0 ? m_once : m_used];
            m_once = 0;
            if ((uchar(c) & 0x80) != 0)
                text += c;
            else
                TerminalUtf8::append(text, drawn(set, c));
        }
    }
    return text;
}

} // namespace moorix
