// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <vector>

namespace moorix {

/// What is selected in a terminal. It is gone as soon as the text under it is another one.
class TerminalSelection final
{
public:
    enum class Unit { character, word, line, block };
    /// The cell under the mouse, and the place between two cells that is next to it.
    struct Position
    {
        TerminalPoint cell;
        TerminalPoint boundary;
    };

    explicit TerminalSelection(const TerminalEmulator &emulator);

    void begin(Position position, Unit unit);
    /// Moves the end that is not where it began.
    void extend(Position position);
    void selectAll();
    void clear();
    /// Clears what no longer shows the text that was selected. True when it did.
    bool clearIfChanged();

    const TerminalRange &range() const { return m_range; }
    bool isEmpty() const { return m_range.isEmpty(); }
    QString text() const;

private:
    TerminalRange unitAt(Position position) const;
    void set(TerminalRange range);
    std::u32string charactersOf(qint64 line) const;

    const TerminalEmulator &m_emulator;
    Unit m_unit = Unit::character;
    /// What the selection began with: a place, a word or a line.
    TerminalRange m_anchor;
    TerminalRange m_range;
    /// The selected characters of those lines that could change when they were selected.
    qint64 m_firstWatched = 0;
    std::vector<std::u32string> m_watched;
};

} // namespace moorix
