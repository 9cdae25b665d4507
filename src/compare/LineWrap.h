// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringView>

#include <vector>

namespace moorix {

/// Breaks lines that are longer than there is room for: behind a blank, or where there is none anywhere. Counts columns
/// of a fixed-pitch font, of which wide characters take two, and tabs as many as lead to a multiple of `tabWidth`.
/// Takes its time for each character; the last line that was long is kept.
class LineWrap final
{
public:
    /// None at all where the room is 0.
    explicit LineWrap(int room = 0, int tabWidth = 8)
        : m_room(room)
        , m_tabWidth(tabWidth)
    {
    }

    bool isOn() const { return m_room > 0; }
    int room() const { return m_room; }
    /// Where the parts of a line begin; the first at 0.
    const std::vector<qsizetype> &starts(QStringView line) const;
    qsizetype count(QStringView line) const;

private:
    int columnsOf(QChar character, int column) const;
    /// Where the part that begins at `start` ends.
    qsizetype end(QStringView line, qsizetype start) const;

    int m_room;
    int m_tabWidth;
    mutable QStringView m_line;
    mutable std::vector<qsizetype> m_starts;
};

} // namespace moorix
