// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalKeyboard.h"

#include <QKeyEvent>

#include <optional>

namespace moorix::TerminalKeyboard {

namespace {

std::optional<TerminalKey> keypadKey(int key)
{
    using enum TerminalKey;
    if (key >= Qt::Key_0 && key <= Qt::Key_9)
        return TerminalKey(int(keypad0) + key - Qt::Key_0);
    switch (key) {
    case Qt::Key_Asterisk:
        return keypadMultiply;
    case Qt::Key_Plus:
        return keypadPlus;
    case Qt::Key_Comma:
        return keypadComma;
    case Qt::Key_Minus:
        return keypadMinus;
    case Qt::Key_Period:
        return keypadPeriod;
    case Qt::Key_Slash:
        return keypadDivide;
    case Qt::Key_Enter:
        return keypadEnter;
    case Qt::Key_Equal:
        return keypadEqual;
    default:
        return std::nullopt;
    }
}

std::optional<TerminalKey> specialKey(int key)
{
    using enum TerminalKey;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12)
        return TerminalKey(int(f1) + key - Qt::Key_F1);
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return enter;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return tab;
    case Qt::Key_Backspace:
        return backspace;
    case Qt::Key_Escape:
        return escape;
    case Qt::Key_Up:
        return up;
    case Qt::Key_Down:
        return down;
    case Qt::Key_Left:
        return left;
    case Qt::Key_Right:
        return right;
    case Qt::Key_Insert:
        return insert;
    case Qt::Key_Delete:
        return del;
    case Qt::Key_Home:
        return home;
    case Qt::Key_End:
        return end;
    case Qt::Key_PageUp:
        return pageUp;
    case Qt::Key_PageDown:
        return pageDown;
    default:
        return std::nullopt;
    }
}

/// The character that Control is held with. The key names it where the layout is a Latin one; elsewhere the control
/// character tells that the system has made of it.
char32_t controlledCharacter(const QKeyEvent &event)
{
    const int key = event.key();
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return char32_t(key) - U'A' + U'a';
    if (key >= Qt::Key_Space && key < 0x7F)
        return char32_t(key);
    const QString text = event.text();
    if (text.size() == 1 && text.front() >= u'\x01' && text.front() <= u'\x1A')
        return text.front().unicode() + U'`';
    return text.isEmpty() ? 0 : text.toUcs4().constFirst();
}

} // namespace

TerminalModifiers modifiersOf(Qt::KeyboardModifiers modifiers)
{
    return {modifiers.testFlag(Qt::ShiftModifier), modifiers.testFlag(Qt::AltModifier),
            modifiers.testFlag(Qt::ControlModifier)};
}

Command commandOf(const QKeyEvent &event)
{
    using enum Command;
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const int key = event.key();
    if (modifiers == (Qt::ControlModifier | Qt::ShiftModifier)) {
        switch (key) {
        case Qt::Key_C:
            return copy;
        case Qt::Key_V:
            return pasteClipboard;
        case Qt::Key_F:
            return find;
        case Qt::Key_A:
            return selectAll;
        case Qt::Key_Up:
            return previousPrompt;
        case Qt::Key_Down:
            return nextPrompt;
        // On many keyboards it takes Shift to type it.
        case Qt::Key_Plus:
            return largerFont;
        default:
            return none;
        }
    }
    if (modifiers == Qt::ShiftModifier) {
        switch (key) {
        case Qt::Key_Insert:
            return pasteSelection;
        case Qt::Key_PageUp:
            return pageUp;
        case Qt::Key_PageDown:
            return pageDown;
        case Qt::Key_Home:
            return toTop;
        case Qt::Key_End:
            return toBottom;
        default:
            return none;
        }
    }
    if (modifiers == Qt::ControlModifier) {
        switch (key) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            return largerFont;
        case Qt::Key_Minus:
            return smallerFont;
        case Qt::Key_0:
            return defaultFont;
        default:
            return none;
        }
    }
    return none;
}

bool isLeftToWindow(const QKeyEvent &event)
{
    if (commandOf(event) != Command::none)
        return false;
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers.testFlag(Qt::MetaModifier) || modifiers == (Qt::ControlModifier | Qt::ShiftModifier))
        return true;
    return modifiers == Qt::ControlModifier && event.key() == Qt::Key_Tab;
}

void send(TerminalEmulator &emulator, const QKeyEvent &event)
{
    TerminalModifiers modifiers = modifiersOf(event.modifiers());
    modifiers.shift = modifiers.shift || event.key() == Qt::Key_Backtab;
    const std::optional<TerminalKey> keypad =
        event.modifiers().testFlag(Qt::KeypadModifier) ? keypadKey(event.key()) : std::nullopt;
    if (const std::optional<TerminalKey> key = keypad ? keypad : specialKey(event.key())) {
        emulator.sendKey(*key, modifiers);
    } else if (modifiers.control) {
        if (const char32_t character = controlledCharacter(event))
            emulator.sendCharacter(character, modifiers);
    } else if (modifiers.alt) {
        // The text has been shifted already.
        modifiers.shift = false;
        for (const char32_t character : event.text().toUcs4())
            emulator.sendCharacter(character, modifiers);
    } else if (!event.text().isEmpty()) {
        emulator.sendText(event.text());
    }
}

} // namespace moorix::TerminalKeyboard
