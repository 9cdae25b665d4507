// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncRun.h"

#include "base/Error.h"
#include "files/FileNames.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "transfers/LocalTransfer.h"
#include "transfers/TransferNames.h"

#include <QSysInfo>

#include <algorithm>
#include <sys/stat.h>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;
using Stage = SyncProgress::Stage;

namespace {

QString folderOf(const QString &relPath)
{
    const qsizetype slash = relPath.lastIndexOf(u'/');
    return slash < 0 ? QString() : relPath.left(slash);
}

SyncEntry entryOf(const FileItem &item)
{
    return {item.size, item.modified ? std::optional(item.modified->toUTC()) : std::nullopt, item.isDirectory};
}

/// "report (mybox 2026-03-01 14.05).txt".
QString keptName(const FileItem &item, const QDateTime &now, const std::function<bool(const QString &)> &isTaken)
{
    const qsizetype end = FileNames::extensionStart(item.name);
    QString host = QSysInfo::machineHostName();
    host.replace(u'/', u'-');
    const QString mark = u" (%1 %2)"_s.arg(host, now.toLocalTime().toString(u"yyyy-MM-dd HH.mm"_s));
    FileItem kept = item;
    kept.name = item.name.left(end) + mark + item.name.mid(end);
    return isTaken(kept.name) ? transferNames::freeName(kept, isTaken) : kept.name;
}

} // namespace

qsizetype SyncOutcome::count(SyncResult result) const
{
    return std::count_if(rows.cbegin(), rows.cend(), [result](const SyncRow &row) { return row.result == result; });
}

qsizetype SyncOutcome::openCount() const
{
    return std::count_if(rows.cbegin(), rows.cend(), [](const SyncRow &row) {
        return row.action != SyncAction::none && row.result != SyncResult::done;
    });
}

SyncRun::SyncRun(SyncSetup setup, SyncPlan plan)
    : m_setup(std::move(setup))
    , m_plan(std::move(plan))
    , m_versions(m_setup.local.root(), m_setup.clock())
{
    chooseKeptNames();
}

SyncJournal SyncRun::journal() const
{
    SyncJournal journal;
    for (const SyncRow &row : m_plan.rows) {
        const QString &path = row.diff.relPath;
        if (row.action == SyncAction::copyToRemote)
            journal.toRemote.insert(path, m_plan.local.entries.value(path));
        else if (row.action == SyncAction::copyToLocal || row.action == SyncAction::keepBoth)
            journal.toLocal.insert(path, m_plan.remoteAsSeen.value(path));
        if (row.action == SyncAction::keepBoth)
            journal.toRemote.insert(m_keptNames.value(path), m_plan.local.entries.value(path));
    }
    return journal;
}

SyncOutcome SyncRun::run(const std::stop_token &stop)
{
    m_stop = stop;
    try {
        runAll();
        report(Stage::recording);
        m_outcome.manifest = record();
    } catch (const Cancelled &) {
        m_outcome.wasCancelled = true;
    } catch (const Error &error) {
        m_outcome.failure = error.message();
    }
    m_outcome.rows = std::move(m_plan.rows);
    m_outcome.leftOut = std::move(m_plan.leftOut);
    return std::move(m_outcome);
}

void SyncRun::runAll()
{
    checkStillSo();
    if (!m_plan.remote.isThere)
        m_setup.remote.service().createDirectory(m_setup.remote.root(), m_stop);
    confirmRemovals();
    keepBoth();
    copy(Way::toRemote);
    copy(Way::toLocal);
    report(Stage::deleting);
    removeLocal();
    removeRemote();
    leaveMarkers();
    removeOwnParts();
    for (SyncRow &row : m_plan.rows) {
        if (row.action == SyncAction::forget || row.diff.bucket == SyncBucket::unchanged)
            row.result = SyncResult::done;
    }
    if (m_hasKeptVersions)
        m_outcome.notes.append(u"What was replaced or deleted on this computer is in “%1”."_s.arg(m_versions.folder()));
    try {
        SyncVersions::prune(m_setup.local.root(), m_setup.clock(), m_stop);
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        m_outcome.notes.append(u"Older versions stay: %1"_s.arg(error.message()));
    }
}

QList<SyncRow *> SyncRun::rowsFor(SyncAction action)
{
    QList<SyncRow *> rows;
    for (SyncRow &row : m_plan.rows) {
        if (row.action == action && row.result == SyncResult::open)
            rows.append(&row);
    }
    return rows;
}

