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
/// What characters with corrected widths begin with at least.
constexpr uchar firstCorrected = 0xD8;

bool isControl(char c)
{
    return uchar(c) < ' ' || c == '\x7f';
}

/// BS, LF, VT, FF.
bool movesFromEnd(char c)
{
    return c == '\b' || (c >= '\n' && c <= '\f');
}

/// Where from `at` on so many characters follow each other that they can be a run.
/// `isSimple` becomes false unless libvterm can be trusted with what comes before it.
const char *nextRun(const char *at, const char *end, bool &isSimple)
{
    std::size_t length = 0;
    const char *start = at;
    for (; at < end && length < shortestRun; ++at) {
        if (isControl(*at)) {
            isSimple = isSimple && (*at == '\r' || (*at == '\n' && at[-1] == '\r'));
            start = at + 1;
            length = 0;
        } else if ((uchar(*at) & 0xC0) != 0x80) {
            isSimple = isSimple && uchar(*at) < firstCorrected;
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

/// libvterm does not notice that a control moves the cursor that waits behind the last column when it stays on that
/// column.
void TerminalInterpreter::writeText(QByteArrayView bytes)
{
    const char *from = bytes.begin();
    for (const char *at = from; at != bytes.end(); ++at) {
        if (uchar(*at) >= ' ' && uchar(*at) < firstCorrected)
            continue;
        if (*at == '\r') {
            // Nothing waits behind it.
            at += at + 1 != bytes.end() && at[1] == '\n';
        } else if (movesFromEnd(*at)) {
            write({from, at - from});
            from = at;
            settle();
        } else if (uchar(*at) >= firstCorrected) {
            const char *next = at;
            const char32_t character = TerminalUtf8::next(next);
            if (character >= widthsKept || (m_widths[character] & corrected) == 0)
                continue;
            write({from, at - from});
            from = next;
            at = next - 1;
            writeCorrected(character);
        } else {
            m_charsets.control(*at);
        }
    }
    write({from, bytes.end() - from});
}

void TerminalInterpreter::writeCorrected(char32_t character)
{
    m_standsFor = character;
    write((m_widths[character] & 3) == 2 ? "\xE4\xB8\x80" : "x");
    m_standsFor = 0;
}

/// libvterm goes to the next line all the same for a wide character that does not fit, and stays before one that does.
void TerminalInterpreter::writeUnwrapped(QByteArrayView bytes)
{
    for (const char *at = bytes.begin(); at != bytes.end();) {
        const char *const start = at;
        const int last = m_grid.columns(position().row) - 1;
        const char32_t character = TerminalUtf8::next(at);
        if (character > 0x7F && position().column == last && widthOf(character) == 2)
            continue;
        writeText({start, at - start});
        const TerminalReflow::Place place = position();
        if (place.column < m_grid.columns(place.row) - 1 && m_grid.isPending(place.row, place.column))
            sendCursor({place.row, m_grid.columns(place.row) - 1});
    }
}

/// As libvterm has it.
int TerminalInterpreter::widthOf(char32_t character) const
{
    if (character < widthsKept && m_widths[character] != 0)
        return m_widths[character] & 3;
    const std::unique_ptr<VTerm, void (*)(VTerm *)> other(vterm_new(1, 4), vterm_free);
    vterm_set_utf8(other.get(), 1);
    VTermState *const state = vterm_obtain_state(other.get());
    vterm_state_reset(state, 1);
    std::string bytes;
    TerminalUtf8::append(bytes, character);
    vterm_input_write(other.get(), bytes.data(), bytes.size());
    VTermPos position;
    vterm_state_get_cursorpos(state, &position);
    return position.col;
}

void TerminalInterpreter::plain(QByteArrayView bytes)
{
    m_canRepeat = !isControl(bytes.back());
    if (m_charsets.leaves(bytes)) {
        interpret(bytes);
        return;
    }
    const std::string text = m_charsets.translated(bytes);
    interpret({text.data(), qsizetype(text.size())});
}

/// What libvterm does to a run of characters on one line is to put them side by side. So all but the last are put here,
/// and only that one, which may reach the line's end, and the cursor's way to it are left to libvterm.
void TerminalInterpreter::interpret(QByteArrayView bytes)
{
    if (!m_modes.autoWrap) {
        writeUnwrapped(bytes);
        return;
    }
    if (m_grid.inserts || m_modes.origin || bytes.size() < qsizetype(shortestRun)) {
        writeText(bytes);
        return;
    }
    for (const char *at = bytes.begin(); at != bytes.end();)
        at = run(at, bytes.end());
}

/// Takes a run of characters from `at`, if there is one, and what follows up to the next; tells where that is.
const char *TerminalInterpreter::run(const char *at, const char *end)
{
    const TerminalReflow::Place place = position();
    // In the last two columns the cursor may be waiting for the next line.
    const int room = m_grid.columns(place.row);
    const int columns = place.column < room - 2 ? room : 0;
    const char *last = at;
    const char *next = at;
    int column = place.column;
    m_run.clear();
    while (next < end && !isControl(*next)) {
        const char *const start = next;
        const char32_t character = TerminalUtf8::next(next);
        const int width = character < widthsKept ? m_widths[character] & 3 : 0;
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
    bool isSimple = std::none_of(from, next, [](char c) { return uchar(c) >= firstCorrected; });
    // The byte before a line feed is looked at.
    isSimple = isSimple && (next > at || *at != '\n');
    next = nextRun(next, end, isSimple);
    if (isSimple)
        write({from, next - from});
    else
        writeText({from, next - from});
    return next;
}

} // namespace moorix
