// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncPlan.h"

#include "base/Error.h"
#include "files/Format.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

const QString SyncPlanner::firstSyncNotice =
    u"First sync for this folder pair — files are being merged, nothing will be deleted."_s;

namespace {

QString counted(qsizetype count)
{
    return count == 1 ? u"1 file or folder"_s : u"%1 files and folders"_s.arg(count);
}

/// A listing runs blanks together, or shows none at an end.
void leaveOutFragileNames(SyncSnapshot &snapshot)
{
    for (auto entry = snapshot.entries.cbegin(); entry != snapshot.entries.cend(); ++entry) {
        const QString name = entry.key().section(u'/', -1);
        if (name.startsWith(u' ') || name.endsWith(u' ') || name.contains(u"  "_s)) {
            snapshot.leftOut.insert(
                entry.key(),
                {SyncLeftOut::Why::name, u"the server’s listings do not show the blanks in its name exactly"_s});
        }
    }
}

/// What is left out leaves the baseline, too, so that it is never missed later; only what could not be read stays
/// known, as it is surely still there.
void withoutBaseline(SyncManifest &manifest, const QMap<QString, SyncLeftOut> &leftOut)
{
    withoutLeftOut(manifest.localEntries, leftOut);
    withoutLeftOut(manifest.remoteEntries, leftOut);
}

void requireRoots(const SyncPlan &plan, const SyncPlanContext &context)
{
    if (!plan.local.isThere) {
        throw Error(u"Sync"_s,
                    u"The folder “%1” is not there. Nothing was synced."_s.arg(Format::display(context.localRoot)));
    }
    // A first sync makes it.
    if (!plan.remote.isThere && plan.manifest) {
        throw Error(u"Sync"_s, u"The folder “%1” is not on %2 any more. Nothing was synced."_s.arg(
                                   Format::display(context.remoteRoot), context.serverName));
    }
}

void askForEmptied(SyncPlan &plan, const SyncPlanContext &context)
{
    const auto ask = [&plan](const QString &what, const SyncEntries &now, const SyncEntries &before,
                             const QString &other) {
        if (!now.isEmpty() || before.isEmpty())
            return;
        plan.questions.append({SyncQuestion::Kind::emptied,
                               u"%1 is empty, but held %2 after the last sync. Going on deletes them %3."_s.arg(
                                   what, counted(before.size()), other)});
    };
    ask(u"“%1”"_s.arg(Format::display(context.localRoot)), plan.local.entries, plan.manifest->localEntries,
        u"on %1"_s.arg(context.serverName));
    ask(u"“%1” on %2"_s.arg(Format::display(context.remoteRoot), context.serverName), plan.remote.entries,
        plan.manifest->remoteEntries, u"on this computer"_s);
}

void askForMarkers(SyncPlan &plan, const SyncPlanContext &context)
{
    const auto ask = [&plan](const QString &what) {
        plan.questions.append(
            {SyncQuestion::Kind::missingMarker,
             u"%1 does not hold the mark that the last sync left in “%2”. It may be another disk or folder than the one that was synced."_s
                 .arg(what, SyncSide::ownFolder)});
    };
    if (context.expectsLocalMarker && !plan.local.hasMarker)
        ask(u"“%1”"_s.arg(Format::display(context.localRoot)));
    if (context.expectsRemoteMarker && !plan.remote.hasMarker)
        ask(u"“%1” on %2"_s.arg(Format::display(context.remoteRoot), context.serverName));
}

void askForUnreadable(SyncPlan &plan)
{
    QStringList folders;
    QString reason;
    for (auto left = plan.leftOut.cbegin(); left != plan.leftOut.cend(); ++left) {
        if (left->why != SyncLeftOut::Why::unreadable)
            continue;
        if (folders.isEmpty())
            reason = left->reason;
        folders.append(left.key());
    }
    if (folders.isEmpty())
        return;
    const QString what = folders.size() == 1
                             ? u"The folder “%1” could not be read"_s.arg(Format::display(folders.constFirst()))
                             : u"%1 folders, among them “%2”, could not be read"_s.arg(
                                   QString::number(folders.size()), Format::display(folders.constFirst()));
    plan.questions.append(
        {SyncQuestion::Kind::unreadable, u"%1: %2 Going on leaves out what is in there."_s.arg(what, reason)});
}

qsizetype fileCount(const SyncEntries &entries)
{
    return std::count_if(entries.cbegin(), entries.cend(), [](const SyncEntry &entry) { return !entry.isDirectory; });
}

void askForDeletions(SyncPlan &plan, const SyncPlanContext &context)
{
    const auto ask = [&plan](SyncBucket bucket, const SyncEntries &entries, const QString &where) {
        const auto isDeletion = [bucket](const SyncRow &row) { return row.diff.bucket == bucket && !row.isFolder(); };
        const qsizetype deletions = std::count_if(plan.rows.cbegin(), plan.rows.cend(), isDeletion);
        const qsizetype files = fileCount(entries);
        if (deletions * 2 <= files)
            return;
        plan.questions.append(
            {SyncQuestion::Kind::manyDeletions,
             u"%1 of %2 files %3 would be deleted, as they are gone on the other side."_s.arg(deletions).arg(files).arg(
                 where)});
    };
    ask(SyncBucket::deleteLocal, plan.local.entries, u"on this computer"_s);
    ask(SyncBucket::deleteRemote, plan.remote.entries, u"on %1"_s.arg(context.serverName));
}

/// A file here and a folder there: nothing that lies in the folder has a place on the other side.
void blockClashes(QList<SyncRow> &rows)
{
    QStringList clashes;
    for (SyncRow &row : rows) {
        const auto holds = [&row](const QString &clash) { return row.diff.relPath.startsWith(clash); };
        if (std::any_of(clashes.cbegin(), clashes.cend(), holds)) {
            SyncPlanner::block(row, u"its folder is a file on the other side"_s);
            continue;
        }
        const auto &[path, bucket, local, remote] = row.diff;
        if (local && remote && local->isDirectory != remote->isDirectory) {
            SyncPlanner::block(row, local->isDirectory
                                        ? u"it is a folder on this computer, but a file on the server"_s
                                        : u"it is a file on this computer, but a folder on the server"_s);
            clashes.append(path + u'/');
        }
    }
}

/// Two new names that many file systems take for one.
void blockCaseClashes(QList<SyncRow> &rows)
{
    QHash<QString, SyncRow *> onlyLocal;
    for (SyncRow &row : rows) {
        if (row.diff.bucket == SyncBucket::createOnRemote)
            onlyLocal.insert(row.diff.relPath.toCaseFolded(), &row);
    }
    for (SyncRow &row : rows) {
        if (row.diff.bucket != SyncBucket::createOnLocal)
            continue;
        SyncRow *other = onlyLocal.value(row.diff.relPath.toCaseFolded());
        if (!other)
            continue;
        const QString reason = u"it differs only in upper and lower case from “%1” on the other side"_s;
        const QString itsName = Format::display(row.diff.relPath);
        SyncPlanner::block(row, reason.arg(Format::display(other->diff.relPath)));
        SyncPlanner::block(*other, reason.arg(itsName));
    }
}

/// A folder that holds what is left out cannot go.
void blockFullFolders(SyncPlan &plan)
{
    const auto holdsLeftOut = [](const QMap<QString, SyncLeftOut> &leftOut, const QString &folder) {
        const auto first = leftOut.lowerBound(folder + u'/');
        return first != leftOut.cend() && first.key().startsWith(folder + u'/');
    };
    for (SyncRow &row : plan.rows) {
        const bool isLocal = row.diff.bucket == SyncBucket::deleteLocal;
        if (!row.isFolder() || (!isLocal && row.diff.bucket != SyncBucket::deleteRemote))
            continue;
        if (holdsLeftOut(isLocal ? plan.local.leftOut : plan.remote.leftOut, row.diff.relPath))
            SyncPlanner::block(row, u"it stays because it holds what is left out"_s);
    }
}

} // namespace

