// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLayout.h"

#include <optional>

namespace moorix {

struct DiffContent;

/// A line of one of two compared texts.
struct DiffPlace
{
    DiffSide side = DiffSide::left;
    qsizetype line = 0;

    bool operator==(const DiffPlace &) const = default;
};

/// Looks for text in both, whatever its case.
namespace DiffSearch {

enum class Step { next, previous };

/// The nearest line with the text behind or before `from`, in the order of rows, the left one first; equal lines count
/// once, on the left. Goes on at the other end. Nothing where no line holds it, or it is empty.
std::optional<DiffPlace> find(const DiffContent &content, const DiffLayout &layout, DiffPlace from,
                              const QString &needle, Step step);

} // namespace DiffSearch

} // namespace moorix
