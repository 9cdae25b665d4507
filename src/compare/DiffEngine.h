// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffOptions.h"
#include "compare/DiffRow.h"
#include "compare/DiffText.h"

#include <QList>

/// Compares two texts line by line. Pure; any thread.
namespace moorix::DiffEngine {

/// Where the stretch between the common beginning and end of both texts would need a larger table, with one row and one
/// column more than it has lines, its lines are not aligned: all deletions come first, then all insertions.
constexpr qint64 maxCells = 4'000'000;

/// Rows of one kind that follow each other.
struct Run
{
    DiffOp op = DiffOp::equal;
    /// Where it begins in the first and in the second text, counted in lines.
    qsizetype left = 0;
    qsizetype right = 0;
    qsizetype count = 0;

    bool operator==(const Run &) const = default;
};

struct Stats
{
    qsizetype added = 0;
    qsizetype removed = 0;

    bool operator==(const Stats &) const = default;
};

/// All rows, in the order of both texts; with as few insertions and deletions as there can be where lines are aligned.
/// Between two equal rows deletions come before insertions.
QList<DiffRow> diff(const QString &a, const QString &b);
/// The same as runs, which take little memory for any text. None is empty. Where the options ignore something, lines of
/// an equal run may differ by that.
QList<Run> runs(const DiffText &a, const DiffText &b, const DiffOptions &options = {});

Stats stats(const QList<DiffRow> &rows);
Stats stats(const QList<Run> &runs);

} // namespace moorix::DiffEngine
