// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <vector>

namespace moorix {

/// The text of a terminal in one piece, as it was at one moment, with the way from its characters to their places and
/// back. Rows end with a line feed unless they go on in the next; blanks at their ends are left out, but not those
/// before the cursor, and so are empty rows below all text and the cursor.
class TerminalTranscript final
{
public:
    /// Lines above the screen that belong to it.
    static constexpr int mostHistory = 500;

    TerminalTranscript() = default;
    explicit TerminalTranscript(const TerminalEmulator &emulator);

    const QString &text() const { return m_text; }
    int length() const { return int(m_text.size()); }
    /// Where the cursor stands, which may be behind the last character.
    int cursor() const { return m_cursor; }
    /// How many characters belong to lines above this one.
    int startOf(qint64 line) const;
    /// The character at a place, or the end of its row; places above and below are the first and the last one.
    int offsetOf(TerminalPoint point) const;
    TerminalPoint pointAt(int offset) const;

    /// The characters of a row, with its line feed.
    struct Extent
    {
        int start = 0;
        int end = 0;
    };
    Extent rowAt(int offset) const;

private:
    void append(const TerminalEmulator &emulator, qint64 line, bool isLast);

    QString m_text;
    /// Of each character, and of the end.
    std::vector<int> m_columns;
    qint64 m_firstLine = 0;
    /// The first character of each row.
    std::vector<int> m_starts;
    TerminalPoint m_cursorPlace;
    int m_cursor = 0;
};

} // namespace moorix
