// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalScrollback.h"

#include "terminal/TerminalUtf8.h"

#include <cstring>

namespace moorix {

namespace {

constexpr quint16 wideRun = 0x8000;
constexpr std::size_t blockBytes = 64 * 1024;
constexpr std::size_t blockRuns = 32 * 1024;
/// One text more may follow in a full block.
constexpr std::size_t blockStyles = wideRun - TerminalScrollback::longestText - 1;
/// What 100,000 lines of very colourful text may take; beyond it the oldest go, however few there are.
constexpr std::size_t byteLimit = 96'000'000;
constexpr std::size_t knownStyles = 256;

std::size_t hashOf(const TerminalStyle &style)
{
    static_assert(sizeof(TerminalStyle) == 12);
    quint32 parts[3];
    std::memcpy(parts, &style, sizeof parts);
    const quint32 mixed = (parts[0] * 0x9E3779B1U) ^ (parts[1] * 0x85EBCA77U) ^ (parts[2] * 0xC2B2AE3DU);
    return (mixed >> 16 ^ mixed) % knownStyles;
}

} // namespace

TerminalScrollback::TerminalScrollback(int columns)
    : m_columns(columns)
    , m_known(knownStyles)
{
}

void TerminalScrollback::setLimit(int texts)
{
    m_limit = std::max(0, texts);
    trim();
}

void TerminalScrollback::setColumns(int columns)
{
    m_columns = columns;
    m_loadedLine = -1;
    qint64 line = m_firstLine;
    for (std::size_t b = 0; b < m_blocks.size(); ++b) {
        Block &block = m_blocks[b];
        block.firstLine = line;
        for (std::size_t t = block.firstText; t < block.texts.size(); ++t) {
            block.texts[t].line = quint32(line - block.firstLine);
            line += lineCount({b, t});
        }
    }
    m_endLine = line;
}

void TerminalScrollback::clear(qint64 line)
{
    m_blocks.clear();
    m_last = nullptr;
    m_textCount = m_closedBytes = 0;
    m_firstLine = m_endLine = line;
    m_loadedLine = -1;
}

void TerminalScrollback::append(const TerminalLine &line)
{
    Block *block = m_last;
    const bool extend = block && block->texts.back().wraps && block->texts.back().cells < longestText;
    if (!extend) {
        if (!block || isFull(*block))
            block = &addBlock();
        block->texts.push_back({quint32(block->bytes.size()), quint32(block->runs.size()),
                                quint32(m_endLine - block->firstLine), 0, false, false, false, 0});
        ++m_textCount;
    }
    Text &text = block->texts.back();
    const int length = TerminalParagraph::textLength(line);
    pack(*block, text, line, length);
    text.cells += quint32(length);
    text.wraps = line.wraps;
    text.prompt = text.prompt || line.prompt;
    if (line.used == int(line.cells.size()))
        text.fill = styleIndex(*block, TerminalParagraph::fillOf(line, length));
    if (!extend && length <= m_columns) {
        ++m_endLine;
    } else {
        m_endLine = endOf({m_blocks.size() - 1, block->texts.size() - 1});
        m_loadedLine = -1;
    }
    trim();
}

void TerminalScrollback::setLastWraps(bool wraps)
{
    if (m_last)
        m_last->texts.back().wraps = wraps;
}

bool TerminalScrollback::lastWraps() const
{
    return m_last && m_last->texts.back().wraps;
}

TerminalParagraph TerminalScrollback::takeLast()
{
    const Place last{m_blocks.size() - 1, m_blocks.back().texts.size() - 1};
    Block &block = m_blocks.back();
    const Text taken = block.texts.back();
    TerminalParagraph paragraph{{}, block.styles[taken.fill], bool(taken.wraps), bool(taken.prompt)};
    unpack(last, paragraph.cells);

    m_loadedLine = -1;
    m_endLine = block.firstLine + taken.line;
    block.texts.pop_back();
    block.bytes.resize(taken.bytes);
    block.runs.resize(taken.runs);
    --m_textCount;
    if (block.texts.size() == block.firstText) {
        m_blocks.pop_back();
        m_last = m_blocks.empty() ? nullptr : &m_blocks.back();
        m_closedBytes -= m_blocks.empty() ? 0 : size(m_blocks.back());
        m_known.assign(knownStyles, {});
    }
    return paragraph;
}

std::span<const TerminalCell> TerminalScrollback::line(qint64 number) const
{
    load(number);
    const auto row = std::size_t(number - m_loadedLine);
    const std::span<const TerminalCell> cells =
        std::span(m_cells).subspan(m_starts[row], m_starts[row + 1] - m_starts[row]);
    const Place place = find(number);
    const TerminalStyle &fill = m_blocks[place.block].styles[text(place).fill];
    if (row + 2 < m_starts.size() || fill == TerminalStyle())
        return cells;
    TerminalCell blank;
    blank.style = fill;
    m_filled.assign(cells.begin(), cells.end());
    m_filled.resize(std::size_t(m_columns), blank);
    return m_filled;
}

bool TerminalScrollback::wraps(qint64 number) const
{
    const Place place = find(number);
    return number + 1 < endOf(place) || text(place).wraps;
}

bool TerminalScrollback::isPrompt(qint64 number) const
{
    const Place place = find(number);
    return text(place).prompt && lineOf(place) == number;
}

qint64 TerminalScrollback::textStart(qint64 number) const
{
    return lineOf(find(number));
}

qint64 TerminalScrollback::textEnd(qint64 number) const
{
    return endOf(find(number));
}

std::string_view TerminalScrollback::storedText(qint64 number) const
{
    const Place place = find(number);
    const Block &block = m_blocks[place.block];
    const std::size_t from = text(place).bytes;
    const std::size_t to = place.text + 1 < block.texts.size() ? block.texts[place.text + 1].bytes : block.bytes.size();
    return std::string_view(block.bytes).substr(from, to - from);
}

qint64 TerminalScrollback::promptFrom(qint64 number, bool up) const
{
    if (m_blocks.empty() || number < m_firstLine || number >= m_endLine)
        return -1;
    Place place = find(number);
    if (!up && lineOf(place) < number)
        ++place.text;
    while (true) {
        const Block &block = m_blocks[place.block];
        for (; place.text >= block.firstText && place.text < block.texts.size(); up ? --place.text : ++place.text) {
            if (block.texts[place.text].prompt)
                return lineOf(place);
        }
        if (up ? place.block == 0 : place.block + 1 == m_blocks.size())
            return -1;
        place.block = up ? place.block - 1 : place.block + 1;
        place.text = up ? m_blocks[place.block].texts.size() - 1 : m_blocks[place.block].firstText;
    }
}

void TerminalScrollback::forEachStyle(const std::function<void(TerminalStyle &)> &change)
{
    for (Block &block : m_blocks)
        std::for_each(block.styles.begin(), block.styles.end(), change);
    m_known.assign(knownStyles, {});
    m_loadedLine = -1;
}

TerminalScrollback::Place TerminalScrollback::find(qint64 number) const
{
    const auto block = std::prev(std::upper_bound(m_blocks.begin(), m_blocks.end(), number,
                                                  [](qint64 wanted, const Block &b) { return wanted < b.firstLine; }));
    const auto first = block->texts.begin() + std::ptrdiff_t(block->firstText);
    const auto text = std::prev(
        std::upper_bound(first, block->texts.end(), number - block->firstLine,
                         [](qint64 wanted, const Text &candidate) { return wanted < qint64(candidate.line); }));
    return {std::size_t(block - m_blocks.begin()), std::size_t(text - block->texts.begin())};
}

qint64 TerminalScrollback::lineOf(Place place) const
{
    return m_blocks[place.block].firstLine + text(place).line;
}

qint64 TerminalScrollback::endOf(Place place) const
{
    return lineOf(place) + lineCount(place);
}

quint16 TerminalScrollback::styleIndex(Block &block, const TerminalStyle &style)
{
    if (style == TerminalStyle())
        return 0;
    Known &known = m_known[hashOf(style)];
    if (known.index == 0xFFFF || known.style != style) {
        known = {style, quint16(block.styles.size())};
        block.styles.push_back(style);
    }
    return known.index;
}

void TerminalScrollback::pack(Block &block, Text &text, const TerminalLine &line, int length)
{
    const TerminalCell *cell = line.cells.data();
    const TerminalCell *const end = cell + length;
    if (m_packed.size() < 4 * std::size_t(length))
        m_packed.resize(4 * std::size_t(length));
    char *to = m_packed.data();
    while (cell < end) {
        // A copy: a reference would have to be read again after each byte that is written.
        const TerminalStyle style = cell->style;
        const bool wide = cell->width == 2;
        const int width = wide ? 2 : 1;
        quint16 count = 0;
        for (; cell < end && cell->width == width && cell->style == style; cell += width, ++count)
            to += TerminalUtf8::encodeInFour(to, cell->character);
        // Wide characters are whole on the screen, so the second half cannot come first; were it so, it is left out.
        if (count == 0) {
            ++cell;
            continue;
        }
        text.wide = text.wide || wide;
        const quint16 index = style == TerminalStyle() ? quint16(0) : styleIndex(block, style);
        block.runs.push_back({count, quint16(index | (wide ? wideRun : 0))});
    }
    block.bytes.append(m_packed.data(), std::size_t(to - m_packed.data()));
}

void TerminalScrollback::unpack(Place place, std::vector<TerminalCell> &cells) const
{
    const Block &block = m_blocks[place.block];
    const Text &text = this->text(place);
    const std::size_t endRun =
        place.text + 1 < block.texts.size() ? block.texts[place.text + 1].runs : block.runs.size();
    cells.clear();
    cells.reserve(text.cells);
    const char *at = block.bytes.data() + text.bytes;
    for (std::size_t run = text.runs; run < endRun; ++run) {
        TerminalCell cell;
        cell.style = block.styles[block.runs[run].style & ~wideRun];
        const bool wide = (block.runs[run].style & wideRun) != 0;
        for (int count = block.runs[run].count; count > 0; --count) {
            cell.character = TerminalUtf8::next(at);
            cell.width = wide ? 2 : 1;
            cells.push_back(cell);
            if (wide)
                cells.push_back({0, cell.style, 0});
        }
    }
}

bool TerminalScrollback::isFull(const Block &block)
{
    return block.bytes.size() > blockBytes || block.runs.size() > blockRuns || block.styles.size() > blockStyles;
}

TerminalScrollback::Block &TerminalScrollback::addBlock()
{
    if (!m_blocks.empty()) {
        Block &full = m_blocks.back();
        full.bytes.shrink_to_fit();
        full.runs.shrink_to_fit();
        full.texts.shrink_to_fit();
        full.styles.shrink_to_fit();
        m_closedBytes += size(full);
    }
    m_known.assign(knownStyles, {});
    Block &block = m_blocks.emplace_back();
    block.firstLine = m_endLine;
    block.styles.emplace_back();
    m_last = &block;
    return block;
}

int TerminalScrollback::lineCount(Place place) const
{
    const Block &block = m_blocks[place.block];
    const Text &text = this->text(place);
    if (!text.wide)
        return std::max(1, (int(text.cells) + m_columns - 1) / m_columns);
    const std::size_t endRun =
        place.text + 1 < block.texts.size() ? block.texts[place.text + 1].runs : block.runs.size();
    int lines = 1;
    int column = 0;
    for (std::size_t run = text.runs; run < endRun; ++run) {
        if ((block.runs[run].style & wideRun) == 0) {
            column += block.runs[run].count;
            const int more = std::max(0, column - 1) / m_columns;
            lines += more;
            column -= more * m_columns;
            continue;
        }
        for (int count = block.runs[run].count; count > 0; --count) {
            if (column + 2 > m_columns) {
                ++lines;
                column = 0;
            }
            column += 2;
        }
    }
    return lines;
}

void TerminalScrollback::dropFirst()
{
    Block &block = m_blocks.front();
    --m_textCount;
    if (++block.firstText < block.texts.size()) {
        m_firstLine = block.firstLine + block.texts[block.firstText].line;
        return;
    }
    if (m_blocks.size() > 1)
        m_closedBytes -= size(block);
    m_blocks.pop_front();
    m_last = m_blocks.empty() ? nullptr : m_last;
    m_firstLine = m_blocks.empty() ? m_endLine : m_blocks.front().firstLine;
}

void TerminalScrollback::trim()
{
    while (m_textCount > std::size_t(m_limit) || (m_closedBytes > byteLimit && m_blocks.size() > 1))
        dropFirst();
    if (m_loadedLine < m_firstLine)
        m_loadedLine = -1;
}

void TerminalScrollback::load(qint64 number) const
{
    const Place place = find(number);
    if (m_loadedLine == lineOf(place))
        return;
    unpack(place, m_cells);
    m_loadedLine = lineOf(place);
    m_starts.assign(1, 0);
    for (std::size_t start = 0; m_cells.size() - start > std::size_t(m_columns);) {
        start += std::size_t(m_columns);
        if (m_cells[start].width == 0)
            --start;
        m_starts.push_back(start);
    }
    m_starts.push_back(m_cells.size());
}

std::size_t TerminalScrollback::size(const Block &block)
{
    return sizeof(Block) + block.bytes.capacity() + block.runs.capacity() * sizeof(Run) +
           block.texts.capacity() * sizeof(Text) + block.styles.capacity() * sizeof(TerminalStyle);
}

} // namespace moorix
