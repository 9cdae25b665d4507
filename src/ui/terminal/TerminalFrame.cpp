// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalFrame.h"

#include <algorithm>

namespace moorix {

std::vector<int> TerminalFrame::take(const TerminalEmulator &emulator, qint64 top, int rows)
{
    std::vector<int> changed;
    m_rows.resize(std::size_t(rows));
    m_blinks = false;
    for (int i = 0; i < rows; ++i) {
        Row &row = m_rows[std::size_t(i)];
        const qint64 line = top + i;
        std::span<const TerminalCell> cells;
        if (line >= emulator.firstLine() && line < emulator.endLine())
            cells = emulator.line(line);
        const TerminalLineSize size = emulator.lineSize(line);
        if (row.line != line || row.size != size ||
            !std::equal(cells.begin(), cells.end(), row.cells.begin(), row.cells.end())) {
            changed.push_back(i);
            row.line = line;
            row.size = size;
            row.cells.assign(cells.begin(), cells.end());
        }
        m_blinks = m_blinks || std::any_of(row.cells.cbegin(), row.cells.cend(),
                                           [](const TerminalCell &cell) { return cell.style.blink; });
    }
    return changed;
}

std::vector<bool> TerminalFrame::wideRows() const
{
    const auto isWide = [](const Row &row) { return row.size != TerminalLineSize::single; };
    if (std::none_of(m_rows.cbegin(), m_rows.cend(), isWide))
        return {};
    std::vector<bool> wide(m_rows.size());
    std::transform(m_rows.cbegin(), m_rows.cend(), wide.begin(), isWide);
    return wide;
}

const TerminalFrame::Row *TerminalFrame::rowOf(qint64 line) const
{
    const auto found =
        std::find_if(m_rows.cbegin(), m_rows.cend(), [line](const Row &row) { return row.line == line; });
    return found == m_rows.cend() ? nullptr : &*found;
}

} // namespace moorix