void SyncRun::skip(SyncRow &row, const QString &reason)
{
    row.result = SyncResult::skipped;
    row.reason = reason;
}

void SyncRun::fail(SyncRow &row, const QString &reason)
{
    row.result = SyncResult::failed;
    row.reason = reason;
}

void SyncRun::report(Stage stage, const TransferCounts &counts) const
{
    if (m_setup.progress)
        m_setup.progress({stage, m_plan.local.entries.size(), m_plan.remote.entries.size(), counts});
}

/// The same for each run of this pair, so that the next one finds the parts that this one may leave behind.
QUuid SyncRun::transferId(Way way) const
{
    static const QUuid space(u"{6D3C5A0E-8B0B-4C53-9A7B-2F8E7C1D4A66}"_s);
    return QUuid::createUuidV5(space, m_setup.key + (way == Way::toLocal ? u" down"_s : u" up"_s));
}

/// On the local disk times are exact; a server may have told them in two ways.
bool SyncRun::isAsPlanned(const FileItem &now, const FileItem &planned, const SyncSide &side) const
{
    if (now.isDirectory != planned.isDirectory || now.isSymlink != planned.isSymlink)
        return false;
    if (now.isDirectory || !now.modified || !planned.modified)
        return now.isDirectory || now.size == planned.size;
    if (side.isLocal())
        return now.size == planned.size && *now.modified == *planned.modified;
    ListedTimes listed = m_plan.remote.times;
    listed.precision = ListedTimes::Precision::minutesOrDays;
    const QDateTime today = m_setup.clock();
    return now.size == planned.size && (SyncAlignment::agrees(*now.modified, *planned.modified, listed, today) ||
                                        SyncAlignment::agrees(*planned.modified, *now.modified, listed, today));
}

/// A preview may have been looked at for an hour.
void SyncRun::checkStillSo()
{
    constexpr qint64 freshSeconds = 5;
    if (m_plan.changeCount() == 0 || m_plan.readAt.secsTo(m_setup.clock()) < freshSeconds)
        return;
    report(Stage::reading);
    const SyncSnapshot local = m_setup.local.read(m_setup.ignore, m_setup.marker(), {}, m_stop);
    const SyncSnapshot remote = m_setup.remote.read(m_setup.ignore, m_setup.marker(), {}, m_stop);
    if (!local.isThere || (!remote.isThere && m_plan.remote.isThere))
        throw Error(u"Sync"_s, u"One of the folders is not there any more. Nothing was synced."_s);
    const auto isSame = [this](const SyncSnapshot &now, const SyncSnapshot &planned, const SyncSide &side,
                               const QString &path) {
        const auto item = now.items.constFind(path);
        const auto before = planned.items.constFind(path);
        if (item == now.items.cend() || before == planned.items.cend())
            return item == now.items.cend() && before == planned.items.cend();
        return isAsPlanned(*item, *before, side);
    };
    for (SyncRow &row : m_plan.rows) {
        const QString &path = row.diff.relPath;
        if (row.action == SyncAction::none || row.action == SyncAction::leave)
            continue;
        if (!isSame(local, m_plan.local, m_setup.local, path) || !isSame(remote, m_plan.remote, m_setup.remote, path))
            skip(row, u"it has changed since the preview"_s);
    }
}

/// Beforehand, so that they can be written down.
void SyncRun::chooseKeptNames()
{
    for (const SyncRow &row : m_plan.rows) {
        if (row.action != SyncAction::keepBoth)
            continue;
        const QString folder = folderOf(row.diff.relPath);
        const auto pathOf = [&folder](const QString &name) { return folder.isEmpty() ? name : folder + u'/' + name; };
        const QString name =
            keptName(m_plan.local.items.value(row.diff.relPath), m_setup.clock(), [&](const QString &candidate) {
                return m_plan.local.entries.contains(pathOf(candidate)) ||
                       m_plan.remote.entries.contains(pathOf(candidate));
            });
        m_keptNames.insert(row.diff.relPath, pathOf(name));
    }
}

