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
    case 3:
        if (m_modes.allowsWidths)
            beginScreen();
        return;
    case 6:
        m_modes.origin = on;
        break;
    case 7:
        if (!on)
            settle();
        m_modes.autoWrap = on;
        break;
    case 9:
    case 1000:
        setMouse(TerminalMouse::clicks, mode == 9, on);
        return;
    case 1002:
        setMouse(TerminalMouse::drags, false, on);
        return;
    case 1003:
        setMouse(TerminalMouse::motion, false, on);
        return;
    case 40:
        m_modes.allowsWidths = on;
        return;
    case 66:
        m_modes.applicationKeypad = on;
        return;
    case 1004:
        m_modes.focusReports = on;
        break;
    case 1005:
        setMouseBytes(Bytes::utf8, on);
        return;
    case 1006:
        setMouseBytes(Bytes::sgr, on);
        return;
    case 1015:
        setMouseBytes(Bytes::decimal, on);
        return;
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
        showScreen(on);
        return;
    case 1047:
        if (!on && m_grid.isAlternate())
            m_grid.clearAlternate();
        showScreen(on);
        return;
    case 1048:
        if (on)
            saveCursor(m_grid.isAlternate());
        else
            restoreCursor(m_grid.isAlternate());
        return;
    case 1049:
        if (!on && !m_grid.isAlternate())
            return;
        if (on) {
            saveCursor(m_grid.isAlternate());
            settle();
            m_grid.clearAlternate();
        }
        showScreen(on);
        if (!on)
            restoreCursor(false);
        return;
    default:
        break;
    }
    write("\x1b[?" + QByteArray::number(mode) + (on ? 'h' : 'l'));
}

/// Switching one kind off ends them all, as they exclude each other.
void TerminalInterpreter::setMouse(TerminalMouse mouse, bool pressesOnly, bool on)
{
    m_modes.mouse = on ? mouse : TerminalMouse::none;
    m_modes.mousePressesOnly = on && pressesOnly;
}

void TerminalInterpreter::setMouseBytes(TerminalModes::MouseBytes bytes, bool on)
{
    if (on)
        m_modes.mouseBytes = bytes;
    else if (m_modes.mouseBytes == bytes)
        m_modes.mouseBytes = TerminalModes::MouseBytes::plain;
}

} // namespace moorix
