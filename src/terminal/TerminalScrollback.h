// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalLine.h"

#include <deque>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace moorix {

/// Text that has left the screen, from the oldest line to the newest. Kept as the program wrote it, unwrapped, and
/// packed: UTF-8 and runs of style, so a width is only a matter of counting and a change of it copies nothing. A line
/// of more than `longestText` cells has a seam at that length. Numbers of lines are absolute, see TerminalPoint.
class TerminalScrollback final
{
public:
    static constexpr int longestText = 8192;

    explicit TerminalScrollback(int columns);

    /// At most this many texts, however many lines each is wrapped to.
    void setLimit(int texts);
    /// Goes through the texts' lengths (100,000: a few milliseconds).
    void setColumns(int columns);
    /// Forgets all; the next line has the number `line`.
    void clear(qint64 line);

    void append(const TerminalLine &line);
    /// The last line does go on in the one appended next, or does not.
    void setLastWraps(bool wraps);
    bool lastWraps() const;
    /// Takes the newest text away. There must be one.
    TerminalParagraph takeLast();

    bool isEmpty() const { return m_blocks.empty(); }
    qint64 firstLine() const { return m_firstLine; }
    qint64 endLine() const { return m_endLine; }

    /// Valid until the next call of this object.
    std::span<const TerminalCell> line(qint64 number) const;
    bool wraps(qint64 number) const;
    bool isPrompt(qint64 number) const;
    /// The first line of the text that `number` belongs to, and one more than its last.
    qint64 textStart(qint64 number) const;
    qint64 textEnd(qint64 number) const;
    /// The text of a line and all it is wrapped over as it is stored: one code point in UTF-8 per character, the second
    /// column of wide ones left out, NUL for empty cells, and clusters beyond Unicode's end.
    std::string_view storedText(qint64 number) const;
    /// The nearest text with a prompt from `number` on, or up from it, as a line; -1 for none.
    qint64 promptFrom(qint64 number, bool up) const;

    /// Calls for every style that is kept.
    void forEachStyle(const std::function<void(TerminalStyle &)> &change);

private:
    struct Run
    {
        quint16 count;
        /// An index into the block's styles; the highest bit for wide characters.
        quint16 style;
    };
    struct Text
    {
        quint32 bytes;
        quint32 runs;
        /// The first line, counted from the block's.
        quint32 line;
        quint32 cells : 24;
        quint32 wide : 1;
        quint32 wraps : 1;
        quint32 prompt : 1;
        /// Cells up to the width beyond the text have this style.
        quint16 fill;
    };
    struct Block
    {
        qint64 firstLine = 0;
        std::size_t firstText = 0;
        std::string bytes;
        std::vector<Run> runs;
        std::vector<Text> texts;
        std::vector<TerminalStyle> styles;
    };
    struct Place
    {
        std::size_t block;
        std::size_t text;
    };

    Place find(qint64 number) const;
    const Text &text(Place place) const { return m_blocks[place.block].texts[place.text]; }
    qint64 lineOf(Place place) const;
    qint64 endOf(Place place) const;
    quint16 styleIndex(Block &block, const TerminalStyle &style);
    void pack(Block &block, Text &text, const TerminalLine &line, int length);
    void unpack(Place place, std::vector<TerminalCell> &cells) const;
    static bool isFull(const Block &block);
    Block &addBlock();
    int lineCount(Place place) const;
    void dropFirst();
    void trim();
    void load(qint64 number) const;
    static std::size_t size(const Block &block);

    std::deque<Block> m_blocks;
    /// The last block, which lines are added to.
    Block *m_last = nullptr;
    int m_columns;
    int m_limit = 100'000;
    std::size_t m_textCount = 0;
    std::size_t m_closedBytes = 0;
    qint64 m_firstLine = 0;
    qint64 m_endLine = 0;
    /// Styles met last, by a part of their hash.
    struct Known
    {
        TerminalStyle style;
        quint16 index = 0xFFFF;
    };
    std::vector<Known> m_known;
    /// Room for a line's bytes while it is packed.
    std::vector<char> m_packed;

    /// The text that was looked at last, unpacked, and where its lines begin.
    mutable std::vector<TerminalCell> m_cells;
    mutable std::vector<std::size_t> m_starts;
    mutable std::vector<TerminalCell> m_filled;
    mutable qint64 m_loadedLine = -1;
};

} // namespace moorix