void SyncRun::keepBoth()
{
    const QMap<QString, QString> chosen = std::exchange(m_keptNames, {});
    for (SyncRow *row : rowsFor(SyncAction::keepBoth)) {
        const QString &path = row->diff.relPath;
        const QString kept = chosen.value(path);
        const FileItem item = m_plan.local.items.value(path);
        const auto status = LocalDisk::statusOf(item.path);
        if (!status || !isAsPlanned(LocalDisk::item(item.name, item.path, *status), item, m_setup.local)) {
            skip(*row, u"it has changed on this computer meanwhile"_s);
            continue;
        }
        const int problem = LocalDisk::renameWithoutReplacing(LocalDisk::native(item.path),
                                                              LocalDisk::native(m_setup.local.path(kept)));
        if (problem != 0)
            fail(*row, u"its local version could not take another name: %1"_s.arg(systemErrorText(problem)));
        else
            m_keptNames.insert(path, kept);
    }
}

void SyncRun::copy(Way way)
{
    const bool isUp = way == Way::toRemote;
    const SyncSide &from = isUp ? m_setup.local : m_setup.remote;
    const SyncSide &to = isUp ? m_setup.remote : m_setup.local;
    const SyncSnapshot &source = isUp ? m_plan.local : m_plan.remote;
    SyncCopies copies(from, to, transferId(way));
    for (const SyncRow *row : rowsFor(isUp ? SyncAction::copyToRemote : SyncAction::copyToLocal))
        copies.add(row->diff.relPath, source.items.value(row->diff.relPath), source);
    for (auto kept = m_keptNames.cbegin(); kept != m_keptNames.cend(); ++kept) {
        const QString &path = isUp ? *kept : kept.key();
        copies.add(path, transferNames::itemAt(from.path(path), source.items.value(kept.key())), source);
    }
    if (copies.isEmpty())
        return;
    const Stage stage = isUp ? Stage::copyingToServer : Stage::copyingFromServer;
    report(stage);
    TransferRun::Callbacks callbacks;
    callbacks.progress = [this, stage](const TransferCounts &counts) { report(stage, counts); };
    callbacks.gate = m_setup.gate;
    callbacks.control = m_setup.control;
    callbacks.reconnectDelays = m_setup.reconnectDelays;
    const SyncCopies::Outcome outcome = copies.run(
        std::move(callbacks),
        [this, way](const QString &path, const FileItem &existing) { return mayReplace(way, path, existing); }, m_stop);
    m_outcome.notes.append(outcome.transfer.notes);
    m_outcome.bytesCopied += outcome.transfer.counts.bytesDone - outcome.transfer.counts.bytesFound;
    if (outcome.transfer.wasCancelled)
        throw Cancelled();
    verifyCopies(way, outcome);
}

std::optional<QString> SyncRun::mayReplace(Way way, const QString &relPath, const FileItem &existing)
{
    const bool isUp = way == Way::toRemote;
    const SyncSnapshot &target = isUp ? m_plan.remote : m_plan.local;
    const SyncSide &side = isUp ? m_setup.remote : m_setup.local;
    const QString where = isUp ? u"on the server"_s : u"on this computer"_s;
    const auto planned = target.items.constFind(relPath);
    if (planned == target.items.cend())
        return u"something of this name has appeared %1 meanwhile"_s.arg(where);
    if (!isAsPlanned(existing, *planned, side))
        return u"it has changed %1 meanwhile"_s.arg(where);
    if (isUp)
        return std::nullopt;
    try {
        m_versions.keep(relPath, m_stop);
        m_hasKeptVersions = true;
        return std::nullopt;
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        return u"the version that is there could not be kept: %1"_s.arg(error.message());
    }
}

void SyncRun::verifyCopies(Way way, const SyncCopies::Outcome &outcome)
{
    const bool isUp = way == Way::toRemote;
    QList<SyncRow *> rows = rowsFor(isUp ? SyncAction::copyToRemote : SyncAction::copyToLocal);
    for (SyncRow *row : rowsFor(SyncAction::keepBoth)) {
        if (m_keptNames.contains(row->diff.relPath))
            rows.append(row);
    }
    QStringList targets;
    for (const SyncRow *row : rows) {
        const QString &path = row->diff.relPath;
        targets.append(isUp ? m_keptNames.value(path, path) : path);
    }
    const QHash<QString, FileItem> arrived = present(isUp ? m_setup.remote : m_setup.local, targets);
    for (SyncRow *row : rows)
        settleCopy(way, *row, outcome, arrived);
}

