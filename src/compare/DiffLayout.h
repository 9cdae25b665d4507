// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffEngine.h"
#include "compare/DiffSide.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace moorix {

/// How two compared texts stand beside each other: a deletion shares its rows with the insertion that follows it, and
/// long stretches of equal lines are folded into one row each. Holds no lines, only where they are.
class DiffLayout final
{
public:
    struct Row
    {
        enum class Kind { equal, changed, fold };
        Kind kind = Kind::equal;
        /// The lines in it, from 0; -1 where there is none. Of a fold, its first.
        qsizetype left = -1;
        qsizetype right = -1;
        /// How many lines a fold holds of each text.
        qsizetype folded = 0;

        qsizetype line(DiffSide side) const { return side == DiffSide::left ? left : right; }
        bool operator==(const Row &) const = default;
    };

    /// The lines of both texts that one change is about; either side may have none, and begins where they would be.
    struct Hunk
    {
        qsizetype left = 0;
        qsizetype leftCount = 0;
        qsizetype right = 0;
        qsizetype rightCount = 0;

        qsizetype line(DiffSide side) const { return side == DiffSide::left ? left : right; }
        qsizetype count(DiffSide side) const { return side == DiffSide::left ? leftCount : rightCount; }
        bool operator==(const Hunk &) const = default;
    };

    /// So many equal lines stay to be seen beside a change, and fewer than that are not worth a fold.
    static constexpr qsizetype context = 3;

    /// With folds, unless all is equal.
    explicit DiffLayout(const QList<DiffEngine::Run> &runs = {});

    qsizetype rowCount() const { return m_rowCount; }
    Row row(qsizetype index) const;
    /// All of them, one after the other.
    void eachRow(const std::function<void(const Row &)> &action) const;
    /// The change that a row belongs to; nothing between changes.
    std::optional<Hunk> hunkAt(qsizetype row) const;
    /// The change that begins at a row, and the row behind it.
    void eachHunk(const std::function<void(const Hunk &hunk, qsizetype first, qsizetype end)> &action) const;
    void setFolded(bool isFolded);
    /// Opens the fold at a row; its first line is there then.
    void unfold(qsizetype row);
    /// From a line of a side up to another one.
    using Stretch = std::pair<qsizetype, qsizetype>;
    /// The stretches whose folds were opened.
    std::vector<Stretch> opened(DiffSide side) const;
    /// Opens the folds of all stretches that have lines of these.
    void open(DiffSide side, const std::vector<Stretch> &stretches);
    /// The rows in which changes begin.
    std::vector<qsizetype> changes() const;
    /// The row of a line, which is taken out of its fold where it is in one.
    qsizetype reveal(DiffSide side, qsizetype line);
    /// The row of a line, or of the fold that holds it.
    qsizetype rowOf(DiffSide side, qsizetype line) const;

    /// The row that a line would have without folds.
    qsizetype order(DiffSide side, qsizetype line) const;
    /// The first line of a side in that row or a later one; the count of its lines where there is none.
    qsizetype lineFrom(DiffSide side, qsizetype order) const;
    /// Nothing for a changed line; else the lines around it that are equal, from and up to.
    std::optional<Stretch> equalStretch(DiffSide side, qsizetype line) const;

private:
    struct Block
    {
        bool isChanged = false;
        qsizetype left = 0;
        qsizetype right = 0;
        qsizetype leftCount = 0;
        qsizetype rightCount = 0;
        /// Lines to be seen before and after the fold.
        qsizetype head = 0;
        qsizetype tail = 0;
        bool isFolded = false;
        qsizetype firstRow = 0;
        qsizetype order = 0;

        qsizetype rowCount() const;
        qsizetype foldedCount() const { return leftCount - head - tail; }
        qsizetype line(DiffSide side) const { return side == DiffSide::left ? left : right; }
        qsizetype lineCount(DiffSide side) const { return side == DiffSide::left ? leftCount : rightCount; }
    };

    static Row rowIn(const Block &block, qsizetype index);
    static Hunk hunkOf(const Block &block) { return {block.left, block.leftCount, block.right, block.rightCount}; }
    void number();
    std::size_t blockAt(qsizetype row) const;
    std::size_t blockOf(DiffSide side, qsizetype line) const;
    bool canFold(const Block &block) const;

    std::vector<Block> m_blocks;
    qsizetype m_rowCount = 0;
};

} // namespace moorix
