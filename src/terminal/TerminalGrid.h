// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalClusters.h"
#include "terminal/TerminalReflow.h"

#include <QByteArrayView>

namespace moorix {

/// The normal screen with its scrollback and the alternate one, and the style in which is written. Finds out from where
/// characters are put and where the cursor moves which lines are wrapped.
class TerminalGrid final
{
public:
    TerminalGrid(int rows, int columns);

    int rows() const { return m_normal.rows(); }
    int columns() const { return m_normal.columns(); }
    /// Those that a line of the screen has room for.
    int columns(int row) const
    {
        return screen().line(row).size == TerminalLineSize::single ? columns() : columns() / 2;
    }
    /// What the line has no room for any more is hidden until it is single again. False where the screen is too narrow
    /// for that.
    bool setSize(int row, TerminalLineSize size);
    /// All lines of the screen are single.
    void forgetSizes();
    bool isAlternate() const { return m_isAlternate; }
    void setAlternate(bool alternate);
    void clearAlternate();

    const TerminalScreen &screen() const { return m_isAlternate ? m_alternate : m_normal; }
    TerminalScreen &screen() { return m_isAlternate ? m_alternate : m_normal; }
    TerminalScrollback &history() { return m_history; }
    const TerminalScrollback &history() const { return m_history; }
    const TerminalClusters &clusters() const { return m_clusters; }

    struct Glyph
    {
        char32_t character;
        int width;
    };

    TerminalStyle pen;
    /// Characters move those behind them.
    bool inserts = false;
    /// Lines that are scrolled off the top are no history.
    bool dropsLines = false;

    void put(char32_t character, int width, int row, int column);
    /// Characters side by side that take so many columns, ending before the last of the line.
    void put(std::span<const Glyph> glyphs, int columns, int row, int column);
    /// The same for those of ASCII.
    void put(QByteArrayView characters, int row, int column);
    /// Adds a mark to the character before the cursor.
    void combine(char32_t mark, int row, int column);
    /// Makes one character of the two that were put last, side by side; false if they are not on one line.
    bool join(char32_t second, int row, int column);
    void erase(TerminalRectangle area) { screen().erase(area, blank()); }
    void eraseUnprotected(TerminalRectangle area) { screen().eraseUnprotected(area, blank()); }
    void scroll(TerminalRectangle area, int down, int right);
    /// The cursor went somewhere; not called for characters that are put one after the other.
    void moved(int row, int column);
    void forgetFlow() { m_flow = {}; }
    /// No line of the screen goes on in the next.
    void forgetWraps();
    /// The cursor at this place waits behind the last column, and the next character begins a new line.
    bool isPending(int row, int column) const;
    /// The character put last; 0 if there was none.
    char32_t lastCharacter() const { return m_lastCharacter; }

    /// Rewraps the normal screen and crops the other. The places are on the normal one; see TerminalReflow.
    std::vector<TerminalReflow::Place> resize(int rows, int columns, std::vector<TerminalReflow::Place> places);
    void clear();
    /// No cell is part of a hyperlink any more.
    void forgetLinks();

private:
    /// The character written last, as long as the cursor has stayed behind it.
    struct Flow
    {
        int row = -1;
        int column = 0;
        int width = 0;
        /// Rows that the line was moved up since.
        int scrolled = 0;
    };

    TerminalCell blank() const;
    TerminalCell *begin(int firstWidth, int columns, int row, int column);
    void markWrap(int row, int width);

    TerminalScrollback m_history;
    TerminalScreen m_normal;
    TerminalScreen m_alternate;
    TerminalClusters m_clusters;
    bool m_isAlternate = false;
    Flow m_flow;
    char32_t m_lastCharacter = 0;
};

} // namespace moorix
