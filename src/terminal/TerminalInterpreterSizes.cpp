// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of double size.
#include "terminal/TerminalInterpreter.h"

#include <vterm.h>

namespace moorix {

namespace {

using enum TerminalLineSize;

/// As libvterm tells it: the upper half is 1, the lower one 2.
TerminalLineSize sizeOf(bool isWide, unsigned half)
{
    if (half != 0)
        return half == 1 ? upperHalf : lowerHalf;
    return isWide ? wide : single;
}

/// The last character of the escape sequence that makes a line so.
char finalOf(TerminalLineSize size)
{
    switch (size) {
    case upperHalf:
        return '3';
    case lowerHalf:
        return '4';
    case wide:
        return '6';
    case single:
        break;
    }
    return '5';
}

} // namespace

/// The cursor's line becomes one of another size.
void TerminalInterpreter::resizeLine(char final)
{
    settle();
    write(QByteArray("\x1b#") + final);
    sendCursor(position());
}

bool TerminalInterpreter::lineResized(int row, bool isWide, unsigned half)
{
    const TerminalLineSize size = sizeOf(isWide, half);
    if (!m_grid.setSize(row, size))
        return false;
    m_hasSizes = m_hasSizes || size != single;
    return true;
}

/// Controls, and sequences in origin mode, leave libvterm's cursor in the hidden half of a line.
void TerminalInterpreter::stayOnLine()
{
    VTermPos known;
    vterm_state_get_cursorpos(m_state, &known);
    const TerminalReflow::Place place = position();
    if (known.col > place.column)
        sendCursor(place);
}

/// libvterm knows the sizes of the lines of one screen.
void TerminalInterpreter::showScreen(bool alternate)
{
    m_grid.setAlternate(alternate);
    matchSizes();
}

/// Tells libvterm which lines are of double size where it believes something else.
void TerminalInterpreter::matchSizes()
{
    const TerminalReflow::Place place = cursorOrEnd();
    const bool origin = m_modes.origin;
    bool isChanged = false;
    m_hasSizes = false;
    for (int row = 0; row < m_grid.rows(); ++row) {
        const TerminalLineSize size = m_grid.screen().line(row).size;
        m_hasSizes = m_hasSizes || size != single;
        const VTermLineInfo &known = *vterm_state_get_lineinfo(m_state, row);
        if (sizeOf(known.doublewidth != 0, known.doubleheight) == size)
            continue;
        if (!std::exchange(isChanged, true) && origin)
            setPrivateMode(6, false);
        sendCursor({row, 0});
        write(QByteArray("\x1b#") + finalOf(size));
    }
    if (!isChanged)
        return;
    if (origin)
        setPrivateMode(6, true);
    moveCursor(place);
}

} // namespace moorix
