// SPDX-License-Identifier: GPL-3.0-or-later
// What is found out before a sync.
#include "sync/SyncRun.h"

#include "base/Error.h"
#include "transfers/TransferChecksums.h"

#include <atomic>
#include <future>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Both at once: one side mostly waits.
std::pair<SyncSnapshot, SyncSnapshot> readBoth(const SyncSetup &setup, const std::stop_token &stop)
{
    std::stop_source either;
    const std::stop_callback passOn(stop, [&either] { either.request_stop(); });
    std::atomic<qint64> localEntries = 0;
    std::atomic<qint64> remoteEntries = 0;
    std::mutex reporting;
    const auto progressOf = [&](std::atomic<qint64> &counter) {
        return [&](qint64 entries) {
            counter = entries;
            const std::lock_guard lock(reporting);
            if (setup.progress)
                setup.progress({SyncProgress::Stage::reading, localEntries, remoteEntries, {}});
        };
    };
    const auto read = [&](const SyncSide &side, std::atomic<qint64> &counter) {
        try {
            return side.read(setup.ignore, setup.marker(), progressOf(counter), either.get_token());
        } catch (...) {
            either.request_stop();
            throw;
        }
    };
    auto local = std::async(std::launch::async, [&] { return read(setup.local, localEntries); });
    SyncSnapshot remote;
    try {
        remote = read(setup.remote, remoteEntries);
    } catch (const Cancelled &) {
        // Perhaps because of what happened on the other side.
        local.get();
        throw;
    }
    return {local.get(), std::move(remote)};
}

SyncPlanContext contextOf(const SyncSetup &setup)
{
    return {setup.local.root(),       setup.remote.root(),       setup.serverName,
            setup.expectsLocalMarker, setup.expectsRemoteMarker, setup.clock()};
}

void blockUnaddressable(SyncPlan &plan, const SyncSetup &setup)
{
    const auto *server = dynamic_cast<const RemoteFileService *>(&setup.remote.service());
    if (!server)
        return;
    for (SyncRow &row : plan.rows) {
        if (row.action != SyncAction::copyToRemote)
            continue;
        try {
            server->requireAddressable(setup.remote.path(row.diff.relPath));
        } catch (const Error &error) {
            SyncPlanner::block(row, error.message());
        }
    }
}

/// What only its times tell apart is no conflict when both sides hold the same.
void compareContents(SyncPlan &plan, const SyncSetup &setup, const std::stop_token &stop)
{
    const QStringList relPaths = SyncPlanner::sameSizeConflicts(plan);
    if (relPaths.isEmpty())
        return;
    if (setup.progress)
        setup.progress({SyncProgress::Stage::comparing, 0, 0, {}});
    const auto sums = [&](const SyncSide &side) {
        QStringList paths;
        for (const QString &relPath : relPaths)
            paths.append(side.path(relPath));
        return transferChecksums::of(side.service(), paths, stop);
    };
    const auto remote = sums(setup.remote);
    const auto local = remote ? sums(setup.local) : std::nullopt;
    if (!local)
        return;
    QSet<QString> same;
    for (const QString &relPath : relPaths) {
        const QByteArray sum = local->value(setup.local.path(relPath));
        if (!sum.isEmpty() && sum == remote->value(setup.remote.path(relPath)))
            same.insert(relPath);
    }
    SyncPlanner::settleSame(plan, same);
}

} // namespace

SyncPlan SyncRun::review(const SyncSetup &setup, const std::optional<SyncManifest> &manifest,
                         const SyncJournal &journal, const std::stop_token &stop)
{
    auto [local, remote] = readBoth(setup, stop);
    SyncPlan plan = SyncPlanner::make(std::move(local), std::move(remote), manifest, journal, contextOf(setup));
    blockUnaddressable(plan, setup);
    compareContents(plan, setup, stop);
    return plan;
}

} // namespace moorix
