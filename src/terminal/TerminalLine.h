// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalCell.h"

#include <algorithm>
#include <vector>

namespace moorix {

/// A line of the screen. All cells from `used` on are as TerminalCell makes them, so that what is done to short lines
/// costs little however wide the screen is.
struct TerminalLine
{
    /// Half of fewer columns is filled by a single wide character; all lines are single then.
    static constexpr int fewestForDouble = 6;

    std::vector<TerminalCell> cells;
    int used = 0;
    /// The text goes on in the next line.
    bool wraps = false;
    /// The last cell stayed empty because a wide character did not fit: it is no part of the text.
    bool padded = false;
    /// The shell printed a prompt here.
    bool prompt = false;
    /// All but single ones have room for half of the columns.
    TerminalLineSize size = TerminalLineSize::single;

    explicit TerminalLine(int columns = 0)
        : cells(std::size_t(columns))
    {
    }

    /// Empties cells without making them the default's when the style has a background.
    void erase(int from, int to, const TerminalCell &blank)
    {
        const bool isDefault = blank == TerminalCell();
        std::fill(cells.begin() + from, cells.begin() + (isDefault ? std::max(from, std::min(to, used)) : to), blank);
        if (!isDefault)
            used = std::max(used, to);
        else if (to >= used)
            used = std::min(used, from);
    }

    void clear()
    {
        std::fill_n(cells.begin(), used, TerminalCell());
        used = 0;
        wraps = padded = prompt = false;
        size = TerminalLineSize::single;
    }
};

/// Lines that belong together, unwrapped.
struct TerminalParagraph
{
    std::vector<TerminalCell> cells;
    /// The rest of the last line looks like this.
    TerminalStyle fill;
    /// It goes on all the same, see TerminalScrollback::longestText.
    bool wraps = false;
    bool prompt = false;

    void append(const TerminalLine &line)
    {
        const int length = textLength(line);
        cells.insert(cells.end(), line.cells.begin(), line.cells.begin() + length);
        fill = fillOf(line, length);
        wraps = line.wraps;
        prompt = prompt || line.prompt;
    }

    /// Where the text of a line ends. What follows looks all like the last cell.
    static int textLength(const TerminalLine &line)
    {
        const int columns = int(line.cells.size());
        if (line.wraps)
            return columns - line.padded;
        const TerminalStyle fill = line.used < columns ? TerminalStyle() : line.cells.back().style;
        const auto isRest = [&](const TerminalCell &cell) {
            return (cell.character == 0 || (cell.character == U' ' && fill == TerminalStyle())) && cell.width == 1 &&
                   cell.style == fill;
        };
        int length = line.used;
        while (length > 0 && isRest(line.cells[std::size_t(length) - 1]))
            --length;
        return length;
    }

    static TerminalStyle fillOf(const TerminalLine &line, int textLength)
    {
        return textLength < int(line.cells.size()) && !line.wraps ? line.cells.back().style : TerminalStyle();
    }
};

} // namespace moorix
