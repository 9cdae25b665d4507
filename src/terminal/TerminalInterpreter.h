// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalCharsets.h"
#include "terminal/TerminalColorTable.h"
#include "terminal/TerminalCommands.h"
#include "terminal/TerminalGrid.h"
#include "terminal/TerminalLinks.h"
#include "terminal/TerminalModes.h"
#include "terminal/TerminalStreamGate.h"

#include <array>
#include <memory>

struct VTerm;
struct VTermState;

namespace moorix {

/// Does what a program's bytes say to a grid. libvterm keeps the cursor, tabs and scroll region; what it leaves out or
/// gets wrong is done here: styles, character sets, saved cursors, margins' effect on moves, repetition, soft resets,
/// modes in groups, answers.
class TerminalInterpreter final : private TerminalStreamGate::Receiver
{
public:
    /// What happened since it was asked for last; told afterwards, so that nobody calls in the middle.
    struct Events
    {
        QByteArray output;
        std::optional<QString> title;
        std::optional<QString> clipboard;
        bool bell = false;
        bool workingFolder = false;
        bool colors = false;
    };

    explicit TerminalInterpreter(TerminalSize size);
    ~TerminalInterpreter();
    Q_DISABLE_COPY_MOVE(TerminalInterpreter)

    void feed(QByteArrayView bytes) { m_gate.feed(bytes); }
    void resize(TerminalSize size);
    void reset();
    void clearScrollback();
    Events takeEvents() { return std::exchange(m_events, {}); }

    TerminalGrid &grid() { return m_grid; }
    const TerminalGrid &grid() const { return m_grid; }
    const TerminalModes &modes() const { return m_modes; }
    const TerminalLinks &links() const { return m_links; }
    TerminalColorTable &colors() { return m_colors; }
    const TerminalColorTable &colors() const { return m_colors; }
    TerminalReflow::Place cursor() const;
    const QString &title() const { return m_title; }
    const TerminalCommands::WorkingFolder &workingFolder() const { return m_folder; }
    qint64 promptCount() const { return m_promptCount; }
    /// The program has begun a synchronized update and not ended it.
    bool isUpdating() const { return m_isUpdating; }
    void endUpdate() { m_isUpdating = false; }

private:
    struct SavedCursor
    {
        TerminalReflow::Place place;
        TerminalStyle style;
        bool origin = false;
        TerminalCharsets charsets;
    };
    struct Callbacks;

    void plain(QByteArrayView bytes) override;
    void combining(char32_t character) override;
    void escape(QByteArrayView bytes) override;
    void sequence(const TerminalSequence &sequence) override;
    void operatingSystemCommand(QByteArrayView text) override;
    void deviceControl(QByteArrayView text) override;

    void write(QByteArrayView bytes);
    void writeText(QByteArrayView bytes);
    void writeCorrected(char32_t character);
    void writeUnwrapped(QByteArrayView bytes);
    int widthOf(char32_t character) const;
    void interpret(QByteArrayView bytes);
    const char *layDown(const char *at, const char *end);
    void feedLine(TerminalReflow::Place &place);
    const char *layText(const char *at, const char *end, TerminalReflow::Place &place);
    void catchUp();
    bool edit(const TerminalSequence &sequence);
    void fillScreen();
    void beginScreen();
    void resetMargins();
    void scrollBy(int lines);
    void setMargins(const TerminalSequence &sequence);
    void forward(const TerminalSequence &sequence);
    void setModes(const TerminalSequence &sequence, bool on);
    void setMode(int mode, bool on);
    void setPrivateMode(int mode, bool on);
    bool answer(const TerminalSequence &sequence);
    void changeColors(const TerminalCommands::Colors &colors);
    void keepTitle();
    void bringTitleBack();
    std::optional<bool> mode(int mode) const;
    std::optional<bool> privateMode(int mode) const;
    void setMouse(TerminalMouse mouse, bool pressesOnly, bool on);
    void setMouseBytes(TerminalModes::MouseBytes bytes, bool on);
    void saveCursor(bool alternate);
    void restoreCursor(bool alternate);
    TerminalReflow::Place position() const;
    TerminalReflow::Place cursorOrEnd() const;
    bool isWithinMargins() const;
    void moveVertically(int lines);
    void settle();
    void resizeLine(char final);
    bool lineResized(int row, bool isWide, unsigned half);
    void showScreen(bool alternate);
    void matchSizes();
    void stayOnLine();
    void moveCursor(TerminalReflow::Place place);
    void sendCursor(TerminalReflow::Place place);
    void repeat(int count);
    void softReset();
    void hardReset();
    void setLink(const QString &address);
    void forgetLinks();

    TerminalGrid m_grid;
    TerminalModes m_modes;
    TerminalLinks m_links;
    TerminalStreamGate m_gate;
    Events m_events;
    QString m_title;
    std::vector<QString> m_titles;
    TerminalCommands::WorkingFolder m_folder;
    TerminalCharsets m_charsets;
    TerminalColorTable m_colors;
    /// The scroll region, from the top up to, without, the bottom.
    int m_top = 0;
    int m_bottom;
    /// What came last was a character.
    bool m_canRepeat = false;
    /// How wide libvterm took characters to be; 0 for those that have not come yet. `corrected` where it is wrong.
    static constexpr std::size_t widthsKept = 0x20000;
    static constexpr quint8 corrected = 0x80;
    std::vector<quint8> m_widths;
    /// What libvterm is told another character of the same width for, or 0.
    char32_t m_standsFor = 0;
    std::vector<TerminalGrid::Glyph> m_run;
    /// Where the cursor is, while libvterm has not been told. It does not wait behind the last column then.
    std::optional<TerminalReflow::Place> m_ahead;
    /// There may be a line of double size on the screen that is shown.
    bool m_hasSizes = false;
    /// Lines were scrolled since; libvterm takes the new ones for as large as those that were there.
    bool m_mistakesSizes = false;
    /// Of the normal and of the alternate screen.
    std::array<SavedCursor, 2> m_saved;
    bool m_isUpdating = false;
    qint64 m_promptCount = 0;
    std::unique_ptr<VTerm, void (*)(VTerm *)> m_vterm;
    VTermState *m_state;
};

} // namespace moorix
