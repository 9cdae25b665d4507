// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalInterpreter.h"

#include "terminal/TerminalUtf8.h"
#include "terminal/TerminalWidths.h"

#include <vterm.h>

namespace moorix {

/// libvterm's calls; they all say that they were done.
struct TerminalInterpreter::Callbacks
{
    static TerminalInterpreter &self(void *user) { return *static_cast<TerminalInterpreter *>(user); }

    static int put(VTermGlyphInfo *glyph, VTermPos at, void *user)
    {
        TerminalInterpreter &own = self(user);
        if (own.m_standsFor != 0) {
            own.m_grid.put(own.m_standsFor, glyph->width, at.row, at.col);
            return 1;
        }
        own.m_grid.put(glyph->chars[0], glyph->width, at.row, at.col);
        if (glyph->chars[0] < widthsKept)
            own.m_widths[glyph->chars[0]] = quint8(glyph->width);
        return 1;
    }

    static int move(VTermPos to, VTermPos, int, void *user)
    {
        // What it only hears now has been done.
        if (!self(user).m_ahead)
            self(user).m_grid.moved(to.row, to.col);
        return 1;
    }

    static int scroll(VTermRect area, int down, int right, void *user)
    {
        TerminalInterpreter &own = self(user);
        own.m_grid.scroll({area.start_row, area.end_row, area.start_col, area.end_col}, down, right);
        own.m_mistakesSizes = own.m_mistakesSizes || (down != 0 && own.m_hasSizes);
        return 1;
    }

    static int erase(VTermRect area, int selective, void *user)
    {
        const TerminalRectangle rectangle{area.start_row, area.end_row, area.start_col, area.end_col};
        if (selective != 0)
            self(user).m_grid.eraseUnprotected(rectangle);
        else
            self(user).m_grid.erase(rectangle);
        return 1;
    }

    static int property(VTermProp property, VTermValue *value, void *user)
    {
        TerminalModes &modes = self(user).m_modes;
        switch (property) {
        case VTERM_PROP_CURSORVISIBLE:
            modes.cursorVisible = value->boolean != 0;
            break;
        case VTERM_PROP_CURSORBLINK:
            modes.cursorBlinks = value->boolean != 0;
            break;
        case VTERM_PROP_CURSORSHAPE:
            modes.cursorShape = value->number == VTERM_PROP_CURSORSHAPE_UNDERLINE  ? TerminalCursor::Shape::underline
                                : value->number == VTERM_PROP_CURSORSHAPE_BAR_LEFT ? TerminalCursor::Shape::bar
                                                                                   : TerminalCursor::Shape::block;
            break;
        case VTERM_PROP_REVERSE:
            modes.reversed = value->boolean != 0;
            break;
        default:
            break;
        }
        return 1;
    }

    static int line(int row, const VTermLineInfo *now, const VTermLineInfo *, void *user)
    {
        return self(user).lineResized(row, now->doublewidth != 0, now->doubleheight) ? 1 : 0;
    }

    static int bell(void *user)
    {
        self(user).m_events.bell = true;
        return 1;
    }

    static void output(const char *bytes, std::size_t size, void *user)
    {
        self(user).m_events.output.append(bytes, qsizetype(size));
    }

