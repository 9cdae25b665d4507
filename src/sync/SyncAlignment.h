// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncManifest.h"

namespace moorix {

/// What the times of a side are worth.
struct SyncTimes
{
    /// Known to the second, in a time zone that is known. Otherwise they are those of a listing: to the minute, and of
    /// files older than about half a year only the day, which then shows as midnight.
    bool isExact = true;
    /// The zone that the midnights of a listing are in, if the server does as it should.
    Qt::TimeSpec zone = Qt::UTC;
    /// The server's own zone may be another.
    bool isZoneUncertain = false;
};

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
                            const SyncTimes &times, const QDateTime &now);
    /// Whether a time from such a listing may be this one.
    static bool agrees(const QDateTime &listed, const QDateTime &reference, const SyncTimes &times,
                       const QDateTime &now);
};

} // namespace moorix
