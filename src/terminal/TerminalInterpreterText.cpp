// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalInterpreter.h"

#include "terminal/TerminalUtf8.h"

#include <vterm.h>

namespace moorix {

namespace {

/// libvterm takes memory for a whole piece from the stack.
constexpr qsizetype piece = 16 * 1024;
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

/// How many letters, digits, signs and blanks come first, none of them beyond ASCII.
std::ptrdiff_t plainLength(const char *at, const char *end)
{
    const char *const start = at;
    while (at < end && !isControl(*at) && uchar(*at) < 0x80)
        ++at;
    return at - start;
}

} // namespace

/// Whatever libvterm hears, it hears where the cursor is first.
void TerminalInterpreter::catchUp()
{
    if (!m_ahead)
        return;
    const QByteArray bytes =
        "\x1b[" + QByteArray::number(m_ahead->row + 1) + ';' + QByteArray::number(m_ahead->column + 1) + 'H';
    vterm_input_write(m_vterm.get(), bytes.data(), std::size_t(bytes.size()));
    m_ahead.reset();
}

void TerminalInterpreter::write(QByteArrayView bytes)
{
    catchUp();
    while (bytes.size() > piece) {
        qsizetype size = piece;
        while ((uchar(bytes[size]) & 0xC0) == 0x80)
            --size;
        vterm_input_write(m_vterm.get(), bytes.data(), std::size_t(size));
        bytes = bytes.sliced(size);
    }
    vterm_input_write(m_vterm.get(), bytes.data(), std::size_t(bytes.size()));
    if (std::exchange(m_mistakesSizes, false))
        matchSizes();
    if (m_hasSizes)
        stayOnLine();
}

/// libvterm does not notice that a control moves the cursor that waits behind the last column when it stays on that
/// column.
void TerminalInterpreter::writeText(QByteArrayView bytes)
{
    // A wide character that takes the whole line lets the cursor wait on the first column.
    const bool isNarrow = m_grid.columns() == 2;
    const char *from = bytes.begin();
    for (const char *at = from; at != bytes.end(); ++at) {
        if (uchar(*at) >= ' ' && uchar(*at) < firstCorrected)
            continue;
        if (*at == '\r' && !isNarrow) {
            // Nothing waits behind it.
            at += at + 1 != bytes.end() && at[1] == '\n';
        } else if (*at == '\r' || movesFromEnd(*at)) {
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

void TerminalInterpreter::interpret(QByteArrayView bytes)
{
    if (!m_modes.autoWrap) {
        writeUnwrapped(bytes);
        return;
    }
    const char *at = bytes.begin();
    // libvterm must know of every scroll that moves a line of double size, and be put right after it.
    while (m_hasSizes && at != bytes.end()) {
        const int size = TerminalUtf8::length(*at);
        writeText({at, size});
        at += size;
    }
    if (m_grid.inserts || m_modes.origin) {
        writeText({at, bytes.end() - at});
        return;
    }
    while (at != bytes.end()) {
        at = layDown(at, bytes.end());
        if (at == bytes.end())
            return;
        // One character, control or end of a line, and what follows may be simple again.
        const bool endsLine = *at == '\r' && at + 1 != bytes.end() && at[1] == '\n';
        const qsizetype size = endsLine ? 2 : TerminalUtf8::length(*at);
        writeText({at, size});
        at += size;
    }
}

/// What libvterm does to most of a text is to put characters side by side and to go to the next line. That is done
/// here, up to whatever may be more than that; the cursor's place is told to libvterm once that comes.
const char *TerminalInterpreter::layDown(const char *at, const char *end)
{
    TerminalReflow::Place place = position();
    // In the last two columns the cursor may be waiting for the next line; not where it was brought to here.
    if (!m_ahead && place.column >= m_grid.columns() - 2)
        return at;
    const char *const start = at;
    while (at < end) {
        if (*at == '\r') {
            if (place.column > 0)
                m_grid.moved(place.row, place.column = 0);
        } else if (*at == '\n' && !m_modes.newLine) {
            feedLine(place);
        } else if (const char *const next = isControl(*at) ? at : layText(at, end, place); next > at) {
            at = next;
            continue;
        } else {
            break;
        }
        ++at;
    }
    if (at > start)
        m_ahead = place;
    return at;
}

void TerminalInterpreter::feedLine(TerminalReflow::Place &place)
{
    if (place.row == m_bottom - 1)
        m_grid.scroll({m_top, m_bottom, 0, m_grid.columns()}, 1, 0);
    else if (place.row < m_grid.rows() - 1)
        m_grid.moved(++place.row, place.column);
}

/// Characters of which it is known how wide they are, up to one that would reach the end of the line.
const char *TerminalInterpreter::layText(const char *at, const char *end, TerminalReflow::Place &place)
{
    const int room = m_grid.columns() - 1 - place.column;
    const std::ptrdiff_t plain = plainLength(at, at + std::min<std::ptrdiff_t>(end - at, room + 1));
    if (plain > 0 && (plain >= room || at + plain == end || isControl(at[plain]))) {
        const int count = int(std::min<std::ptrdiff_t>(plain, room));
        if (count > 0)
            m_grid.put(QByteArrayView(at, count), place.row, place.column);
        place.column += count;
        return at + count;
    }
    if (m_run.size() < std::size_t(m_grid.columns()))
        m_run.resize(std::size_t(m_grid.columns()));
    TerminalGrid::Glyph *glyph = m_run.data();
    int columns = 0;
    while (at < end && !isControl(*at)) {
        const char *next = at;
        char32_t character;
        if (end - at >= 4) {
            const int size = TerminalUtf8::length(*at);
            character = TerminalUtf8::fromFour(at, size);
            next += size;
        } else {
            character = TerminalUtf8::next(next);
        }
        // One not known yet: libvterm tells.
        const int width = character < widthsKept ? m_widths[character] & 3 : 0;
        if (width == 0 || columns + width > room)
            break;
        *glyph++ = {character, width};
        columns += width;
        at = next;
    }
    if (columns > 0)
        m_grid.put(std::span(m_run.data(), glyph), columns, place.row, place.column);
    place.column += columns;
    return at;
}

} // namespace moorix