    static constexpr VTermStateCallbacks table{
        .putglyph = put,
        .movecursor = move,
        .scrollrect = scroll,
        .moverect = nullptr,
        .erase = erase,
        .initpen = nullptr,
        .setpenattr = nullptr,
        .settermprop = property,
        .bell = bell,
        .resize = nullptr,
        .setlineinfo = line,
    };
};

TerminalInterpreter::TerminalInterpreter(TerminalSize size)
    : m_grid(size.rows, size.columns)
    , m_gate(*this)
    , m_bottom(size.rows)
    , m_widths(widthsKept)
    , m_vterm(vterm_new(size.rows, size.columns), vterm_free)
    , m_state(vterm_obtain_state(m_vterm.get()))
{
    std::fill(m_widths.begin() + ' ', m_widths.begin() + 0x7F, 1);
    for (const TerminalWidths::Range &range : TerminalWidths::corrections())
        std::fill(m_widths.begin() + range.first, m_widths.begin() + range.last + 1, corrected | range.width);
    vterm_set_utf8(m_vterm.get(), 1);
    vterm_output_set_callback(m_vterm.get(), Callbacks::output, this);
    vterm_state_set_callbacks(m_state, &Callbacks::table, this);
    vterm_state_reset(m_state, 1);
}

TerminalInterpreter::~TerminalInterpreter() = default;

void TerminalInterpreter::resize(TerminalSize size)
{
    const bool isAlternate = m_grid.isAlternate();
    const TerminalReflow::Place now = isAlternate ? cursor() : cursorOrEnd();
    std::vector<TerminalReflow::Place> places{isAlternate ? m_saved[0].place : now, m_saved[0].place};
    // A scroll region that does not fit makes libvterm write where it must not.
    write("\x1b[r");
    m_top = 0;
    m_bottom = size.rows;
    places = m_grid.resize(size.rows, size.columns, std::move(places));
    vterm_set_size(m_vterm.get(), size.rows, size.columns);

    m_saved[0].place = places[1];
    m_saved[1].place = {std::min(m_saved[1].place.row, size.rows - 1),
                        std::min(m_saved[1].place.column, size.columns - 1)};
    matchSizes();
    moveCursor(isAlternate ? now : places[0]);
}

void TerminalInterpreter::reset()
{
    m_gate.reset();
    hardReset();
    m_grid.clear();
    m_links.clear();
    m_title.clear();
    m_titles.clear();
    m_folder = {};
    m_isUpdating = false;
}

void TerminalInterpreter::clearScrollback()
{
    m_grid.history().clear(m_grid.history().endLine());
}

/// A wide character at the end of the line leaves the cursor on its second half.
TerminalReflow::Place TerminalInterpreter::cursor() const
{
    const TerminalReflow::Place place = position();
    return m_grid.isPending(place.row, place.column) ? TerminalReflow::Place{place.row, m_grid.columns(place.row) - 1}
                                                     : place;
}

TerminalReflow::Place TerminalInterpreter::position() const
{
    if (m_ahead)
        return *m_ahead;
    VTermPos position;
    vterm_state_get_cursorpos(m_state, &position);
    const int row = std::clamp(position.row, 0, m_grid.rows() - 1);
    return {row, std::clamp(position.col, 0, m_grid.columns(row) - 1)};
}

void TerminalInterpreter::combining(char32_t character)
{
    // The second half of a flag, which takes a column by itself.
    if (character >= 0x1F1E6 && character <= 0x1F1FF) {
        std::string bytes;
        TerminalUtf8::append(bytes, character);
        const TerminalReflow::Place place = position();
        const bool fits = !m_grid.isPending(place.row, place.column);
        write({bytes.data(), qsizetype(bytes.size())});
        if (fits)
            m_grid.join(character, place.row, place.column);
        return;
    }
    const TerminalReflow::Place place = position();
    m_grid.combine(character, place.row, place.column);
}

void TerminalInterpreter::escape(QByteArrayView bytes)
{
    m_canRepeat = false;
    if (m_charsets.escape(bytes))
        return;
    if (bytes == "7")
        saveCursor(m_grid.isAlternate());
    else if (bytes == "8")
        restoreCursor(m_grid.isAlternate());
    else if (bytes == "c")
        hardReset();
    else if (bytes == "=" || bytes == ">")
        m_modes.applicationKeypad = bytes == "=";
    else if (bytes == "Z")
        write("\x1b[c");
    else if (bytes == "#8")
        fillScreen();
    else if (bytes.size() == 2 && bytes[0] == '#' && bytes[1] >= '3' && bytes[1] <= '6')
        resizeLine(bytes[1]);
    else if (bytes == "D" || bytes == "E" || bytes == "M") {
        settle();
        write("\x1b" + bytes.toByteArray());
    } else if (bytes == "H") {
        write("\x1b" + bytes.toByteArray());
    }
}

void TerminalInterpreter::sequence(const TerminalSequence &sequence)
{
    const bool repeats = std::exchange(m_canRepeat, false);
    switch (sequenceKey(sequence.final, sequence.intermediate, sequence.leader)) {
    case sequenceKey('m'):
        TerminalPen::apply(m_grid.pen, sequence.parameters);
        break;
    case sequenceKey('b'):
        if (repeats)
            repeat(sequence.value(0, 1));
        break;
    case sequenceKey('s'):
        saveCursor(m_grid.isAlternate());
        break;
    case sequenceKey('u'):
        restoreCursor(m_grid.isAlternate());
        break;
    case sequenceKey('h'):
    case sequenceKey('h', 0, '?'):
        setModes(sequence, true);
        break;
    case sequenceKey('l'):
    case sequenceKey('l', 0, '?'):
        setModes(sequence, false);
        break;
    case sequenceKey('p', '!'):
        softReset();
        break;
    case sequenceKey('q', '"'):
        m_grid.pen.isProtected = sequence.value(0, 0) == 1;
        break;
    case sequenceKey('r'):
        setMargins(sequence);
        break;
    default:
        if (!answer(sequence) && !edit(sequence))
            forward(sequence);
    }
}

void TerminalInterpreter::operatingSystemCommand(QByteArrayView text)
{
    m_canRepeat = false;
    namespace Commands = TerminalCommands;
    const std::optional<Commands::Command> command = Commands::parse(text);
    if (!command)
        return;
    if (const auto *title = std::get_if<Commands::Title>(&*command)) {
        if (title->text != m_title)
            m_events.title = m_title = title->text;
    } else if (const auto *folder = std::get_if<Commands::WorkingFolder>(&*command)) {
        m_events.workingFolder =
            m_events.workingFolder || folder->path != m_folder.path || folder->host != m_folder.host;
        m_folder = *folder;
    } else if (const auto *link = std::get_if<Commands::Link>(&*command)) {
        setLink(link->address);
    } else if (std::holds_alternative<Commands::PromptStart>(*command)) {
        m_grid.screen().line(cursor().row).prompt = true;
        ++m_promptCount;
    } else if (const auto *clipboard = std::get_if<Commands::ClipboardText>(&*command)) {
        m_events.clipboard = clipboard->text;
    } else if (const auto *colors = std::get_if<Commands::Colors>(&*command)) {
        changeColors(*colors);
    }
}

/// Fifteen numbers at most: libvterm has room for sixteen and does not count them.
void TerminalInterpreter::forward(const TerminalSequence &sequence)
{
    QByteArray bytes = "\x1b[";
    if (sequence.leader != 0)
        bytes += sequence.leader;
    const std::size_t count = std::min<std::size_t>(sequence.parameters.size(), 15);
    for (std::size_t index = 0; index < count; ++index) {
        const TerminalPen::Parameter &parameter = sequence.parameters[index];
        if (parameter.joined)
            return;
        if (index > 0)
            bytes += ';';
        if (parameter.value != TerminalPen::Parameter::absent)
            bytes += QByteArray::number(parameter.value);
    }
    if (sequence.intermediate != 0)
        bytes += sequence.intermediate;
    bytes += sequence.final;
    write(bytes);
}

void TerminalInterpreter::saveCursor(bool alternate)
{
    m_saved[alternate ? 1 : 0] = {cursorOrEnd(), m_grid.pen, m_modes.origin, m_charsets};
}

void TerminalInterpreter::restoreCursor(bool alternate)
{
    const SavedCursor saved = m_saved[alternate ? 1 : 0];
    const quint16 link = m_grid.pen.link;
    m_grid.pen = saved.style;
    m_grid.pen.link = link;
    m_charsets = saved.charsets;
    setPrivateMode(6, saved.origin);
    moveCursor(saved.place);
}

/// Where the cursor is; behind the last column if it waits there.
TerminalReflow::Place TerminalInterpreter::cursorOrEnd() const
{
    const TerminalReflow::Place place = position();
    return m_grid.isPending(place.row, place.column) ? TerminalReflow::Place{place.row, m_grid.columns(place.row)}
                                                     : place;
}

void TerminalInterpreter::moveCursor(TerminalReflow::Place place)
{
    const int row = std::min(place.row, m_grid.rows() - 1);
    const int last = m_grid.columns(row) - 1;
    sendCursor({row, std::min(place.column, last)});
    if (place.column <= last)
        return;
    // Behind the last column it only gets by a character being written there: the one that is there already.
    TerminalLine &line = m_grid.screen().line(row);
    const bool wraps = line.wraps;
    const int column = line.cells[std::size_t(last)].width == 0 ? last - 1 : last;
    const TerminalCell cell = line.cells[std::size_t(column)];
    sendCursor({row, column});
    write(cell.width == 2 ? "\xE4\xB8\x80" : " ");
    m_grid.screen().put(row, column, cell);
    line.wraps = wraps;
}

/// With origin mode positions count from where the cursor is put by setting it.
void TerminalInterpreter::sendCursor(TerminalReflow::Place place)
{
    place.column = std::min(place.column, m_grid.columns(place.row) - 1);
    if (m_modes.origin)
        place.row = std::max(0, place.row - m_top);
    write("\x1b[" + QByteArray::number(place.row + 1) + ';' + QByteArray::number(place.column + 1) + 'H');
    m_grid.forgetFlow();
}

void TerminalInterpreter::repeat(int count)
{
    std::string bytes;
    const char32_t character = m_grid.lastCharacter();
    // More than a screen is no program's wish.
    count = std::clamp(count, 1, m_grid.rows() * m_grid.columns());
    for (int index = 0; index < count && character != 0 && character < TerminalCell::clusterBase; ++index)
        TerminalUtf8::append(bytes, character);
    interpret({bytes.data(), qsizetype(bytes.size())});
}

/// Tab stops, the mouse and what else programs have asked to be told stay; libvterm would reset some of these.
void TerminalInterpreter::softReset()
{
    const TerminalReflow::Place place = cursorOrEnd();
    setMode(4, false);
    for (const int mode : {1, 6, 66})
        setPrivateMode(mode, false);
    for (const int mode : {7, 25})
        setPrivateMode(mode, true);
    resetMargins();
    m_grid.pen = {};
    m_charsets = {};
    m_saved[m_grid.isAlternate() ? 1 : 0] = {};
    moveCursor(place);
}

void TerminalInterpreter::hardReset()
{
    m_grid.pen = {};
    m_grid.clearAlternate();
    m_grid.setAlternate(false);
    m_grid.forgetSizes();
    m_grid.inserts = false;
    m_ahead.reset();
    m_hasSizes = m_mistakesSizes = false;
    vterm_state_reset(m_state, 1);
    for (const int mode : {1000, 1006, 5})
        setPrivateMode(mode, false);
    m_modes = {};
    m_charsets = {};
    m_top = 0;
    m_bottom = m_grid.rows();
    m_saved = {};
    m_events.colors = m_events.colors || m_colors.hasChosen();
    m_colors.forget(0, TerminalColorTable::places);
    m_isUpdating = m_canRepeat = false;
    m_grid.forgetFlow();
}

void TerminalInterpreter::setLink(const QString &address)
{
    if (address.isEmpty()) {
        m_grid.pen.link = 0;
        return;
    }
    if (m_links.isFull())
        forgetLinks();
    m_grid.pen.link = m_links.add(address);
}

void TerminalInterpreter::forgetLinks()
{
    m_grid.forgetLinks();
    for (SavedCursor &saved : m_saved)
        saved.style.link = 0;
    m_links.clear();
}

} // namespace moorix
