// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

/// Does what a program's bytes say to a grid. libvterm keeps the cursor, tabs, character sets and scroll region; what
/// it leaves out or gets wrong is done here: styles, saved cursors, repetition, soft resets, modes in groups.
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
    TerminalReflow::Place cursor() const;
    const QString &title() const { return m_title; }
    const TerminalCommands::WorkingFolder &workingFolder() const { return m_folder; }
    /// The program has begun a synchronized update and not ended it.
    bool isUpdating() const { return m_isUpdating; }
    void endUpdate() { m_isUpdating = false; }

private:
    struct SavedCursor
    {
        TerminalReflow::Place place;
        TerminalStyle style;
        bool origin = false;
        std::array<char, 4> sets{'B', 'B', 'B', 'B'};
    };
    struct Callbacks;

    void plain(QByteArrayView bytes) override;
    void combining(char32_t character) override;
    void escape(QByteArrayView bytes) override;
    void sequence(const TerminalSequence &sequence) override;
    void operatingSystemCommand(QByteArrayView text) override;
    void deviceControl(QByteArrayView text) override;

    void write(QByteArrayView bytes);
    void writeByAlphabet(QByteArrayView bytes);
    const char *run(const char *at, const char *end);
    void forward(const TerminalSequence &sequence);
    void setModes(const TerminalSequence &sequence, bool on);
    void setMode(int mode, bool on);
    void setPrivateMode(int mode, bool on);
    bool answersMode(int mode);
    void showAlternate(bool alternate);
    void saveCursor(bool alternate);
    void restoreCursor(bool alternate);
    TerminalReflow::Place cursorOrEnd() const;
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
    TerminalCommands::WorkingFolder m_folder;
    std::array<char, 4> m_sets{'B', 'B', 'B', 'B'};
    /// How wide libvterm took characters to be; 0 for those that have not come yet.
    static constexpr std::size_t widthsKept = 0x20000;
    std::vector<quint8> m_widths;
    std::vector<TerminalGrid::Glyph> m_run;
    /// Of the normal and of the alternate screen.
    std::array<SavedCursor, 2> m_saved;
    bool m_isUpdating = false;
    std::unique_ptr<VTerm, void (*)(VTerm *)> m_vterm;
    VTermState *m_state;
};

} // namespace moorix
