// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalScreen.h"

namespace moorix {

TerminalScreen::TerminalScreen(int rows, int columns, TerminalScrollback *history)
    : m_lines(std::size_t(rows), TerminalLine(columns))
    , m_columns(columns)
    , m_history(history)
{
}

void TerminalScreen::erase(TerminalRectangle area, const TerminalCell &blank)
{
    area.bottom = std::min(area.bottom, rows());
    area.left = std::max(0, area.left);
    area.right = std::min(area.right, m_columns);
    for (int row = std::max(0, area.top); row < area.bottom && area.left < area.right; ++row) {
        TerminalLine &line = this->line(row);
        split(line, area.left);
        split(line, area.right);
        line.erase(area.left, area.right, blank);
        if (area.right == m_columns)
            line.wraps = line.padded = false;
        if (area.left == 0 && area.right == m_columns)
            line.prompt = false;
    }
    if (m_history && area.top <= 0 && area.left <= 0 && area.bottom == rows() && area.right == m_columns)
        m_history->setLastWraps(false);
}

void TerminalScreen::eraseUnprotected(TerminalRectangle area, const TerminalCell &blank)
{
    for (int row = area.top; row < std::min(area.bottom, rows()); ++row) {
        const std::vector<TerminalCell> &cells = line(row).cells;
        int start = area.left;
        for (int column = area.left; column < std::min(area.right, m_columns); ++column) {
            if (!cells[std::size_t(column)].style.isProtected)
                continue;
            erase({row, row + 1, start, column}, blank);
            start = column + 1;
        }
        erase({row, row + 1, start, area.right}, blank);
    }
}

void TerminalScreen::scroll(TerminalRectangle area, int down, int right, const TerminalCell &blank, bool keeps)
{
    // Nearly always it is the whole screen and one line.
    if (down == 1 && keeps && area.top == 0 && area.bottom == rows()) {
        TerminalLine &first = m_lines[m_top];
        if (m_history)
            m_history->append(first);
        empty(first, blank);
        m_top = m_top + 1 == m_lines.size() ? 0 : m_top + 1;
        return;
    }
    area.top = std::max(0, area.top);
    area.bottom = std::min(area.bottom, rows());
    area.left = std::max(0, area.left);
    area.right = std::min(area.right, m_columns);
    if (area.top >= area.bottom || area.left >= area.right)
        return;
    const int height = area.bottom - area.top;
    const int width = area.right - area.left;
    if (down > 0)
        scrollUp(area.top, area.bottom, std::min(down, height), blank, keeps && area.top == 0);
    else if (down < 0)
        scrollDown(area.top, area.bottom, std::min(-down, height), blank);
    for (int row = area.top; right != 0 && row < area.bottom; ++row)
        scrollSideways(line(row), area.left, area.right, std::clamp(right, -width, width), blank);
}

void TerminalScreen::setWraps(int row, bool padded)
{
    if (row >= 0) {
        line(row).wraps = true;
        line(row).padded = padded;
    } else if (m_history) {
        m_history->setLastWraps(true);
    }
}

std::vector<TerminalLine> TerminalScreen::takeLines()
{
    std::rotate(m_lines.begin(), m_lines.begin() + std::ptrdiff_t(m_top), m_lines.end());
    m_top = 0;
    return std::move(m_lines);
}

void TerminalScreen::setLines(std::vector<TerminalLine> lines, int columns)
{
    m_lines = std::move(lines);
    m_top = 0;
    m_columns = columns;
}

void TerminalScreen::crop(int rows, int columns)
{
    std::vector<TerminalLine> lines = takeLines();
    lines.resize(std::size_t(rows), TerminalLine(columns));
    for (TerminalLine &line : lines) {
        if (int(line.cells.size()) > columns)
            split(line, columns);
        if (int(line.cells.size()) != columns)
            line.wraps = line.padded = false;
        line.cells.resize(std::size_t(columns));
        line.used = std::min(line.used, columns);
        if (columns < TerminalLine::fewestForDouble)
            line.size = TerminalLineSize::single;
    }
    setLines(std::move(lines), columns);
}

void TerminalScreen::split(TerminalLine &line, int column)
{
    if (column <= 0 || column >= int(line.cells.size()) || line.cells[std::size_t(column)].width != 0)
        return;
    for (const int half : {column - 1, column}) {
        line.cells[std::size_t(half)].character = 0;
        line.cells[std::size_t(half)].width = 1;
    }
}

void TerminalScreen::scrollUp(int top, int bottom, int count, const TerminalCell &blank, bool keeps)
{
    for (int row = top; row < top + count; ++row) {
        if (keeps && m_history)
            m_history->append(line(row));
        empty(line(row), blank);
    }
    if (top == 0 && bottom == rows())
        m_top = (m_top + std::size_t(count)) % m_lines.size();
    else
        rotate(top, bottom, count);
    // What a line went on in is somewhere else now.
    if (top > 0)
        line(top - 1).wraps = line(top - 1).padded = false;
    else if (!keeps && m_history)
        m_history->setLastWraps(false);
    if (bottom < rows() && bottom - count - 1 >= top)
        line(bottom - count - 1).wraps = line(bottom - count - 1).padded = false;
}

void TerminalScreen::scrollDown(int top, int bottom, int count, const TerminalCell &blank)
{
    for (int row = bottom - count; row < bottom; ++row)
        empty(line(row), blank);
    rotate(top, bottom, bottom - top - count);
    if (top > 0)
        line(top - 1).wraps = line(top - 1).padded = false;
    else if (m_history)
        m_history->setLastWraps(false);
    line(bottom - 1).wraps = line(bottom - 1).padded = false;
}

/// The first `count` lines go behind the others.
void TerminalScreen::rotate(int top, int bottom, int count)
{
    const int height = bottom - top;
    std::vector<TerminalLine> moved;
    moved.reserve(std::size_t(height));
    for (int row = 0; row < height; ++row)
        moved.push_back(std::move(line(top + (row + count) % height)));
    for (int row = 0; row < height; ++row)
        line(top + row) = std::move(moved[std::size_t(row)]);
}

void TerminalScreen::scrollSideways(TerminalLine &line, int left, int right, int count, const TerminalCell &blank)
{
    split(line, left);
    split(line, right);
    const auto at = [&](int column) { return line.cells.begin() + column; };
    if (count > 0) {
        split(line, left + count);
        std::move(at(left + count), at(right), at(left));
        line.used = std::max(line.used, std::min(right, m_columns));
        line.erase(right - count, right, blank);
    } else {
        split(line, right + count);
        std::move_backward(at(left), at(right + count), at(right));
        line.used = right > line.used ? std::min(right, line.used - count) : line.used;
        line.erase(left, left - count, blank);
    }
    if (right == m_columns)
        line.wraps = line.padded = false;
}

void TerminalScreen::empty(TerminalLine &line, const TerminalCell &blank)
{
    line.clear();
    if (blank != TerminalCell())
        line.erase(0, m_columns, blank);
}

} // namespace moorix
