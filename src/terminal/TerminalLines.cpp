// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalLines.h"

namespace moorix {

std::span<const TerminalCell> TerminalLines::cells(qint64 number) const
{
    if (number < screen())
        return m_grid.history().line(number);
    const TerminalLine &line = m_grid.screen().line(int(number - screen()));
    return std::span(line.cells).first(std::size_t(line.used));
}

bool TerminalLines::wraps(qint64 number) const
{
    return number < screen() ? m_grid.history().wraps(number)
                             : m_grid.screen().line(int(number - screen())).wraps && number + 1 < end();
}

bool TerminalLines::isPrompt(qint64 number) const
{
    return number < screen() ? m_grid.history().isPrompt(number) : m_grid.screen().line(int(number - screen())).prompt;
}

qint64 TerminalLines::paragraphStart(qint64 number) const
{
    while (number > first() && wraps(number - 1))
        number = number - 1 < screen() ? m_grid.history().textStart(number - 1) : number - 1;
    return number < screen() ? std::max(first(), m_grid.history().textStart(number)) : number;
}

qint64 TerminalLines::paragraphEnd(qint64 number) const
{
    while (true) {
        const qint64 last = number < screen() ? m_grid.history().textEnd(number) - 1 : number;
        number = last + 1;
        if (number >= end() || !wraps(last))
            return number;
    }
}

TerminalPoint TerminalLines::clamped(TerminalPoint point) const
{
    if (point.line < first())
        return {first(), 0};
    if (point.line >= end())
        return {end(), 0};
    return {point.line, std::clamp(point.column, 0, columns())};
}

} // namespace moorix
