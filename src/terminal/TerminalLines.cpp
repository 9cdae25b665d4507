// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalLines.h"

namespace moorix {

std::span<const TerminalCell> TerminalLines::cells(qint64 number) const
{
    if (number < screen())
        return m_grid.history().line(number);
    const auto row = int(number - screen());
    const TerminalLine &line = m_grid.screen().line(row);
    const std::span<const TerminalCell> cells = std::span(line.cells).first(std::size_t(line.used));
    if (line.size == TerminalLineSize::single || line.used <= m_grid.columns(row))
        return cells;
    // What is behind the half is hidden, with a wide character that reaches there.
    const auto room = std::size_t(m_grid.columns(row));
    return cells.first(room - (cells[room].width == 0 ? 1 : 0));
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

TerminalLineSize TerminalLines::size(qint64 number) const
{
    return number < screen() ? TerminalLineSize::single : m_grid.screen().line(int(number - screen())).size;
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
