// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncPlan.h"

namespace moorix {

/// What a user says about rows, whatever the kind of each.
enum class SyncChoice {
    /// The server gets what this computer has: a copy, or that it is gone.
    localWins,
    /// This computer gets what the server has.
    remoteWins,
    keepBoth,
    skip,
    /// What would be done without a choice.
    usual,
    /// The one behind the present one.
    next
};

/// What a choice comes to for a row; its present action where it does not offer that. Any thread.
SyncAction actionFor(const SyncRow &row, SyncChoice choice);

} // namespace moorix
