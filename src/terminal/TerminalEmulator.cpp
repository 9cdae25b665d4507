// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalEmulator.h"

#include "terminal/TerminalInterpreter.h"
#include "terminal/TerminalKeys.h"
#include "terminal/TerminalSearch.h"
#include "terminal/TerminalText.h"

#include <QDeadlineTimer>
#include <QTimer>

namespace moorix {

namespace {

constexpr int longestUpdate = 150;

TerminalSize sane(TerminalSize size)
{
    return {std::clamp(size.rows, 1, 4096), std::clamp(size.columns, 2, 4096)};
}

} // namespace

struct TerminalEmulator::Private
{
    explicit Private(TerminalSize size)
        : interpreter(size)
    {
    }

    TerminalLines lines() const { return TerminalLines(interpreter.grid()); }

    TerminalInterpreter interpreter;
    QTimer updateTimer;
    QDeadlineTimer updateEnd;
    /// Bits of the buttons that are pressed, and where the mouse was last.
    int buttons = 0;
    int mouseRow = -1;
    int mouseColumn = -1;
};

TerminalEmulator::TerminalEmulator(TerminalSize size, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(sane(size)))
{
    d->updateTimer.setSingleShot(true);
    connect(&d->updateTimer, &QTimer::timeout, this, [this] {
        d->interpreter.endUpdate();
        emit changed();
    });
}

TerminalEmulator::~TerminalEmulator() = default;

void TerminalEmulator::setScrollbackLimit(int lines)
{
    d->interpreter.grid().history().setLimit(lines);
    emit changed();
}

void TerminalEmulator::feed(QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return;
    if (d->interpreter.isUpdating() && d->updateEnd.hasExpired())
        d->interpreter.endUpdate();
    const bool wasUpdating = d->interpreter.isUpdating();
    d->interpreter.feed(bytes);
    if (!d->interpreter.isUpdating()) {
        d->updateTimer.stop();
    } else if (!wasUpdating) {
        d->updateEnd.setRemainingTime(longestUpdate);
        d->updateTimer.start(longestUpdate);
    }
    tell();
}

void TerminalEmulator::resize(TerminalSize size)
{
    size = sane(size);
    if (size == this->size())
        return;
    d->interpreter.resize(size);
    tell();
    emit relocated();
}

void TerminalEmulator::reset()
{
    d->interpreter.reset();
    d->buttons = 0;
    d->updateTimer.stop();
    tell();
    emit titleChanged(title());
    emit workingFolderChanged();
    emit relocated();
}

void TerminalEmulator::clearScrollback()
{
    d->interpreter.clearScrollback();
    emit changed();
}

void TerminalEmulator::setThemeColors(const TerminalColorTable::Colors &colors)
{
    d->interpreter.colors().setTheme(colors);
}

/// Whoever hears one of these may call anything here, so what is told was taken before.
void TerminalEmulator::tell()
{
    const TerminalInterpreter::Events events = d->interpreter.takeEvents();
    if (!events.output.isEmpty())
        emit output(events.output);
    if (events.title)
        emit titleChanged(*events.title);
    if (events.workingFolder)
        emit workingFolderChanged();
    if (events.colors)
        emit colorsChanged();
    if (events.clipboard)
        emit clipboardWritten(*events.clipboard);
    if (events.bell)
        emit bell();
    emit changed();
}

TerminalSize TerminalEmulator::size() const
{
    return {d->interpreter.grid().rows(), d->interpreter.grid().columns()};
}

qint64 TerminalEmulator::firstLine() const
{
    return d->lines().first();
}

qint64 TerminalEmulator::endLine() const
{
    return d->lines().end();
}

std::span<const TerminalCell> TerminalEmulator::line(qint64 number) const
{
    const TerminalLines lines = d->lines();
    return lines.contains(number) ? lines.cells(number) : std::span<const TerminalCell>();
}

bool TerminalEmulator::wraps(qint64 number) const
{
    const TerminalLines lines = d->lines();
    return lines.contains(number) && lines.wraps(number);
}

TerminalLineSize TerminalEmulator::lineSize(qint64 number) const
{
    const TerminalLines lines = d->lines();
    return lines.contains(number) ? lines.size(number) : TerminalLineSize::single;
}

QString TerminalEmulator::text(const TerminalCell &cell) const
{
    return d->interpreter.grid().clusters().text(cell.character);
}

QString TerminalEmulator::text(const TerminalRange &range) const
{
    return TerminalText::range(d->lines(), range);
}

TerminalRange TerminalEmulator::wordAt(TerminalPoint point) const
{
    return TerminalText::word(d->lines(), point);
}

TerminalRange TerminalEmulator::lineAt(TerminalPoint point) const
{
    return TerminalText::paragraph(d->lines(), point);
}

QString TerminalEmulator::link(quint16 id) const
{
    return d->interpreter.links().address(id);
}

TerminalCursor TerminalEmulator::cursor() const
{
    const TerminalModes &modes = d->interpreter.modes();
    const TerminalReflow::Place place = d->interpreter.cursor();
    return {{screenLine() + place.row, place.column}, modes.cursorShape, modes.cursorBlinks, modes.cursorVisible};
}

bool TerminalEmulator::showsAlternateScreen() const
{
    return d->interpreter.grid().isAlternate();
}

TerminalMouse TerminalEmulator::mouse() const
{
    return d->interpreter.modes().mouse;
}

bool TerminalEmulator::bracketsPastes() const
{
    return d->interpreter.modes().bracketedPaste;
}

bool TerminalEmulator::holdsPainting() const
{
    return d->interpreter.isUpdating() && !d->updateEnd.hasExpired();
}

bool TerminalEmulator::isReversed() const
{
    return d->interpreter.modes().reversed;
}

const TerminalColorTable &TerminalEmulator::colors() const
{
    return d->interpreter.colors();
}

QString TerminalEmulator::title() const
{
    return d->interpreter.title();
}

QString TerminalEmulator::workingFolder() const
{
    return d->interpreter.workingFolder().path;
}

QString TerminalEmulator::workingHost() const
{
    return d->interpreter.workingFolder().host;
}

qint64 TerminalEmulator::promptCount() const
{
    return d->interpreter.promptCount();
}

std::optional<qint64> TerminalEmulator::promptAbove(qint64 from) const
{
    const TerminalLines lines = d->lines();
    qint64 number = std::min(from, lines.end()) - 1;
    for (; number >= std::max(lines.screen(), lines.first()); --number) {
        if (lines.isPrompt(number))
            return number;
    }
    const qint64 found = number >= lines.first() ? lines.grid().history().promptFrom(number, true) : -1;
    return found < 0 ? std::nullopt : std::optional(found);
}

std::optional<qint64> TerminalEmulator::promptBelow(qint64 from) const
{
    const TerminalLines lines = d->lines();
    qint64 number = std::max(from + 1, lines.first());
    if (number < lines.screen()) {
        if (const qint64 found = lines.grid().history().promptFrom(number, false); found >= 0)
            return found;
        number = lines.screen();
    }
    for (; number < lines.end(); ++number) {
        if (lines.isPrompt(number))
            return number;
    }
    return std::nullopt;
}

std::optional<TerminalRange> TerminalEmulator::findBackward(const QString &needle, TerminalPoint from,
                                                            Qt::CaseSensitivity sensitivity) const
{
    return TerminalSearch::backward(d->lines(), needle, from, sensitivity);
}

std::optional<TerminalRange> TerminalEmulator::findForward(const QString &needle, TerminalPoint from,
                                                           Qt::CaseSensitivity sensitivity) const
{
    return TerminalSearch::forward(d->lines(), needle, from, sensitivity);
}

std::vector<TerminalRange> TerminalEmulator::findAll(const QString &needle, qint64 firstLine, qint64 endLine,
                                                     Qt::CaseSensitivity sensitivity) const
{
    return TerminalSearch::all(d->lines(), needle, firstLine, endLine, sensitivity);
}

void TerminalEmulator::send(const QByteArray &bytes)
{
    if (!bytes.isEmpty())
        emit output(bytes);
}

void TerminalEmulator::sendKey(TerminalKey key, TerminalModifiers modifiers)
{
    send(TerminalKeys::key(key, modifiers, d->interpreter.modes()));
}

void TerminalEmulator::sendCharacter(char32_t character, TerminalModifiers modifiers)
{
    send(TerminalKeys::character(character, modifiers));
}

void TerminalEmulator::sendText(const QString &text)
{
    send(text.toUtf8());
}

void TerminalEmulator::paste(const QString &text)
{
    send(TerminalKeys::paste(text, d->interpreter.modes()));
}

void TerminalEmulator::sendMouseButton(int button, bool pressed, int row, int column, TerminalModifiers modifiers)
{
    const bool isWheel = button == 4 || button == 5;
    if (button < 1 || button > 5 || (isWheel && !pressed))
        return;
    if (!isWheel) {
        const int bit = 1 << (button - 1);
        if (pressed == ((d->buttons & bit) != 0))
            return;
        d->buttons ^= bit;
    }
    d->mouseRow = row = std::clamp(row, 0, size().rows - 1);
    d->mouseColumn = column = std::clamp(column, 0, size().columns - 1);
    if (mouse() == TerminalMouse::none)
        return;
    if (d->interpreter.modes().mousePressesOnly) {
        if (!pressed)
            return;
        modifiers = {};
    }
    const auto event = pressed ? TerminalKeys::MouseEvent::press : TerminalKeys::MouseEvent::release;
    send(TerminalKeys::mouse(event, button, row, column, modifiers, d->interpreter.modes()));
}

void TerminalEmulator::sendMouseMove(int row, int column, TerminalModifiers modifiers)
{
    row = std::clamp(row, 0, size().rows - 1);
    column = std::clamp(column, 0, size().columns - 1);
    if (row == d->mouseRow && column == d->mouseColumn)
        return;
    d->mouseRow = row;
    d->mouseColumn = column;
    if (mouse() != TerminalMouse::motion && (mouse() != TerminalMouse::drags || d->buttons == 0))
        return;
    const int button = (d->buttons & 1) != 0 ? 1 : (d->buttons & 2) != 0 ? 2 : (d->buttons & 4) != 0 ? 3 : 0;
    send(TerminalKeys::mouse(TerminalKeys::MouseEvent::move, button, row, column, modifiers, d->interpreter.modes()));
}

void TerminalEmulator::sendFocus(bool focused)
{
    if (d->interpreter.modes().focusReports)
        send(focused ? "\x1b[I" : "\x1b[O");
}

} // namespace moorix