void SyncRun::settleCopy(Way way, SyncRow &row, const SyncCopies::Outcome &outcome,
                         const QHash<QString, FileItem> &arrived)
{
    const bool isUp = way == Way::toRemote;
    const QString &path = row.diff.relPath;
    const QString target = isUp ? m_keptNames.value(path, path) : path;
    const SyncEntry original = isUp ? m_plan.local.entries.value(path) : m_plan.remoteAsSeen.value(path);
    const auto copy = arrived.constFind(target);
    const auto refused = outcome.refused.constFind(target);
    const bool isThere = copy != arrived.cend() && copy->isDirectory == original.isDirectory &&
                         (original.isDirectory || copy->size == original.size);
    if (refused != outcome.refused.cend()) {
        skip(row, *refused);
    } else if (outcome.failures.contains(target) || !isThere) {
        const QString reason = outcome.reasonFor(target);
        fail(row, reason.isEmpty() ? u"it is not on the other side after it was copied"_s : reason);
        if (!isUp)
            m_versions.dropUnchanged(path);
    } else {
        // What is kept on both sides has arrived only with the second copy.
        if (row.action != SyncAction::keepBoth || !isUp)
            row.result = SyncResult::done;
        recordCopy(way, target, original, *copy);
    }
}

void SyncRun::recordCopy(Way way, const QString &relPath, const SyncEntry &original, const FileItem &copy)
{
    SyncEntry arrived = entryOf(copy);
    SyncEntry source = original;
    if (!arrived.isDirectory && arrived.modified && source.modified) {
        constexpr qint64 quarterSeconds = 15 * 60;
        ListedTimes listed = m_plan.remote.times;
        listed.precision = ListedTimes::Precision::minutesOrDays;
        const QDateTime now = m_setup.clock();
        const qint64 difference = std::abs(source.modified->secsTo(*arrived.modified));
        const qint64 beyondZone = std::min(difference % quarterSeconds, quarterSeconds - difference % quarterSeconds);
        if (way == Way::toRemote && SyncAlignment::agrees(*arrived.modified, *source.modified, listed, now))
            arrived.modified = source.modified;
        // The server's file has changed since it was listed: what has come is the newer one.
        else if (way == Way::toLocal && !SyncAlignment::agrees(*source.modified, *arrived.modified, listed, now) &&
                 beyondZone > qint64(syncToleranceSeconds))
            source.modified = arrived.modified;
    }
    (way == Way::toRemote ? m_recordedLocal : m_recordedRemote).insert(relPath, source);
    (way == Way::toRemote ? m_recordedRemote : m_recordedLocal).insert(relPath, arrived);
}

/// What stands at these paths now.
QHash<QString, FileItem> SyncRun::present(const SyncSide &side, const QStringList &relPaths)
{
    constexpr qsizetype mostListings = 12;
    QHash<QString, FileItem> items;
    if (side.isLocal()) {
        for (const QString &relPath : relPaths) {
            const QString path = side.path(relPath);
            if (const auto status = LocalDisk::statusOf(path))
                items.insert(relPath, LocalDisk::item(Format::fileName(path), path, *status));
        }
        return items;
    }
    QSet<QString> folders;
    for (const QString &relPath : relPaths)
        folders.insert(folderOf(relPath));
    if (folders.size() > mostListings)
        return side.read(m_setup.ignore, m_setup.marker(), {}, m_stop).items;
    for (const QString &folder : folders) {
        try {
            const QList<FileItem> entries = side.service().list(side.path(folder), HiddenFiles::included, m_stop);
            for (const FileItem &entry : entries)
                items.insert(side.relPath(entry.path), entry);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            if (isConnectionLost(error))
                throw;
        }
    }
    return items;
}

void SyncRun::removeOwnParts()
{
    const auto remove = [this](const SyncSide &side, const SyncSnapshot &snapshot, Way way) {
        QStringList own = snapshot.markerParts;
        for (const QString &path : snapshot.parts) {
            if (transferNames::isPart(Format::fileName(path), transferId(way)))
                own << path;
        }
        for (const QString &path : std::as_const(own)) {
            try {
                if (const auto part = side.service().stat(path, m_stop))
                    side.service().remove(*part, m_stop);
            } catch (const Cancelled &) {
                throw;
            } catch (const Error &error) {
                m_outcome.notes.append(u"The unfinished copy “%1” stays: %2"_s.arg(path, error.message()));
            }
        }
    };
    remove(m_setup.local, m_plan.local, Way::toLocal);
    remove(m_setup.remote, m_plan.remote, Way::toRemote);
}

} // namespace moorix
