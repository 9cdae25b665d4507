// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

namespace moorix {

/// What a program has switched on that matters beyond its output.
struct TerminalModes
{
    enum class MouseBytes { plain, utf8, sgr, decimal };

    bool applicationCursor = false;
    bool applicationKeypad = false;
    /// Enter sends a line feed too.
    bool newLine = false;
    bool bracketedPaste = false;
    bool focusReports = false;
    TerminalMouse mouse = TerminalMouse::none;
    /// Only that a button was pressed is told, and where.
    bool mousePressesOnly = false;
    MouseBytes mouseBytes = MouseBytes::plain;
    /// Cursor positions count from the scroll region's corner.
    bool origin = false;
    /// Characters behind the last column go to the next line.
    bool autoWrap = true;
    /// Whoever asks for 80 or 132 columns gets an empty screen at least; the width is the user's.
    bool allowsWidths = false;
    /// New characters move those behind them.
    bool insert = false;
    /// Screen with foreground and background exchanged.
    bool reversed = false;
    bool cursorVisible = true;
    bool cursorBlinks = true;
    TerminalCursor::Shape cursorShape = TerminalCursor::Shape::block;
};

} // namespace moorix
