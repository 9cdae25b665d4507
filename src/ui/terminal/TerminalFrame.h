// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <vector>

namespace moorix {

/// The lines that a view shows, as they were at one moment. Tells what the next moment has changed.
class TerminalFrame final
{
public:
    struct Row
    {
        qint64 line = -1;
        std::vector<TerminalCell> cells;
        TerminalLineSize size = TerminalLineSize::single;
    };

    /// Takes `rows` lines from `top` on. Returns the numbers of the rows (not lines) that differ from before.
    std::vector<int> take(const TerminalEmulator &emulator, qint64 top, int rows);

    const std::vector<Row> &rows() const { return m_rows; }
    /// The row that holds a line, or null.
    const Row *rowOf(qint64 line) const;
    bool blinks() const { return m_blinks; }
    /// Which rows are of double width; empty if none is.
    std::vector<bool> wideRows() const;

private:
    std::vector<Row> m_rows;
    bool m_blinks = false;
};

} // namespace moorix
