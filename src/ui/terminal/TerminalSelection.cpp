// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalSelection.h"

#include <algorithm>
#include <limits>

namespace moorix {

TerminalSelection::TerminalSelection(const TerminalEmulator &emulator)
    : m_emulator(emulator)
{
}

TerminalRange TerminalSelection::unitAt(Position position) const
{
    switch (m_unit) {
    case Unit::word:
        return m_emulator.wordAt(position.cell);
    case Unit::line:
        return m_emulator.lineAt(position.cell);
    case Unit::character:
    case Unit::block:
        break;
    }
    return {position.boundary, position.boundary, m_unit == Unit::block};
}

void TerminalSelection::begin(Position position, Unit unit)
{
    m_unit = unit;
    m_anchor = unitAt(position);
    set(m_anchor);
}

void TerminalSelection::extend(Position position)
{
    const TerminalRange end = unitAt(position);
    if (m_unit == Unit::block) {
        const auto [left, right] = std::minmax(m_anchor.start.column, end.start.column);
        const auto [top, bottom] = std::minmax(m_anchor.start.line, end.start.line);
        set(left == right ? TerminalRange{} : TerminalRange{{top, left}, {bottom, right}, true});
    } else {
        set({std::min(m_anchor.start, end.start), std::max(m_anchor.end, end.end)});
    }
}

void TerminalSelection::selectAll()
{
    m_unit = Unit::character;
    // Not the empty lines below what has been written.
    qint64 last = m_emulator.endLine() - 1;
    const auto isEmpty = [this](qint64 line) {
        const std::span<const TerminalCell> cells = m_emulator.line(line);
        return std::all_of(cells.begin(), cells.end(), [](const TerminalCell &cell) { return cell.character == 0; });
    };
    while (last > m_emulator.firstLine() && isEmpty(last))
        --last;
    m_anchor = {{m_emulator.firstLine(), 0}, {m_emulator.firstLine(), 0}};
    set({m_anchor.start, {last, m_emulator.size().columns}});
}

void TerminalSelection::clear()
{
    m_range = {};
    m_watched.clear();
}

void TerminalSelection::set(TerminalRange range)
{
    // No half of a wide character.
    const auto isSecondHalf = [this](TerminalPoint point) {
        if (point.line < m_emulator.firstLine() || point.line >= m_emulator.endLine())
            return false;
        const std::span<const TerminalCell> cells = m_emulator.line(point.line);
        return point.column > 0 && point.column < int(cells.size()) && cells[std::size_t(point.column)].width == 0;
    };
    if (!range.isEmpty() && !range.block) {
        range.start.column -= isSecondHalf(range.start) ? 1 : 0;
        range.end.column += isSecondHalf(range.end) ? 1 : 0;
    }
    m_range = range;
    m_watched.clear();
    if (range.isEmpty())
        return;
    m_firstWatched = std::max(range.start.line, m_emulator.screenLine());
    for (qint64 line = m_firstWatched; line <= range.end.line && line < m_emulator.endLine(); ++line)
        m_watched.push_back(charactersOf(line));
}

std::u32string TerminalSelection::charactersOf(qint64 line) const
{
    std::u32string result;
    if (line < m_emulator.firstLine() || line >= m_emulator.endLine())
        return result;
    const std::span<const TerminalCell> cells = m_emulator.line(line);
    const int first = line == m_range.start.line || m_range.block ? m_range.start.column : 0;
    const int end = line == m_range.end.line || m_range.block ? m_range.end.column : std::numeric_limits<int>::max();
    for (int i = first; i < end && i < int(cells.size()); ++i) {
        // Blanks written and never written look the same.
        const char32_t character = cells[std::size_t(i)].character;
        result += character == 0 ? U' ' : character;
    }
    while (!result.empty() && result.back() == U' ')
        result.pop_back();
    return result;
}

bool TerminalSelection::clearIfChanged()
{
    if (isEmpty())
        return false;
    bool isSame = m_range.end.line >= m_emulator.firstLine() && m_range.start.line < m_emulator.endLine();
    for (std::size_t i = 0; isSame && i < m_watched.size(); ++i)
        isSame = charactersOf(m_firstWatched + qint64(i)) == m_watched[i];
    if (!isSame)
        clear();
    return !isSame;
}

QString TerminalSelection::text() const
{
    if (isEmpty())
        return {};
    TerminalRange range = m_range;
    // The oldest lines may have been dropped since.
    if (range.start.line < m_emulator.firstLine())
        range.start = {m_emulator.firstLine(), range.block ? range.start.column : 0};
    return m_emulator.text(range);
}

} // namespace moorix
