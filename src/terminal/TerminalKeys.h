// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalModes.h"

/// The bytes a program expects for what the user does, as xterm sends them.
namespace moorix::TerminalKeys {

QByteArray key(TerminalKey key, TerminalModifiers modifiers, const TerminalModes &modes);

/// Control with a letter or one of @[\]^_?/ and digits 2 to 8 makes a control character, Alt puts an escape in front.
QByteArray character(char32_t character, TerminalModifiers modifiers);

/// See TerminalEmulator::paste.
QByteArray paste(const QString &text, const TerminalModes &modes);

enum class MouseEvent { press, release, move };

/// `button` 1 to 3, 4 and 5 for the wheel, 0 for a move without a button. Empty if the program cannot be told.
QByteArray mouse(MouseEvent event, int button, int row, int column, TerminalModifiers modifiers,
                 const TerminalModes &modes);

} // namespace moorix::TerminalKeys
