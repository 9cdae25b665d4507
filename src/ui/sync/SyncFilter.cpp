// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncFilter.h"

#include "sync/SyncText.h"

#include <QCoreApplication>

#include <algorithm>

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

bool isChange(const SyncRow &row)
{
    return row.diff.bucket != SyncBucket::unchanged && row.diff.bucket != SyncBucket::bothMissing;
}

bool isLeft(const SyncRow &row)
{
    return row.result == SyncResult::skipped ||
           (row.result == SyncResult::open && row.action != SyncAction::none && row.action != SyncAction::forget);
}

bool isDone(const SyncRow &row)
{
    return row.result == SyncResult::done && row.action != SyncAction::none && row.action != SyncAction::forget;
}

QList<SyncFilter> ofPlan(const QList<SyncRow> &rows)
{
    QList<SyncFilter> filters{{QStringLiteral("changes"), tr("All changes"), 0, false, isChange}};
    for (const SyncBucket bucket : allSyncBuckets) {
        if (bucket == SyncBucket::unchanged || bucket == SyncBucket::bothMissing)
            continue;
        filters.append({rawText(bucket), SyncText::bucket(bucket), 0, false,
                        [bucket](const SyncRow &row) { return row.diff.bucket == bucket; }});
    }
    // What needs the user comes first.
    const auto conflict = std::ranges::find(filters, rawText(SyncBucket::conflict), &SyncFilter::id);
    filters.move(conflict - filters.begin(), 1);
    filters[1].label = tr("Conflicts");
    filters.append({QStringLiteral("unchanged"), tr("Unchanged"), 0, false,
                    [](const SyncRow &row) { return row.diff.bucket == SyncBucket::unchanged; }});
    for (SyncFilter &filter : filters)
        filter.count = std::ranges::count_if(rows, filter.shows);
    return filters;
}

QList<SyncFilter> ofOutcome(const QList<SyncRow> &rows)
{
    QList<SyncFilter> filters{
        {QStringLiteral("changes"), tr("All"), 0, false,
         [](const SyncRow &row) { return isDone(row) || isLeft(row) || row.result == SyncResult::failed; }},
        {QStringLiteral("failed"), tr("Failed"), 0, false,
         [](const SyncRow &row) { return row.result == SyncResult::failed; }},
        {QStringLiteral("left"), tr("Left"), 0, false, isLeft},
        {QStringLiteral("done"), tr("Done"), 0, false, isDone}};
    for (SyncFilter &filter : filters)
        filter.count = std::ranges::count_if(rows, filter.shows);
    return filters;
}

} // namespace

QList<SyncFilter> SyncFilter::of(const SyncSession &session)
{
    const SyncPlan &plan = session.plan();
    QList<SyncFilter> filters = session.outcome() ? ofOutcome(plan.rows) : ofPlan(plan.rows);
    filters.append(
        {QStringLiteral("leftOut"), QCoreApplication::translate("moorix", "Left out"), plan.leftOut.size(), true});
    filters.removeIf(
        [](const SyncFilter &filter) { return filter.count == 0 && filter.id != QLatin1StringView("changes"); });
    return filters;
}

} // namespace moorix
