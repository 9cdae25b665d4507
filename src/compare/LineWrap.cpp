// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/LineWrap.h"

#include <algorithm>

namespace moorix {

namespace {

bool isWide(char16_t code)
{
    return (code >= 0x1100 && code <= 0x115f) || (code >= 0x2e80 && code <= 0xa4cf) ||
           (code >= 0xac00 && code <= 0xd7a3) || (code >= 0xf900 && code <= 0xfaff) ||
           (code >= 0xfe30 && code <= 0xfe6f) || (code >= 0xff00 && code <= 0xff60) ||
           (code >= 0xffe0 && code <= 0xffe6);
}

} // namespace

int LineWrap::columnsOf(QChar character, int column) const
{
    const char16_t code = character.unicode();
    if (code == u'\t')
        return m_tabWidth - column % m_tabWidth;
    if (code < 0x300)
        return 1;
    if (character.isLowSurrogate() || character.category() == QChar::Mark_NonSpacing)
        return 0;
    return character.isHighSurrogate() || isWide(code) ? 2 : 1;
}

qsizetype LineWrap::end(QStringView line, qsizetype start) const
{
    int column = 0;
    qsizetype behindBlank = start;
    for (qsizetype at = start; at < line.size(); ++at) {
        const bool isBlank = line.at(at) == u' ' || line.at(at) == u'\t';
        // A blank may hang over the edge, where nobody sees it.
        const bool mayHang = isBlank && column <= m_room;
        column += columnsOf(line.at(at), column);
        if (column > m_room && at > start && !mayHang)
            return behindBlank > start ? behindBlank : at;
        if (isBlank)
            behindBlank = at + 1;
    }
    return line.size();
}

const std::vector<qsizetype> &LineWrap::starts(QStringView line) const
{
    constexpr qsizetype longLine = 4000;
    if (line.size() >= longLine && line.data() == m_line.data() && line.size() == m_line.size())
        return m_starts;
    m_line = line;
    m_starts.assign(1, 0);
    for (qsizetype at = isOn() ? end(line, 0) : line.size(); at < line.size(); at = end(line, at))
        m_starts.push_back(at);
    return m_starts;
}

qsizetype LineWrap::count(QStringView line) const
{
    qsizetype count = 1;
    for (qsizetype at = isOn() ? end(line, 0) : line.size(); at < line.size(); at = end(line, at))
        ++count;
    return count;
}

} // namespace moorix