SyncAction usualAction(SyncBucket bucket)
{
    switch (bucket) {
    case SyncBucket::unchanged:
        return SyncAction::none;
    case SyncBucket::createOnLocal:
    case SyncBucket::updateLocal:
    case SyncBucket::restoreOnLocal:
        return SyncAction::copyToLocal;
    case SyncBucket::createOnRemote:
    case SyncBucket::updateRemote:
    case SyncBucket::restoreOnRemote:
        return SyncAction::copyToRemote;
    case SyncBucket::conflict:
        return SyncAction::leave;
    case SyncBucket::deleteLocal:
        return SyncAction::removeLocal;
    case SyncBucket::deleteRemote:
        return SyncAction::removeRemote;
    case SyncBucket::bothMissing:
        break;
    }
    return SyncAction::forget;
}

bool SyncRow::isFolder() const
{
    return (diff.local && diff.local->isDirectory) || (diff.remote && diff.remote->isDirectory);
}

QList<SyncAction> SyncRow::choices() const
{
    if (isBlocked || diff.bucket == SyncBucket::unchanged || diff.bucket == SyncBucket::bothMissing)
        return {action};
    if (diff.local && diff.remote)
        return {SyncAction::copyToRemote, SyncAction::copyToLocal, SyncAction::keepBoth, SyncAction::leave};
    if (diff.local)
        return {SyncAction::copyToRemote, SyncAction::removeLocal, SyncAction::leave};
    return {SyncAction::copyToLocal, SyncAction::removeRemote, SyncAction::leave};
}

