// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalCell.h"
#include "terminal/TerminalColorTable.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace moorix {

struct TerminalSize
{
    int rows = 24;
    int columns = 80;
    friend bool operator==(TerminalSize, TerminalSize) = default;
};

/// A place in the text of a terminal. Lines are counted from the first one that the terminal ever had, so a place stays
/// where it is when lines scroll away above it; a resize that rewraps lines moves places (see `relocated`).
struct TerminalPoint
{
    qint64 line = 0;
    int column = 0;
    friend auto operator<=>(const TerminalPoint &, const TerminalPoint &) = default;
};

/// From `start` up to, without, `end`; in a block the columns between both on every line.
struct TerminalRange
{
    TerminalPoint start;
    TerminalPoint end;
    bool block = false;
    bool isEmpty() const { return start == end; }
    friend bool operator==(const TerminalRange &, const TerminalRange &) = default;
};

struct TerminalCursor
{
    enum class Shape { block, underline, bar };
    TerminalPoint position;
    Shape shape = Shape::block;
    bool blinks = true;
    bool visible = true;
};

/// What the program wants to hear of the mouse.
enum class TerminalMouse { none, clicks, drags, motion };

enum class TerminalKey {
    enter,
    tab,
    backspace,
    escape,
    up,
    down,
    left,
    right,
    insert,
    del,
    home,
    end,
    pageUp,
    pageDown,
    f1,
    f2,
    f3,
    f4,
    f5,
    f6,
    f7,
    f8,
    f9,
    f10,
    f11,
    f12,
    keypad0,
    keypad1,
    keypad2,
    keypad3,
    keypad4,
    keypad5,
    keypad6,
    keypad7,
    keypad8,
    keypad9,
    keypadMultiply,
    keypadPlus,
    keypadComma,
    keypadMinus,
    keypadPeriod,
    keypadDivide,
    keypadEnter,
    keypadEqual
};

struct TerminalModifiers
{
    bool shift = false;
    bool alt = false;
    bool control = false;
};

/// Interprets what a program sends to its terminal, keeps the screen and the scrollback, and turns keys, pastes and the
/// mouse into the bytes that the program expects. Knows no process and no window. Foreign bytes never throw. Main
/// thread.
class TerminalEmulator final : public QObject
{
    Q_OBJECT

public:
    explicit TerminalEmulator(TerminalSize size = {}, QObject *parent = nullptr);
    ~TerminalEmulator() override;

    /// At most this many lines are kept above the screen, each as it was written, however many it is wrapped over, so
    /// that a narrow window loses none; the oldest go first. 100,000 unless set. They take 100 MB at most: fewer are
    /// kept of what takes more.
    void setScrollbackLimit(int lines);

    /// Bytes in any pieces, as they come from the program. Takes as long as the bytes need: callers that must not
    /// freeze hand over a few hundred KiB at a time.
    void feed(QByteArrayView bytes);
    /// Rewraps what is on the normal screen and in the scrollback. A size below 1 × 2 counts as that.
    void resize(TerminalSize size);
    /// Forgets everything but the size and the scrollback limit.
    void reset();
    void clearScrollback();
    /// What programs that ask for the colours are told, as long as they have not chosen others.
    void setThemeColors(const TerminalColorTable::Colors &colors);

    TerminalSize size() const;
    /// The oldest line there is; the lines of the screen are the last `size().rows` of those from here to `endLine()`.
    qint64 firstLine() const;
    /// One more than the number of the last line of the screen.
    qint64 endLine() const;
    /// The number of the screen's first line.
    qint64 screenLine() const { return endLine() - size().rows; }
    /// The cells of a line; what is missing up to the width is empty. Valid until the next call of this object.
    std::span<const TerminalCell> line(qint64 number) const;
    /// The line goes on in the next one: it was too long for the width.
    bool wraps(qint64 number) const;
    /// Lines above the screen are single ones.
    TerminalLineSize lineSize(qint64 number) const;
    QString text(const TerminalCell &cell) const;
    /// The text of a range as it is copied: wrapped lines joined, blanks at the ends of lines dropped.
    QString text(const TerminalRange &range) const;
    /// The word at a place: letters, digits and what paths and addresses are made of; over wrapped lines.
    TerminalRange wordAt(TerminalPoint point) const;
    /// The whole line at a place, with the lines it is wrapped over.
    TerminalRange lineAt(TerminalPoint point) const;
    /// The address of a hyperlink, empty for 0 and those long gone.
    QString link(quint16 id) const;

    TerminalCursor cursor() const;
    /// A full-screen program is shown; there is no scrollback of it.
    bool showsAlternateScreen() const;
    TerminalMouse mouse() const;
    bool bracketsPastes() const;
    /// The program is in the middle of a synchronized update: what is on the screen should not be painted yet.
    /// Ends by itself a moment (150 ms) after it began, so that a program that dies in one freezes nothing.
    bool holdsPainting() const;
    /// The whole screen is shown with foreground and background exchanged.
    bool isReversed() const;
    const TerminalColorTable &colors() const;
    QString title() const;
    /// The folder the shell says it is in, and the host it says so for (OSC 7); empty if it never did.
    QString workingFolder() const;
    QString workingHost() const;

    /// The nearest line above or below `from` at which the shell printed a prompt (OSC 133), if there is one.
    std::optional<qint64> promptAbove(qint64 from) const;
    std::optional<qint64> promptBelow(qint64 from) const;
    /// How many prompts the shell has printed since the beginning.
    qint64 promptCount() const;

    /// The next place of `needle` that begins before `from`, or at it or behind it, over wrapped lines too; nothing
    /// when there is none up to the end of the text in that direction. 100,000 lines take some 50 ms.
    std::optional<TerminalRange> findBackward(const QString &needle, TerminalPoint from, Qt::CaseSensitivity) const;
    std::optional<TerminalRange> findForward(const QString &needle, TerminalPoint from, Qt::CaseSensitivity) const;
    /// All places of `needle` on the given lines (of those on the screen, to mark them).
    std::vector<TerminalRange> findAll(const QString &needle, qint64 firstLine, qint64 endLine,
                                       Qt::CaseSensitivity) const;

    /// Keys, text, pastes, mouse: each becomes an `output`.
    void sendKey(TerminalKey key, TerminalModifiers modifiers);
    /// A character typed with modifiers that change it, such as Ctrl+C or Alt+x.
    void sendCharacter(char32_t character, TerminalModifiers modifiers);
    void sendText(const QString &text);
    /// Line ends become those of the Enter key; control characters other than tab and line end are left out, so that
    /// no paste can end its own brackets.
    void paste(const QString &text);
    /// `row` and `column` on the screen, from 0. Buttons 1 to 3; 4 and 5 are the wheel.
    void sendMouseButton(int button, bool pressed, int row, int column, TerminalModifiers modifiers);
    void sendMouseMove(int row, int column, TerminalModifiers modifiers);
    /// Told to the program if it asked.
    void sendFocus(bool focused);

signals:
    /// Bytes for the program.
    void output(const QByteArray &bytes);
    /// Something that is shown may have changed; at most one signal per `feed` and other call.
    void changed();
    /// Lines were rewrapped by a resize: kept places must be looked up anew, selections be dropped.
    void relocated();
    void titleChanged(const QString &title);
    void workingFolderChanged();
    /// The program may have chosen other colours, or gone back to those of the theme.
    void colorsChanged();
    void bell();
    /// The program wants this text on the clipboard (OSC 52). Reading the clipboard is never answered.
    void clipboardWritten(const QString &text);

private:
    void tell();
    void send(const QByteArray &bytes);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace moorix
