// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalLines.h"

/// What is written on lines, as text; see the functions of TerminalEmulator.
namespace moorix::TerminalText {

QString range(const TerminalLines &lines, const TerminalRange &range);
TerminalRange word(const TerminalLines &lines, TerminalPoint point);
TerminalRange paragraph(const TerminalLines &lines, TerminalPoint point);

/// The text from one line up to, without, another as one string, and where each of its UTF-16 units stands. Lines that
/// wrap follow each other directly, others have a line feed between them; blanks at their ends are kept.
struct Placed
{
    QString text;
    std::vector<TerminalPoint> places;
    /// Where a unit's character ends.
    TerminalPoint endOf(const TerminalLines &lines, qsizetype unit) const;
};
Placed placed(const TerminalLines &lines, qint64 from, qint64 to);

} // namespace moorix::TerminalText
