// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncAlignment.h"

#include <QHash>

#include <algorithm>
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
bool mayBeDayOnly(const QDateTime &listed, const ListedTimes &times, const QDateTime &now)
{
    constexpr qint64 youngestDays = 150;
    return !SyncAlignment::isExact(times) && listed.toTimeSpec(times.zone).time() == QTime(0, 0) &&
           (listed.daysTo(now) >= youngestDays || listed > now);
}

enum class Seasons { one, two };

/// By how many milliseconds nearly all files differ from what they should be, if it is by one and the same number of
/// quarters of an hour: the server then shows its times in another zone, or has changed its clocks. A zone with
/// daylight saving has two such numbers, an hour apart.
QList<qint64> commonShifts(const SyncEntries &listed, const SyncEntries &reference, Seasons seasons,
                           const ListedTimes &times, const QDateTime &now)
{
    constexpr qint64 fewestFiles = 3;
    constexpr double share = 0.9;
    constexpr qint64 quartersOfAnHour = 4;
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
    const QList<qint64> found = counts.keys();
    for (const qint64 quarters : found) {
        const qint64 other = seasons == Seasons::two ? counts.value(quarters + quartersOfAnHour) : 0;
        const qint64 fitting = counts.value(quarters) + other;
        const bool isAnyShifted = quarters != 0 || other > 0;
        if (!isAnyShifted || fitting < fewestFiles || double(fitting) < share * double(files))
            continue;
        QList<qint64> shifts{quarters * quarterMsecs};
        if (other > 0)
            shifts.append(shifts.constFirst() + hourMsecs);
        return shifts;
    }
    return {};
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

bool SyncAlignment::agrees(const QDateTime &listed, const QDateTime &reference, const ListedTimes &times,
                           const QDateTime &now)
{
    const qint64 after = listed.msecsTo(reference);
    if (std::abs(after) <= toleranceMsecs)
        return true;
    // Some servers show a time to come without its year, which is then taken for the last one.
    if (!isExact(times) && reference > now && std::abs(listed.addYears(1).msecsTo(reference)) <= toleranceMsecs)
        return true;
    if (!mayBeDayOnly(listed, times, now))
        return false;
    // Servers that should tell times in UTC may tell them in any zone.
    if (times.zone != Qt::UTC)
        return listed.toTimeSpec(times.zone).date() == reference.toTimeSpec(times.zone).date();
    return after >= -furthestAheadMsecs && after < dayMsecs + furthestBehindMsecs;
}

SyncAlignment SyncAlignment::of(const SyncEntries &remote, const SyncEntries &local, const SyncManifest *baseline,
                                const ListedTimes &times, const QDateTime &now)
{
    SyncAlignment result{remote, remote};
    QList<qint64> shifts;
    if (!isExact(times) && baseline)
        shifts = commonShifts(remote, baseline->remoteEntries, Seasons::one, times, now);
    else if (!isExact(times))
        shifts = commonShifts(remote, local, Seasons::two, times, now);
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
            const bool isShifted = std::any_of(shifts.cbegin(), shifts.cend(), [&](qint64 shift) {
                return agrees(listed.addMSecs(-shift), *reference->modified, times, now);
            });
            if (isShifted) {
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
