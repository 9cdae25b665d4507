// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUuid>

#include <optional>

namespace moorix {

/// What becomes of a line on the way from the first text to the second.
enum class DiffOp { equal, insert, remove };

/// One row of two texts side by side.
struct DiffRow
{
    QUuid id;
    DiffOp op = DiffOp::equal;
    /// The line of the first text; absent where it is an insertion.
    std::optional<QString> left;
    /// The line of the second text; absent where it is a deletion. The same as `left` where they are equal.
    std::optional<QString> right;

    bool operator==(const DiffRow &) const = default;
};

} // namespace moorix
