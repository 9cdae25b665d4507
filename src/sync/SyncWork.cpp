// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncWork.h"

#include "base/Error.h"
#include "sync/SyncText.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

SyncLogEntry logEntry(const SyncOutcome &outcome, const QDateTime &started, const QDateTime &ended)
{
    SyncLogEntry entry;
    entry.started = started;
    entry.milliseconds = started.msecsTo(ended);
    entry.skipped = outcome.count(SyncResult::skipped);
    entry.failed = outcome.count(SyncResult::failed);
    entry.bytesCopied = outcome.bytesCopied;
    entry.result = outcome.wasCancelled ? u"Cancelled"_s : outcome.failure.isEmpty() ? u"Completed"_s : outcome.failure;
    for (const SyncRow &row : outcome.rows) {
        if (row.action == SyncAction::none || row.action == SyncAction::forget)
            continue;
        entry.done += row.result == SyncResult::done ? 1 : 0;
        entry.conflicts += row.diff.bucket == SyncBucket::conflict && row.result == SyncResult::open ? 1 : 0;
        entry.lines.append(u"%1: %2"_s.arg(row.diff.relPath, SyncText::result(row)));
    }
    return entry;
}

} // namespace

SyncWork::SyncWork(SyncStateStore store, SyncSetup setup)
    : m_store(std::move(store))
    , m_setup(std::move(setup))
{
}

void SyncWork::take(const SyncStateStore::Loaded &loaded)
{
    if (!loaded.problem.isEmpty())
        m_problem = loaded.problem;
    m_setup.expectsLocalMarker = loaded.state.hasLocalMarker;
    m_setup.expectsRemoteMarker = loaded.state.hasRemoteMarker;
}

SyncPlan SyncWork::review(const std::stop_token &stop)
{
    const auto lock = m_store.lock(m_setup.key);
    const SyncStateStore::Loaded loaded = m_store.load(m_setup.key);
    take(loaded);
    const QString stamp = m_store.stamp(m_setup.key);
    SyncPlan plan = SyncRun::review(m_setup, loaded.manifest, loaded.journal, stop);
    plan.baselineStamp = stamp;
    return plan;
}

SyncOutcome SyncWork::apply(SyncPlan plan, const std::stop_token &stop)
{
    const auto lock = m_store.lock(m_setup.key);
    SyncStateStore::Loaded loaded = m_store.loadState(m_setup.key);
    take(loaded);
    if (m_store.stamp(m_setup.key) != plan.baselineStamp)
        throw Error(u"Sync"_s, u"This folder pair was synced elsewhere since the preview; look again."_s);
    const QDateTime started = m_setup.clock();
    SyncRun run(m_setup, std::move(plan));
    m_store.saveJournal(m_setup.key, run.journal());
    SyncOutcome outcome = run.run(stop);
    if (outcome.manifest) {
        m_store.saveManifest(*outcome.manifest);
        loaded.state.hasLocalMarker = outcome.hasLocalMarker;
        loaded.state.hasRemoteMarker = outcome.hasRemoteMarker;
    }
    loaded.state.log.append(logEntry(outcome, started, m_setup.clock()));
    try {
        m_store.saveState(m_setup.key, loaded.state);
    } catch (const Error &error) {
        // What was done is done, and remembered.
        outcome.notes.append(u"This sync is not in the pair's history: %1"_s.arg(error.message()));
    }
    return outcome;
}

} // namespace moorix
