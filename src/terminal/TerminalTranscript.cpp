// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalTranscript.h"

#include <algorithm>

namespace moorix {

namespace {

bool isBlank(const TerminalCell &cell)
{
    return (cell.character == 0 || cell.character == U' ') && cell.width == 1;
}

} // namespace

TerminalTranscript::TerminalTranscript(const TerminalEmulator &emulator)
    : m_firstLine(std::max(emulator.firstLine(), emulator.screenLine() - mostHistory))
    , m_cursorPlace(emulator.cursor().position)
{
    const auto isEmpty = [&](qint64 line) {
        const std::span<const TerminalCell> cells = emulator.line(line);
        return std::all_of(cells.begin(), cells.end(), isBlank);
    };
    qint64 last = emulator.endLine() - 1;
    while (last > m_cursorPlace.line && isEmpty(last))
        --last;
    for (qint64 line = m_firstLine; line <= last; ++line)
        append(emulator, line, line == last);
    m_cursor = offsetOf(m_cursorPlace);
}

void TerminalTranscript::append(const TerminalEmulator &emulator, qint64 line, bool isLast)
{
    m_starts.push_back(length());
    const std::span<const TerminalCell> cells = emulator.line(line);
    const bool wraps = !isLast && !cells.empty() && emulator.wraps(line);
    // Blanks in the middle of what is one line belong to it, but not the place a wide character had no room in.
    const std::size_t kept = wraps                        ? cells.size() - (cells.back().character == 0 ? 1 : 0)
                             : line == m_cursorPlace.line ? std::size_t(m_cursorPlace.column)
                                                          : 0;
    std::size_t end = cells.size();
    while (end > kept && isBlank(cells[end - 1]))
        --end;
    const auto add = [this](const QString &text, std::size_t column) {
        m_text += text;
        m_columns.resize(m_columns.size() + std::size_t(text.size()), int(column));
    };
    for (std::size_t column = 0; column < end; ++column) {
        if (cells[column].width > 0)
            add(cells[column].character == 0 ? QString(u' ') : emulator.text(cells[column]), column);
    }
    if (isLast)
        m_columns.push_back(int(end));
    else if (!wraps)
        add(QString(u'\n'), end);
}

int TerminalTranscript::startOf(qint64 line) const
{
    const qint64 row = line - m_firstLine;
    if (row < 0)
        return 0;
    return row < qint64(m_starts.size()) ? m_starts[std::size_t(row)] : length();
}

int TerminalTranscript::offsetOf(TerminalPoint point) const
{
    if (point.line < m_firstLine)
        return 0;
    const Extent row{startOf(point.line), startOf(point.line + 1)};
    const auto first = m_columns.begin() + row.start;
    const auto end = m_columns.begin() + row.end;
    // The line feed is its row's end.
    const bool isEnded = row.end > row.start && m_text[row.end - 1] == u'\n';
    return int(std::lower_bound(first, end - (isEnded ? 1 : 0), point.column) - m_columns.begin());
}

TerminalPoint TerminalTranscript::pointAt(int offset) const
{
    offset = std::clamp(offset, 0, length());
    const auto row = std::upper_bound(m_starts.begin(), m_starts.end(), offset) - m_starts.begin() - 1;
    return {m_firstLine + std::max<qint64>(row, 0), m_columns.empty() ? 0 : m_columns[std::size_t(offset)]};
}

TerminalTranscript::Extent TerminalTranscript::rowAt(int offset) const
{
    const qint64 line = pointAt(offset).line;
    return {startOf(line), startOf(line + 1)};
}

} // namespace moorix
