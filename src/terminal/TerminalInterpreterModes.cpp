// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalInterpreter.h"

namespace moorix {

void TerminalInterpreter::setModes(const TerminalSequence &sequence, bool on)
{
    for (const TerminalPen::Parameter &parameter : sequence.parameters) {
        if (parameter.value == TerminalPen::Parameter::absent || parameter.joined)
            continue;
        if (sequence.leader == '?')
            setPrivateMode(parameter.value, on);
        else
            setMode(parameter.value, on);
    }
}

void TerminalInterpreter::setMode(int mode, bool on)
{
    if (mode == 4)
        m_modes.insert = m_grid.inserts = on;
    else if (mode == 20)
        m_modes.newLine = on;
    write("\x1b[" + QByteArray::number(mode) + (on ? 'h' : 'l'));
}

void TerminalInterpreter::setPrivateMode(int mode, bool on)
{
    using Bytes = TerminalModes::MouseBytes;
    switch (mode) {
    case 1:
        m_modes.applicationCursor = on;
        break;
    case 6:
        m_modes.origin = on;
        break;
    case 1000:
        m_modes.mouse = on ? TerminalMouse::clicks : TerminalMouse::none;
        break;
    case 1002:
        m_modes.mouse = on ? TerminalMouse::drags : TerminalMouse::none;
        break;
    case 1003:
        m_modes.mouse = on ? TerminalMouse::motion : TerminalMouse::none;
        break;
    case 1004:
        m_modes.focusReports = on;
        break;
    case 1005:
        m_modes.mouseBytes = on ? Bytes::utf8 : Bytes::plain;
        break;
    case 1006:
        m_modes.mouseBytes = on ? Bytes::sgr : Bytes::plain;
        break;
    case 1015:
        m_modes.mouseBytes = on ? Bytes::decimal : Bytes::plain;
        break;
    case 2004:
        m_modes.bracketedPaste = on;
        break;
    case 2026:
        m_isUpdating = on;
        return;
    // Margins at the sides are not offered.
    case 69:
        return;
    case 47:
    case 1047:
        showAlternate(on);
        return;
    case 1048:
        if (on)
            saveCursor(m_grid.isAlternate());
        else
            restoreCursor(m_grid.isAlternate());
        return;
    case 1049:
        if (on == m_grid.isAlternate())
            return;
        if (on)
            saveCursor(false);
        showAlternate(on);
        if (!on)
            restoreCursor(false);
        return;
    default:
        break;
    }
    write("\x1b[?" + QByteArray::number(mode) + (on ? 'h' : 'l'));
}

void TerminalInterpreter::showAlternate(bool alternate)
{
    if (alternate != m_grid.isAlternate())
        write(alternate ? "\x1b[?1047h" : "\x1b[?1047l");
}

} // namespace moorix
