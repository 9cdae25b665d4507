// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncClassifier.h"
#include "sync/SyncJournal.h"
#include "sync/SyncSide.h"

#include <QSet>

namespace moorix {

/// What is to be done about one path.
enum class SyncAction {
    /// Nothing, and nothing needs to be.
    none,
    copyToLocal,
    copyToRemote,
    removeLocal,
    removeRemote,
    /// The local version takes another name, and then each side gets the other's.
    keepBoth,
    /// Drops the path from the baseline.
    forget,
    /// Nothing, although both sides differ.
    leave
};
SyncAction usualAction(SyncBucket bucket);

/// What has become of a path.
enum class SyncResult { open, done, skipped, failed };

/// One path of a sync, for the preview and afterwards.
struct SyncRow
{
    SyncDiffEntry diff;
    SyncAction action = SyncAction::none;
    SyncResult result = SyncResult::open;
    /// Why it is left, was skipped or failed: a clause. Empty when there is nothing to say.
    QString reason;
    /// It cannot be treated, whatever the user says; `reason` tells why.
    bool isBlocked = false;

    bool isFolder() const;
    /// What the user may choose for it.
    QList<SyncAction> choices() const;
};

/// Something that looks like a mistake. Until it is confirmed, nothing is synced.
struct SyncQuestion
{
    enum class Kind { emptied, missingMarker, unreadable, manyDeletions };
    Kind kind;
    /// One or two sentences.
    QString text;
};

/// What a sync found on both sides and would do.
struct SyncPlan
{
    /// The baseline, with what an interrupted sync is known to have done since.
    std::optional<SyncManifest> manifest;
    /// The pair was never synced to the end.
    bool isFirst = true;
    SyncSnapshot local;
    SyncSnapshot remote;
    /// The server's tree as it is to be recorded.
    SyncEntries remoteAsSeen;
    QList<SyncRow> rows;
    /// On either side.
    QMap<QString, SyncLeftOut> leftOut;
    QList<SyncQuestion> questions;
    /// When both sides had been read.
    QDateTime readAt;
    /// Tells the document of the baseline from a later one.
    QString baselineStamp;

    /// Files and folders to be copied, deleted or kept twice.
    qsizetype changeCount() const;
    qsizetype count(SyncBucket bucket) const;
    /// Rows left by the classification, as no choice has been made for them.
    qsizetype openConflictCount() const;
};

/// How the two folders of a pair are called in sentences, and what is to be expected of them.
struct SyncPlanContext
{
    QString localRoot;
    QString remoteRoot;
    QString serverName;
    bool expectsLocalMarker = false;
    bool expectsRemoteMarker = false;
    QDateTime now;
};

/// Compares two snapshots and decides. Pure; any thread.
namespace SyncPlanner {

/// What the window and the command line say before a first sync.
extern const QString firstSyncNotice;

/// Throws when the folders of a pair that was synced before are not there.
SyncPlan make(SyncSnapshot local, SyncSnapshot remote, std::optional<SyncManifest> manifest, const SyncJournal &journal,
              const SyncPlanContext &context);

/// Files in conflict that may well be the same: of one size, and only dated differently.
QStringList sameSizeConflicts(const SyncPlan &plan);
/// These have turned out to hold the same.
void settleSame(SyncPlan &plan, const QSet<QString> &paths);
/// This row cannot be treated.
void block(SyncRow &row, const QString &reason);

} // namespace SyncPlanner

} // namespace moorix
