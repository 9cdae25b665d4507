// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"
#include "ui/terminal/TerminalFrame.h"
#include "ui/terminal/TerminalGeometry.h"

#include <optional>
#include <utility>
#include <vector>

namespace moorix {

/// Characters and a cursor that are shown in place of those of the screen: what the program is expected to answer.
struct TerminalOverlay
{
    std::vector<std::pair<TerminalPoint, QString>> cells;
    std::optional<TerminalPoint> cursor;
};

/// All that a terminal view shows at one moment.
struct TerminalScene
{
    enum class Cursor { none, solid, hollow };

    TerminalGeometry geometry;
    TerminalFrame frame;
    bool isReversed = false;
    /// Blinking text is in the half of its period in which it is shown.
    bool showsBlinking = true;
    TerminalCursor cursor;
    Cursor cursorLook = Cursor::none;
    TerminalRange selection;
    std::vector<TerminalRange> hits;
    TerminalRange currentHit;
    /// Underlined: the link under the mouse.
    TerminalRange link;
    TerminalOverlay overlay;
    /// What an input method is composing, at the cursor.
    QString preedit;
    /// 0 to 1, of the flash that stands for a bell.
    double flash = 0;

    /// Where the cursor is shown.
    TerminalPoint cursorPosition() const { return overlay.cursor.value_or(cursor.position); }
};

} // namespace moorix
