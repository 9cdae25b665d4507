// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace moorix {

/// One of two compared files.
enum class DiffSide { left, right };

constexpr DiffSide otherSide(DiffSide side)
{
    return side == DiffSide::left ? DiffSide::right : DiffSide::left;
}

} // namespace moorix
