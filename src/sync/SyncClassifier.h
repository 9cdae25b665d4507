// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncManifest.h"

#include <QList>

#include <array>

namespace moorix {

/// What a sync must do about one path.
enum class SyncBucket {
    /// Both sides are equal.
    unchanged,
    /// New on the server.
    createOnLocal,
    /// New on the local side.
    createOnRemote,
    /// Only the server's copy has changed.
    updateLocal,
    /// Only the local copy has changed.
    updateRemote,
    /// They differ, and it cannot be told which is right.
    conflict,
    /// Deleted locally, but changed or never recorded on the server.
    restoreOnLocal,
    /// Deleted on the server, but changed or never recorded locally.
    restoreOnRemote,
    /// Deleted on the server and untouched locally.
    deleteLocal,
    /// Deleted locally and untouched on the server.
    deleteRemote,
    /// Gone on both sides, but still recorded.
    bothMissing
};
inline constexpr std::array allSyncBuckets{
    SyncBucket::unchanged,    SyncBucket::createOnLocal, SyncBucket::createOnRemote, SyncBucket::updateLocal,
    SyncBucket::updateRemote, SyncBucket::conflict,      SyncBucket::restoreOnLocal, SyncBucket::restoreOnRemote,
    SyncBucket::deleteLocal,  SyncBucket::deleteRemote,  SyncBucket::bothMissing};
/// The case's own name: "createOnLocal".
QString rawText(SyncBucket bucket);

/// One path with its verdict and what stands there now.
struct SyncDiffEntry
{
    QString relPath;
    SyncBucket bucket = SyncBucket::unchanged;
    std::optional<SyncEntry> local;
    std::optional<SyncEntry> remote;

    bool operator==(const SyncDiffEntry &) const = default;
};

/// The three-way comparison of both sides with what they were at the last sync. Pure; any thread.
namespace SyncClassifier {

/// One row for each path that either side or the manifest knows, in plain string order.
QList<SyncDiffEntry> classify(const SyncEntries &currentLocal, const SyncEntries &currentRemote,
                              const std::optional<SyncManifest> &manifest);

SyncBucket classifyOne(const std::optional<SyncEntry> &local, const std::optional<SyncEntry> &remote,
                       const std::optional<SyncEntry> &baselineLocal, const std::optional<SyncEntry> &baselineRemote);

} // namespace SyncClassifier

} // namespace moorix
