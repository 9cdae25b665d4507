// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncAlignment.h"

#include <QHash>

#include <cmath>
#include <cstdlib>

namespace moorix {

namespace {

constexpr qint64 toleranceMsecs = qint64(syncToleranceSeconds * 1000);
constexpr qint64 quarterMsecs = qint64(15) * 60 * 1000;
constexpr qint64 hourMsecs = 4 * quarterMsecs;
constexpr qint64 dayMsecs = 24 * hourMsecs;
/// The zones of this world reach from 12 hours behind to 14 hours ahead.
constexpr qint64 furthestBehindMsecs = 12 * hourMsecs;
constexpr qint64 furthestAheadMsecs = 14 * hourMsecs;

bool isSameFile(const SyncEntry &a, const SyncEntry &b)
{
    return !a.isDirectory && !b.isDirectory && a.size == b.size && a.modified && b.modified;
}

/// Listings leave out the time of day of what is older than 180 days; some weeks of room for servers' own ideas.
bool mayBeDayOnly(const QDateTime &listed, const SyncTimes &times, const QDateTime &now)
{
    constexpr qint64 youngestDays = 150;
    return !times.isExact && listed.toTimeSpec(times.zone).time() == QTime(0, 0) &&
           (listed.daysTo(now) >= youngestDays || listed > now);
}

/// By how many milliseconds nearly all files differ from what they should be, if it is by one and the same number of
/// quarters of an hour: the server then shows its times in another zone, or has changed its clocks.
qint64 commonShift(const SyncEntries &listed, const SyncEntries &reference, const SyncTimes &times,
                   const QDateTime &now)
{
    constexpr qint64 fewestFiles = 3;
    constexpr double share = 0.9;
    QHash<qint64, qint64> counts;
    qint64 files = 0;
    for (auto entry = listed.cbegin(); entry != listed.cend(); ++entry) {
        const auto known = reference.constFind(entry.key());
        if (known == reference.cend() || !isSameFile(*entry, *known) || mayBeDayOnly(*entry->modified, times, now))
            continue;
        ++files;
        const qint64 difference = known->modified->msecsTo(*entry->modified);
        const qint64 quarters = qint64(std::llround(double(difference) / double(quarterMsecs)));
        if (std::abs(difference - quarters * quarterMsecs) <= toleranceMsecs &&
            std::abs(quarters * quarterMsecs) <= furthestAheadMsecs)
            ++counts[quarters];
    }
    for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
        if (count.key() != 0 && *count >= fewestFiles && double(*count) >= share * double(files))
            return count.key() * quarterMsecs;
    }
    return 0;
}

/// The entries of a path on both sides and in the baseline; null where there are none.
struct Known
{
    const SyncEntry *local = nullptr;
    const SyncEntry *baselineLocal = nullptr;
    const SyncEntry *baselineRemote = nullptr;
};

const SyncEntry *find(const SyncEntries &entries, const QString &path)
{
    const auto found = entries.constFind(path);
    return found == entries.cend() ? nullptr : &*found;
}

bool isWithinTolerance(const SyncEntry &a, const SyncEntry &b)
{
    return SyncEntry::isEqual(a, b, syncToleranceSeconds);
}

} // namespace

bool SyncAlignment::agrees(const QDateTime &listed, const QDateTime &reference, const SyncTimes &times,
                           const QDateTime &now)
{
    const qint64 after = listed.msecsTo(reference);
    if (std::abs(after) <= toleranceMsecs)
        return true;
    if (!mayBeDayOnly(listed, times, now))
        return false;
    if (!times.isZoneUncertain)
        return listed.toTimeSpec(times.zone).date() == reference.toTimeSpec(times.zone).date();
    return after >= -furthestAheadMsecs && after < dayMsecs + furthestBehindMsecs;
}

SyncAlignment SyncAlignment::of(const SyncEntries &remote, const SyncEntries &local, const SyncManifest *baseline,
                                const SyncTimes &times, const QDateTime &now)
{
    SyncAlignment result{remote, remote};
    qint64 shift = 0;
    if (!times.isExact)
        shift = commonShift(remote, baseline ? baseline->remoteEntries : local, times, now);
    auto seen = result.asSeen.begin();
    for (auto entry = result.forComparison.begin(); entry != result.forComparison.end(); ++entry, ++seen) {
        if (entry->isDirectory || !entry->modified)
            continue;
        Known known{find(local, entry.key())};
        if (baseline) {
            known.baselineLocal = find(baseline->localEntries, entry.key());
            known.baselineRemote = find(baseline->remoteEntries, entry.key());
        }
        const QDateTime listed = *entry->modified;
        for (const SyncEntry *reference : {known.baselineRemote, known.local}) {
            if (!reference || !isSameFile(*entry, *reference))
                continue;
            if (isWithinTolerance(*entry, *reference))
                break;
            if (agrees(listed, *reference->modified, times, now)) {
                entry->modified = seen->modified = reference->modified;
                break;
            }
            if (shift != 0 && agrees(listed.addMSecs(-shift), *reference->modified, times, now)) {
                entry->modified = reference->modified;
                break;
            }
        }
        // Both are what they were when they were found or made alike, however the server dates it.
        if (known.local && known.baselineLocal && known.baselineRemote && isSameFile(*entry, *known.local) &&
            isSameFile(*known.baselineLocal, *known.baselineRemote) &&
            isWithinTolerance(*known.local, *known.baselineLocal) && isWithinTolerance(*entry, *known.baselineRemote))
            entry->modified = known.local->modified;
    }
    return result;
}

} // namespace moorix
