// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalInterpreter.h"

#include <string_view>

namespace moorix {

/// For adjusting: the screen full of E.
void TerminalInterpreter::fillScreen()
{
    setPrivateMode(6, false);
    resetMargins();
    const bool protects = m_grid.pen.isProtected;
    m_grid.pen.isProtected = false;
    m_grid.forgetSizes();
    matchSizes();
    write("\x1b#8");
    m_grid.pen.isProtected = protects;
    m_grid.forgetWraps();
    sendCursor({0, 0});
}

/// As after a change of the width.
void TerminalInterpreter::beginScreen()
{
    resetMargins();
    write("\x1b[2J");
    sendCursor({0, 0});
}

void TerminalInterpreter::resetMargins()
{
    write("\x1b[r");
    m_top = 0;
    m_bottom = m_grid.rows();
}

/// What moves the cursor or changes the screen and needs more than libvterm does; false for everything else.
bool TerminalInterpreter::edit(const TerminalSequence &sequence)
{
    constexpr std::string_view settling = "@ABCDEFGHJKLMPXZ`adef";
    const int number = sequenceKey(sequence.final, sequence.intermediate, sequence.leader);
    const bool isSelective = number == sequenceKey('J', 0, '?') || number == sequenceKey('K', 0, '?');
    if (isSelective || (number == sequence.final && settling.find(sequence.final) != std::string_view::npos))
        settle();
    const int count = std::max(1, sequence.value(0, 1));
    const TerminalReflow::Place place = position();
    const TerminalRectangle rest{place.row, place.row + 1, place.column, m_grid.columns()};
    const TerminalRectangle region{m_top, m_bottom, 0, m_grid.columns()};
    switch (number) {
    case sequenceKey('A'):
    case sequenceKey('F'):
        moveVertically(-count);
        break;
    case sequenceKey('B'):
    case sequenceKey('E'):
        moveVertically(count);
        break;
    case sequenceKey('J'):
        if (sequence.value(0, 0) != 3)
            return false;
        clearScrollback();
        break;
    case sequenceKey('@'):
        m_grid.scroll(rest, 0, -count);
        break;
    case sequenceKey('P'):
        m_grid.scroll(rest, 0, count);
        break;
    case sequenceKey('@', ' '):
    case sequenceKey('A', ' '):
        if (isWithinMargins())
            m_grid.scroll(region, 0, sequence.final == '@' ? count : -count);
        break;
    case sequenceKey('L'):
    case sequenceKey('M'):
        m_grid.dropsLines = true;
        forward(sequence);
        m_grid.dropsLines = false;
        if (isWithinMargins())
            write("\r");
        break;
    case sequenceKey('S'):
    case sequenceKey('T'):
    case sequenceKey('^'):
        // With more numbers, or zero, it would be about the mouse.
        if (sequence.parameters.size() == 1 && (sequence.final != 'T' || sequence.value(0, 1) != 0))
            scrollBy(sequence.final == 'S' ? count : -count);
        break;
    default:
        return false;
    }
    if (number == sequenceKey('E') || number == sequenceKey('F'))
        write("\r");
    return true;
}

/// A cursor that waits behind the last column goes on to.
void TerminalInterpreter::scrollBy(int lines)
{
    const TerminalReflow::Place place = cursorOrEnd();
    const bool isWaiting = place.column == m_grid.columns(place.row);
    m_grid.scroll({m_top, m_bottom, 0, m_grid.columns()}, lines, 0);
    matchSizes();
    if (isWaiting)
        moveCursor(place);
}

/// A region of less than two lines is none, and nothing happens.
void TerminalInterpreter::setMargins(const TerminalSequence &sequence)
{
    const int rows = m_grid.rows();
    const int top = std::max(1, sequence.value(0, 1));
    const int last = sequence.value(1, 0);
    const int bottom = last < 1 ? rows : std::min(last, rows);
    if (top >= bottom)
        return;
    m_top = top - 1;
    m_bottom = bottom;
    write("\x1b[" + QByteArray::number(top) + ';' + QByteArray::number(bottom) + 'r');
}

bool TerminalInterpreter::isWithinMargins() const
{
    const int row = position().row;
    return row >= m_top && row < m_bottom;
}

/// Not across a margin.
void TerminalInterpreter::moveVertically(int lines)
{
    const TerminalReflow::Place place = cursor();
    const int top = place.row >= m_top ? m_top : 0;
    const int last = (place.row < m_bottom ? m_bottom : m_grid.rows()) - 1;
    sendCursor({std::clamp(place.row + lines, top, last), place.column});
}

/// A cursor that waits behind the last column is on it from now.
void TerminalInterpreter::settle()
{
    const TerminalReflow::Place place = position();
    if (m_grid.isPending(place.row, place.column))
        sendCursor({place.row, m_grid.columns(place.row) - 1});
}

} // namespace moorix
