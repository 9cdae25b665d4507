// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalScreen.h"

namespace moorix::TerminalReflow {

/// A place on the screen; behind the last column where the next character begins a new line.
struct Place
{
    int row = 0;
    int column = 0;
};

/// Wraps the text of a screen, and what of it has left for the history, to another width. Lines that do not fit any
/// more go to the history; if the text reaches the bottom, lines come back from there when there is room. Tells where
/// the places (cursors) have moved to, first of which is the one that stays on the screen.
std::vector<Place> resize(TerminalScreen &screen, TerminalScrollback &history, int rows, int columns,
                          std::vector<Place> places);

} // namespace moorix::TerminalReflow
