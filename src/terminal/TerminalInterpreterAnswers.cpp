// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalInterpreter.h"

namespace moorix {

namespace {

constexpr qsizetype longestRequest = 64;
constexpr std::size_t mostTitles = 10;

} // namespace

/// What a program asks by a control sequence; false if this is something else. Sizes in pixels and the window's place
/// are not told.
bool TerminalInterpreter::answer(const TerminalSequence &sequence)
{
    const int number = sequence.value(0, 0);
    const bool isPrivate = sequence.leader == '?';
    if ((sequence.leader != 0 && !isPrivate) || sequence.parameters.empty())
        return false;
    if (sequence.final == 'n' && sequence.intermediate == 0 && number == 6) {
        const TerminalReflow::Place place = cursor();
        m_events.output += QByteArray("\x1b[") + (isPrivate ? "?" : "") +
                           QByteArray::number(place.row + 1 - (m_modes.origin ? m_top : 0)) + ';' +
                           QByteArray::number(place.column + 1) + 'R';
        return true;
    }
    if (sequence.final == 'p' && sequence.intermediate == '$') {
        const std::optional<bool> isOn = isPrivate ? privateMode(number) : mode(number);
        m_events.output += QByteArray("\x1b[") + (isPrivate ? "?" : "") + QByteArray::number(number) +
                           (!isOn   ? ";0$y"
                            : *isOn ? ";1$y"
                                    : ";2$y");
        return true;
    }
    if (sequence.final != 't' || sequence.intermediate != 0 || isPrivate)
        return false;
    if (number == 18)
        m_events.output +=
            "\x1b[8;" + QByteArray::number(m_grid.rows()) + ';' + QByteArray::number(m_grid.columns()) + 't';
    else if (number == 22 && sequence.value(1, 0) != 1)
        keepTitle();
    else if (number == 23 && sequence.value(1, 0) != 1)
        bringTitleBack();
    return true;
}

void TerminalInterpreter::changeColors(const TerminalCommands::Colors &colors)
{
    using Kind = TerminalCommands::ColorChange::Kind;
    const int firstNamed = TerminalColorTable::foreground;
    for (const TerminalCommands::ColorChange &change : colors.changes) {
        if (change.kind == Kind::ask) {
            const QByteArray number = change.place < firstNamed ? "4;" + QByteArray::number(change.place)
                                                                : QByteArray::number(10 + change.place - firstNamed);
            m_events.output += "\x1b]" + number + ';' + TerminalColorTable::describe(m_colors.color(change.place)) +
                               m_gate.commandEnd().toByteArray();
            continue;
        }
        if (change.kind == Kind::choose)
            m_colors.choose(change.place, change.color);
        else
            m_colors.forget(change.place, change.place + 1);
        m_events.colors = true;
    }
}

void TerminalInterpreter::keepTitle()
{
    if (m_titles.size() == mostTitles)
        m_titles.erase(m_titles.begin());
    m_titles.push_back(m_title);
}

void TerminalInterpreter::bringTitleBack()
{
    if (m_titles.empty())
        return;
    if (m_titles.back() != m_title)
        m_events.title = m_title = m_titles.back();
    m_titles.pop_back();
}

std::optional<bool> TerminalInterpreter::mode(int mode) const
{
    if (mode != 4 && mode != 20)
        return std::nullopt;
    return mode == 4 ? m_modes.insert : m_modes.newLine;
}

std::optional<bool> TerminalInterpreter::privateMode(int mode) const
{
    using Bytes = TerminalModes::MouseBytes;
    switch (mode) {
    case 1:
        return m_modes.applicationCursor;
    case 5:
        return m_modes.reversed;
    case 6:
        return m_modes.origin;
    case 7:
        return m_modes.autoWrap;
    case 9:
        return m_modes.mousePressesOnly;
    case 12:
        return m_modes.cursorBlinks;
    case 25:
        return m_modes.cursorVisible;
    case 40:
        return m_modes.allowsWidths;
    case 47:
    case 1047:
    case 1049:
        return m_grid.isAlternate();
    case 66:
        return m_modes.applicationKeypad;
    case 1000:
        return m_modes.mouse == TerminalMouse::clicks && !m_modes.mousePressesOnly;
    case 1002:
        return m_modes.mouse == TerminalMouse::drags;
    case 1003:
        return m_modes.mouse == TerminalMouse::motion;
    case 1004:
        return m_modes.focusReports;
    case 1005:
        return m_modes.mouseBytes == Bytes::utf8;
    case 1006:
        return m_modes.mouseBytes == Bytes::sgr;
    case 1015:
        return m_modes.mouseBytes == Bytes::decimal;
    case 2004:
        return m_modes.bracketedPaste;
    case 2026:
        return m_isUpdating;
    default:
        return std::nullopt;
    }
}

void TerminalInterpreter::deviceControl(QByteArrayView text)
{
    m_canRepeat = false;
    if (text == "$qm")
        m_events.output += "\x1bP1$r" + TerminalPen::describe(m_grid.pen) + "m\x1b\\";
    else if (text == "$q\"q")
        m_events.output += QByteArray("\x1bP1$r") + (m_grid.pen.isProtected ? '1' : '0') + "\"q\x1b\\";
    else if (text.startsWith("$q") && text.size() <= longestRequest &&
             std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; }))
        write("\x1bP" + text.toByteArray() + "\x1b\\");
}

} // namespace moorix
