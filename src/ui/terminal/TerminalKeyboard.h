// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

class QKeyEvent;

namespace moorix {

/// Turns the keys of the keyboard into those of a terminal.
namespace TerminalKeyboard {

/// What a key does in the view itself.
enum class Command {
    none,
    copy,
    pasteClipboard,
    pasteSelection,
    pageUp,
    pageDown,
    toTop,
    toBottom,
    previousPrompt,
    nextPrompt,
    find,
    selectAll,
    largerFont,
    smallerFont,
    defaultFont
};

Command commandOf(const QKeyEvent &event);
/// Keys that the window may have for itself although the terminal has the keyboard.
bool isLeftToWindow(const QKeyEvent &event);
/// Nothing is sent for keys that mean nothing to a terminal.
void send(TerminalEmulator &emulator, const QKeyEvent &event);
TerminalModifiers modifiersOf(Qt::KeyboardModifiers modifiers);

} // namespace TerminalKeyboard

} // namespace moorix
