// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/ListedTree.h"
#include "sync/SyncManifest.h"

namespace moorix {

/// The server's tree made comparable with the local one. Pure; any thread.
struct SyncAlignment
{
    /// With the times of the local side, or of the baseline, wherever what the listing tells agrees with them.
    SyncEntries forComparison;
    /// What to record after a sync: only aligned where a later, finer or coarser listing would show another time for
    /// the same file.
    SyncEntries asSeen;

    /// `now` is when the tree was listed.
    static SyncAlignment of(const SyncEntries &remote, const SyncEntries &local, const SyncManifest *baseline,
                            const ListedTimes &times, const QDateTime &now);
    /// Times to the second, in a zone that is known.
    static bool isExact(const ListedTimes &times) { return times.precision == ListedTimes::Precision::seconds; }
    /// Whether a time from such a listing may be this one.
    static bool agrees(const QDateTime &listed, const QDateTime &reference, const ListedTimes &times,
                       const QDateTime &now);
};

} // namespace moorix
