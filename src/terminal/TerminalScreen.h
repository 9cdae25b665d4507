// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalLine.h"
#include "terminal/TerminalScrollback.h"

#include <vector>

namespace moorix {

struct TerminalRectangle
{
    int top;
    int bottom;
    int left;
    int right;
};

/// The cells of one screen. Rows and columns count from 0, ends are exclusive; what lies outside is left out. A wide
/// character of which one half is overwritten or moved away loses the other one.
class TerminalScreen final
{
public:
    /// Lines that leave at the top go to `history`, if there is one, which must outlive the screen.
    TerminalScreen(int rows, int columns, TerminalScrollback *history);

    int rows() const { return int(m_lines.size()); }
    int columns() const { return m_columns; }
    const TerminalLine &line(int row) const { return m_lines[index(row)]; }
    TerminalLine &line(int row) { return m_lines[index(row)]; }

    /// `cell.width` tells how many columns it takes.
    void put(int row, int column, const TerminalCell &cell);
    /// The cells of a row from `column` up to `end`, which is not that of the line, for whole characters.
    TerminalCell *room(int row, int column, int end);
    void erase(TerminalRectangle area, const TerminalCell &blank);
    void eraseUnprotected(TerminalRectangle area, const TerminalCell &blank);
    /// Moves the cells of the area, whole lines when upwards (`down` > 0 moves the text up) or downwards, to the left
    /// for `right` > 0. `keeps`: what leaves the screen at its top is history.
    void scroll(TerminalRectangle area, int down, int right, const TerminalCell &blank, bool keeps);
    /// The text of a line goes on in the next; -1 is the last one of the history.
    void setWraps(int row, bool padded);

    /// All lines, from the top; the screen is unusable until it gets new ones, which are as many as its rows from then.
    std::vector<TerminalLine> takeLines();
    void setLines(std::vector<TerminalLine> lines, int columns);
    /// Cuts lines and columns off or adds them, at the right and at the bottom.
    void crop(int rows, int columns);

private:
    std::size_t index(int row) const
    {
        const std::size_t at = m_top + std::size_t(row);
        return at < m_lines.size() ? at : at - m_lines.size();
    }
    void split(TerminalLine &line, int column);
    void scrollUp(int top, int bottom, int count, const TerminalCell &blank, bool keeps);
    void scrollDown(int top, int bottom, int count, const TerminalCell &blank);
    void rotate(int top, int bottom, int count);
    void scrollSideways(TerminalLine &line, int left, int right, int count, const TerminalCell &blank);
    void empty(TerminalLine &line, const TerminalCell &blank);

    /// A ring that begins at `m_top`, so that scrolling moves no cells.
    std::vector<TerminalLine> m_lines;
    std::size_t m_top = 0;
    int m_columns;
    TerminalScrollback *m_history;
};

inline void TerminalScreen::put(int row, int column, const TerminalCell &cell)
{
    TerminalLine &line = m_lines[index(row)];
    const int end = column + cell.width;
    if (end > m_columns)
        return;
    TerminalCell *const at = line.cells.data() + column;
    if (at->width == 0)
        split(line, column);
    if (end == m_columns)
        line.wraps = line.padded = false;
    else if (at[cell.width].width == 0)
        split(line, end);
    *at = cell;
    if (cell.width == 2)
        at[1] = {0, cell.style, 0};
    if (end > line.used)
        line.used = end;
}

inline TerminalCell *TerminalScreen::room(int row, int column, int end)
{
    TerminalLine &line = m_lines[index(row)];
    split(line, column);
    split(line, end);
    line.used = std::max(line.used, end);
    return line.cells.data() + column;
}

} // namespace moorix