qsizetype SyncPlan::changeCount() const
{
    return std::count_if(rows.cbegin(), rows.cend(), [](const SyncRow &row) {
        return row.action != SyncAction::none && row.action != SyncAction::forget && row.action != SyncAction::leave;
    });
}

qsizetype SyncPlan::count(SyncBucket bucket) const
{
    return std::count_if(rows.cbegin(), rows.cend(),
                         [bucket](const SyncRow &row) { return row.diff.bucket == bucket; });
}

qsizetype SyncPlan::openConflictCount() const
{
    return std::count_if(rows.cbegin(), rows.cend(), [](const SyncRow &row) {
        return row.diff.bucket == SyncBucket::conflict && row.action == SyncAction::leave;
    });
}

void SyncPlanner::block(SyncRow &row, const QString &reason)
{
    row.action = SyncAction::leave;
    row.reason = reason;
    row.isBlocked = true;
}

SyncPlan SyncPlanner::make(SyncSnapshot local, SyncSnapshot remote, std::optional<SyncManifest> manifest,
                           const SyncJournal &journal, const SyncPlanContext &context)
{
    SyncPlan plan;
    plan.manifest = std::move(manifest);
    plan.local = std::move(local);
    plan.remote = std::move(remote);
    plan.readAt = context.now;
    plan.isFirst = !plan.manifest;
    requireRoots(plan, context);
    if (!plan.isFirst)
        askForEmptied(plan, context);
    if (!SyncAlignment::isExact(plan.remote.times)) {
        leaveOutFragileNames(plan.local);
        leaveOutFragileNames(plan.remote);
    }
    plan.leftOut = plan.local.leftOut;
    plan.leftOut.insert(plan.remote.leftOut);
    withoutLeftOut(plan.local.entries, plan.leftOut);
    withoutLeftOut(plan.remote.entries, plan.leftOut);
    journal.mergeInto(plan.manifest, plan.local.entries, plan.remote.entries);
    // What is left out is not compared with what it was, either.
    std::optional<SyncManifest> compared = plan.manifest;
    if (compared)
        withoutBaseline(*compared, plan.leftOut);
    SyncAlignment alignment = SyncAlignment::of(plan.remote.entries, plan.local.entries,
                                                compared ? &*compared : nullptr, plan.remote.times, context.now);
    plan.remoteAsSeen = std::move(alignment.asSeen);
    const QList<SyncDiffEntry> verdicts =
        SyncClassifier::classify(plan.local.entries, alignment.forComparison, compared);
    plan.rows.reserve(verdicts.size());
    for (const SyncDiffEntry &verdict : verdicts)
        plan.rows.append({.diff = verdict, .action = usualAction(verdict.bucket), .reason = {}});
    blockClashes(plan.rows);
    blockCaseClashes(plan.rows);
    blockFullFolders(plan);
    askForUnreadable(plan);
    if (plan.isFirst)
        return plan;
    askForMarkers(plan, context);
    askForDeletions(plan, context);
    return plan;
}

QStringList SyncPlanner::sameSizeConflicts(const SyncPlan &plan)
{
    QStringList paths;
    for (const SyncRow &row : plan.rows) {
        if (row.diff.bucket == SyncBucket::conflict && !row.isBlocked && row.diff.local && row.diff.remote &&
            row.diff.local->size == row.diff.remote->size)
            paths.append(row.diff.relPath);
    }
    return paths;
}

void SyncPlanner::settleSame(SyncPlan &plan, const QSet<QString> &paths)
{
    for (SyncRow &row : plan.rows) {
        if (row.diff.bucket != SyncBucket::conflict || !paths.contains(row.diff.relPath))
            continue;
        row.diff.bucket = SyncBucket::unchanged;
        row.action = SyncAction::none;
    }
}

} // namespace moorix
