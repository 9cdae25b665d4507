// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffLayout.h"

#include <algorithm>

namespace moorix {

DiffLayout::DiffLayout(const QList<DiffEngine::Run> &runs)
{
    for (const DiffEngine::Run &run : runs) {
        if (run.op == DiffOp::equal)
            m_blocks.push_back({false, run.left, run.right, run.count, run.count});
        else if (run.op == DiffOp::remove)
            m_blocks.push_back({true, run.left, run.right, run.count, 0});
        else if (!m_blocks.empty() && m_blocks.back().isChanged)
            m_blocks.back().rightCount = run.count;
        else
            m_blocks.push_back({true, run.left, run.right, 0, run.count});
    }
    for (std::size_t i = 0; i < m_blocks.size(); ++i) {
        // Before the first change and after the last one, there is nothing to lead over from.
        m_blocks[i].head = i > 0 ? context : 0;
        m_blocks[i].tail = i + 1 < m_blocks.size() ? context : 0;
    }
    setFolded(true);
}

qsizetype DiffLayout::Block::rowCount() const
{
    return isFolded ? head + 1 + tail : std::max(leftCount, rightCount);
}

bool DiffLayout::canFold(const Block &block) const
{
    return !block.isChanged && m_blocks.size() > 1 && block.foldedCount() > context;
}

void DiffLayout::setFolded(bool isFolded)
{
    for (Block &block : m_blocks)
        block.isFolded = isFolded && canFold(block);
    number();
}

void DiffLayout::number()
{
    m_rowCount = 0;
    qsizetype order = 0;
    for (Block &block : m_blocks) {
        block.order = order;
        order += std::max(block.leftCount, block.rightCount);
        block.firstRow = m_rowCount;
        m_rowCount += block.rowCount();
    }
}

std::size_t DiffLayout::blockAt(qsizetype row) const
{
    const auto next = std::ranges::upper_bound(m_blocks, row, {}, &Block::firstRow);
    return std::size_t(next - m_blocks.begin() - 1);
}

std::size_t DiffLayout::blockOf(DiffSide side, qsizetype line) const
{
    // A block without lines of this side begins where the next one does; the last that begins there has the line.
    const auto next = std::ranges::upper_bound(m_blocks, line, {}, [side](const Block &block) {
        return block.lineCount(side) == 0 ? block.line(side) - 1 : block.line(side);
    });
    auto found = next - 1;
    while (found->lineCount(side) == 0 && found != m_blocks.begin())
        --found;
    return std::size_t(found - m_blocks.begin());
}

DiffLayout::Row DiffLayout::row(qsizetype index) const
{
    return rowIn(m_blocks.at(blockAt(index)), index);
}

DiffLayout::Row DiffLayout::rowIn(const Block &block, qsizetype index)
{
    qsizetype offset = index - block.firstRow;
    if (block.isChanged) {
        return {Row::Kind::changed, offset < block.leftCount ? block.left + offset : -1,
                offset < block.rightCount ? block.right + offset : -1};
    }
    if (block.isFolded && offset == block.head)
        return {Row::Kind::fold, block.left + offset, block.right + offset, block.foldedCount()};
    if (block.isFolded && offset > block.head)
        offset += block.foldedCount() - 1;
    return {Row::Kind::equal, block.left + offset, block.right + offset};
}

void DiffLayout::eachRow(const std::function<void(const Row &)> &action) const
{
    for (const Block &block : m_blocks) {
        const qsizetype end = block.firstRow + block.rowCount();
        for (qsizetype index = block.firstRow; index < end; ++index)
            action(rowIn(block, index));
    }
}

std::optional<DiffLayout::Hunk> DiffLayout::hunkAt(qsizetype row) const
{
    if (m_blocks.empty())
        return std::nullopt;
    const Block &block = m_blocks.at(blockAt(row));
    return block.isChanged ? std::optional(hunkOf(block)) : std::nullopt;
}

void DiffLayout::eachHunk(const std::function<void(const Hunk &, qsizetype, qsizetype)> &action) const
{
    for (const Block &block : m_blocks) {
        if (block.isChanged)
            action(hunkOf(block), block.firstRow, block.firstRow + block.rowCount());
    }
}

void DiffLayout::unfold(qsizetype row)
{
    m_blocks.at(blockAt(row)).isFolded = false;
    number();
}

std::vector<DiffLayout::Stretch> DiffLayout::opened(DiffSide side) const
{
    std::vector<Stretch> stretches;
    for (const Block &block : m_blocks) {
        if (canFold(block) && !block.isFolded)
            stretches.emplace_back(block.line(side), block.line(side) + block.lineCount(side));
    }
    return stretches;
}

void DiffLayout::open(DiffSide side, const std::vector<Stretch> &stretches)
{
    // Both are in order.
    auto stretch = stretches.begin();
    for (Block &block : m_blocks) {
        while (stretch != stretches.end() && stretch->second <= block.line(side))
            ++stretch;
        if (stretch != stretches.end() && stretch->first < block.line(side) + block.lineCount(side))
            block.isFolded = false;
    }
    number();
}

std::vector<qsizetype> DiffLayout::changes() const
{
    std::vector<qsizetype> rows;
    for (const Block &block : m_blocks) {
        if (block.isChanged)
            rows.push_back(block.firstRow);
    }
    return rows;
}

qsizetype DiffLayout::rowOf(DiffSide side, qsizetype line) const
{
    const Block &block = m_blocks.at(blockOf(side, line));
    const qsizetype offset = line - block.line(side);
    if (!block.isFolded || offset < block.head)
        return block.firstRow + offset;
    const qsizetype behind = offset - block.head - block.foldedCount();
    return block.firstRow + block.head + (behind < 0 ? 0 : 1 + behind);
}

qsizetype DiffLayout::reveal(DiffSide side, qsizetype line)
{
    const qsizetype found = rowOf(side, line);
    if (row(found).kind != Row::Kind::fold)
        return found;
    unfold(found);
    return rowOf(side, line);
}

qsizetype DiffLayout::order(DiffSide side, qsizetype line) const
{
    const Block &block = m_blocks.at(blockOf(side, line));
    return block.order + line - block.line(side);
}

qsizetype DiffLayout::lineFrom(DiffSide side, qsizetype order) const
{
    const auto next = std::ranges::upper_bound(m_blocks, order, {}, &Block::order);
    const Block &block = *(next == m_blocks.begin() ? next : next - 1);
    return block.line(side) + std::min(std::max<qsizetype>(order - block.order, 0), block.lineCount(side));
}

std::optional<DiffLayout::Stretch> DiffLayout::equalStretch(DiffSide side, qsizetype line) const
{
    const Block &block = m_blocks.at(blockOf(side, line));
    if (block.isChanged)
        return std::nullopt;
    return std::pair{block.line(side), block.line(side) + block.leftCount};
}

} // namespace moorix
