// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalInterpreter.h"

#include "terminal/TerminalUtf8.h"

#include <vterm.h>

namespace moorix {

namespace {

/// libvterm takes memory for a whole piece from the stack.
constexpr qsizetype piece = 16 * 1024;
/// Fewer characters are not worth moving the cursor for.
constexpr std::size_t shortestRun = 8;

bool isControl(char c)
{
    return uchar(c) < ' ' || c == '\x7f';
}

/// Where from `at` on so many characters follow each other that they can be a run.
const char *nextRun(const char *at, const char *end)
{
    std::size_t length = 0;
    const char *start = at;
    for (; at < end && length < shortestRun; ++at) {
        if (isControl(*at)) {
            start = at + 1;
            length = 0;
        } else if ((uchar(*at) & 0xC0) != 0x80) {
            ++length;
        }
    }
    return length < shortestRun ? end : start;
}

} // namespace

void TerminalInterpreter::write(QByteArrayView bytes)
{
    while (bytes.size() > piece) {
        qsizetype size = piece;
        while ((uchar(bytes[size]) & 0xC0) == 0x80)
            --size;
        vterm_input_write(m_vterm.get(), bytes.data(), std::size_t(size));
        bytes = bytes.sliced(size);
    }
    vterm_input_write(m_vterm.get(), bytes.data(), std::size_t(bytes.size()));
}

/// libvterm looks at a piece's first byte to choose the set of all its characters.
void TerminalInterpreter::writeByAlphabet(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const bool isAscii = (uchar(bytes[0]) & 0x80) == 0;
        const auto end =
            std::find_if(bytes.begin(), bytes.end(), [&](char c) { return ((uchar(c) & 0x80) == 0) != isAscii; });
        write({bytes.begin(), end - bytes.begin()});
        bytes = bytes.sliced(end - bytes.begin());
    }
}

/// What libvterm does to a run of characters on one line is to put them side by side. So all but the last are put here,
/// and only that one, which may reach the line's end, and the cursor's way to it are left to libvterm.
void TerminalInterpreter::plain(QByteArrayView bytes)
{
    if (m_sets != std::array{'B', 'B', 'B', 'B'}) {
        writeByAlphabet(bytes);
        return;
    }
    if (m_grid.inserts || m_modes.origin || bytes.size() < qsizetype(shortestRun)) {
        write(bytes);
        return;
    }
    for (const char *at = bytes.begin(); at != bytes.end();)
        at = run(at, bytes.end());
}

/// Takes a run of characters from `at`, if there is one, and what follows up to the next; tells where that is.
const char *TerminalInterpreter::run(const char *at, const char *end)
{
    const TerminalReflow::Place place = cursor();
    // In the last two columns the cursor may be waiting for the next line.
    const int columns = place.column < m_grid.columns() - 2 ? m_grid.columns() : 0;
    const char *last = at;
    const char *next = at;
    int column = place.column;
    m_run.clear();
    while (next < end && !isControl(*next)) {
        const char *const start = next;
        const char32_t character = TerminalUtf8::next(next);
        const int width = character < widthsKept ? m_widths[character] : 0;
        // A character not known yet, or one for the next line: libvterm tells what becomes of it.
        if (width == 0 || column + width > columns)
            break;
        last = start;
        column += width;
        m_run.push_back({character, width});
    }
    const char *from = at;
    if (m_run.size() >= shortestRun) {
        m_grid.put(std::span(m_run).first(m_run.size() - 1), place.row, place.column);
        write("\x1b[" + QByteArray::number(column - m_run.back().width - place.column) + 'C');
        from = last;
    }
    next = nextRun(next, end);
    write({from, next - from});
    return next;
}

} // namespace moorix
