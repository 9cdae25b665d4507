// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"
#include "terminal/TerminalGrid.h"

namespace moorix {

/// The lines of a grid that can be looked at, from the oldest of the scrollback to the last of the screen; those of the
/// alternate screen alone while it is shown. Numbers must be of lines there are.
class TerminalLines final
{
public:
    explicit TerminalLines(const TerminalGrid &grid)
        : m_grid(grid)
    {
    }

    qint64 screen() const { return m_grid.history().endLine(); }
    qint64 first() const { return m_grid.isAlternate() ? screen() : m_grid.history().firstLine(); }
    qint64 end() const { return screen() + m_grid.rows(); }
    int columns() const { return m_grid.columns(); }
    const TerminalGrid &grid() const { return m_grid; }

    bool contains(qint64 number) const { return number >= first() && number < end(); }
    /// Valid until the next call.
    std::span<const TerminalCell> cells(qint64 number) const;
    bool wraps(qint64 number) const;
    bool isPrompt(qint64 number) const;
    TerminalLineSize size(qint64 number) const;
    /// The first of the lines that are one wrapped line with this one, and one more than the last.
    qint64 paragraphStart(qint64 number) const;
    qint64 paragraphEnd(qint64 number) const;
    TerminalPoint clamped(TerminalPoint point) const;

private:
    const TerminalGrid &m_grid;
};

} // namespace moorix
