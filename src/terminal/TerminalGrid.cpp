// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalGrid.h"

namespace moorix {

TerminalGrid::TerminalGrid(int rows, int columns)
    : m_history(columns)
    , m_normal(rows, columns, &m_history)
    , m_alternate(rows, columns, nullptr)
{
}

void TerminalGrid::setAlternate(bool alternate)
{
    if (alternate == m_isAlternate)
        return;
    m_isAlternate = alternate;
    forgetFlow();
}

void TerminalGrid::clearAlternate()
{
    m_alternate.erase({0, rows(), 0, columns()}, blank());
    for (int row = 0; row < rows(); ++row)
        m_alternate.line(row).size = TerminalLineSize::single;
}

void TerminalGrid::put(char32_t character, int width, int row, int column)
{
    if (row < 0 || row >= rows() || column < 0 || column >= columns() || width < 1)
        return;
    if (column == 0 && m_flow.row >= 0)
        markWrap(row, width);
    // libvterm has made room for one column.
    if (inserts && width == 2)
        screen().scroll({row, row + 1, column, columns()}, 0, -1, blank(), false);
    TerminalCell cell;
    cell.character = character;
    cell.style = pen;
    cell.width = quint8(std::min(width, 2));
    screen().put(row, column, cell);
    m_flow = {row, column, width, 0};
    m_lastCharacter = character;
}

void TerminalGrid::put(std::span<const Glyph> glyphs, int columns, int row, int column)
{
    TerminalCell *at = begin(glyphs.front().width, columns, row, column);
    // Member by member: a whole cell that was just made would have to be waited for.
    const TerminalStyle style = pen;
    const auto set = [&at, style](char32_t character, int width) {
        at->character = character;
        at->style = style;
        at->width = quint8(width);
        ++at;
    };
    for (const Glyph &glyph : glyphs) {
        set(glyph.character, glyph.width);
        if (glyph.width == 2)
            set(0, 0);
    }
    const Glyph &last = glyphs.back();
    m_flow = {row, column + columns - last.width, last.width, 0};
    m_lastCharacter = last.character;
}

void TerminalGrid::put(QByteArrayView characters, int row, int column)
{
    TerminalCell *at = begin(1, int(characters.size()), row, column);
    const TerminalStyle style = pen;
    for (const char character : characters) {
        at->character = uchar(character);
        at->style = style;
        at->width = 1;
        ++at;
    }
    m_flow = {row, column + int(characters.size()) - 1, 1, 0};
    m_lastCharacter = uchar(characters.back());
}

/// Room for a run of characters.
TerminalCell *TerminalGrid::begin(int firstWidth, int columns, int row, int column)
{
    if (column == 0 && m_flow.row >= 0)
        markWrap(row, firstWidth);
    return screen().room(row, column, column + columns);
}

void TerminalGrid::combine(char32_t mark, int row, int column)
{
    if (m_flow.row >= 0) {
        row = m_flow.row - m_flow.scrolled;
        column = m_flow.column;
    } else {
        --column;
    }
    if (row < 0 || row >= rows() || column < 0 || column >= columns())
        return;
    TerminalLine &line = screen().line(row);
    if (line.cells[std::size_t(column)].width == 0 && column > 0)
        --column;
    TerminalCell &cell = line.cells[std::size_t(column)];
    cell.character = m_clusters.extended(cell.character, mark);
    line.used = std::max(line.used, column + cell.width);
}

bool TerminalGrid::join(char32_t second, int row, int column)
{
    if (m_flow.row != row || m_flow.scrolled != 0 || m_flow.column != column || m_flow.width != 1 || column < 1)
        return false;
    TerminalCell cell = screen().line(row).cells[std::size_t(column) - 1];
    if (cell.width != 1)
        return false;
    cell.character = m_clusters.extended(cell.character, second);
    cell.width = 2;
    const bool wraps = screen().line(row).wraps;
    screen().put(row, column - 1, cell);
    screen().line(row).wraps = wraps;
    m_flow = {row, column - 1, 2, 0};
    return true;
}

void TerminalGrid::scroll(TerminalRectangle area, int down, int right)
{
    if (down != 0 && m_flow.row >= area.top && m_flow.row < area.bottom)
        m_flow.scrolled += down;
    screen().scroll(area, down, right, blank(), !dropsLines);
}

void TerminalGrid::moved(int row, int column)
{
    const bool stayed =
        m_flow.scrolled == 0 && row == m_flow.row && (column == m_flow.column + m_flow.width || isPending(row, column));
    if (!stayed)
        forgetFlow();
}

bool TerminalGrid::isPending(int row, int column) const
{
    return m_flow.row == row && m_flow.scrolled == 0 && column == m_flow.column &&
           m_flow.column + m_flow.width >= columns(row);
}

std::vector<TerminalReflow::Place> TerminalGrid::resize(int rows, int columns,
                                                        std::vector<TerminalReflow::Place> places)
{
    forgetFlow();
    m_alternate.crop(rows, columns);
    return TerminalReflow::resize(m_normal, m_history, rows, columns, std::move(places));
}

bool TerminalGrid::setSize(int row, TerminalLineSize size)
{
    if (size != TerminalLineSize::single && columns() < TerminalLine::fewestForDouble)
        return false;
    TerminalLine &line = screen().line(row);
    if (line.size == size)
        return true;
    line.size = size;
    line.wraps = line.padded = false;
    return true;
}

void TerminalGrid::forgetSizes()
{
    for (int row = 0; row < rows(); ++row)
        screen().line(row).size = TerminalLineSize::single;
}

void TerminalGrid::clear()
{
    const int rows = this->rows();
    m_isAlternate = false;
    m_normal.erase({0, rows, 0, columns()}, {});
    forgetSizes();
    m_history.clear(0);
    m_clusters.clear();
    pen = {};
    inserts = dropsLines = false;
    m_lastCharacter = 0;
    forgetFlow();
}

void TerminalGrid::forgetWraps()
{
    forgetFlow();
    for (int row = 0; row < rows(); ++row)
        screen().line(row).wraps = screen().line(row).padded = false;
}

void TerminalGrid::forgetLinks()
{
    pen.link = 0;
    m_history.forEachStyle([](TerminalStyle &style) { style.link = 0; });
    for (TerminalScreen *screen : {&m_normal, &m_alternate}) {
        for (int row = 0; row < rows(); ++row) {
            for (TerminalCell &cell : screen->line(row).cells)
                cell.style.link = 0;
        }
    }
}

/// What is erased gets the background that is set, and nothing else of the style.
TerminalCell TerminalGrid::blank() const
{
    TerminalCell cell;
    cell.style.background = pen.background;
    return cell;
}

/// A character came to the first column right after the end of a line: the line before it goes on.
void TerminalGrid::markWrap(int row, int width)
{
    const int before = m_flow.row - m_flow.scrolled;
    // Lines of double size stay as they are when the others are rewrapped.
    if (before >= 0 && columns(before) != columns())
        return;
    const int end = m_flow.column + m_flow.width;
    const bool isPadded = end == columns() - 1 && width == 2;
    if ((end >= columns() || isPadded) && before == row - 1)
        screen().setWraps(row - 1, isPadded);
}

} // namespace moorix
