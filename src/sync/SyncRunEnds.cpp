// SPDX-License-Identifier: GPL-3.0-or-later
// How a sync deletes, and what it remembers.
#include "sync/SyncRun.h"

#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "transfers/TransferLink.h"
#include "transfers/TransferNames.h"

#include <algorithm>
#include <cerrno>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

bool isInside(const QString &relPath, const QString &folder)
{
    return relPath.size() > folder.size() && relPath.startsWith(folder) && relPath.at(folder.size()) == u'/';
}

} // namespace

/// Nothing is deleted because a listing did not show it: the side where it seems gone is asked for that very path.
void SyncRun::confirmRemovals()
{
    static constexpr std::size_t askedAtOnce = 6;
    const auto confirm = [this](SyncAction action, const SyncSide &other, const QString &where) {
        const QList<SyncRow *> rows = rowsFor(action);
        // What lies in a folder that is gone is gone with it.
        QList<SyncRow *> asked;
        for (SyncRow *row : rows) {
            if (asked.isEmpty() || !isInside(row->diff.relPath, asked.constLast()->diff.relPath))
                asked.append(row);
        }
        const std::size_t lanes = other.isLocal() ? 1 : std::min(askedAtOnce, std::size_t(asked.size()));
        std::atomic<qsizetype> next = 0;
        QList<QString> objections(asked.size());
        const auto work = [&] {
            for (qsizetype i = next++; i < asked.size(); i = next++) {
                try {
                    if (!isGone(other, asked.at(i)->diff.relPath))
                        objections[i] = u"it is still %1"_s.arg(where);
                } catch (const Cancelled &) {
                    throw;
                } catch (const Error &error) {
                    if (isConnectionLost(error))
                        throw;
                    objections[i] = u"whether it is gone %1 could not be found out: %2"_s.arg(where, error.message());
                }
            }
        };
        std::vector<std::future<void>> running;
        objections.detach();
        for (std::size_t lane = 1; lane < lanes; ++lane)
            running.push_back(std::async(std::launch::async, work));
        work();
        for (std::future<void> &lane : running)
            lane.get();
        for (qsizetype i = 0; i < asked.size(); ++i) {
            if (objections.at(i).isEmpty())
                continue;
            const QString &folder = asked.at(i)->diff.relPath;
            for (SyncRow *row : rows) {
                if (row == asked.at(i) || isInside(row->diff.relPath, folder))
                    skip(*row, objections.at(i));
            }
        }
    };
    confirm(SyncAction::removeLocal, m_setup.remote, u"on the server"_s);
    confirm(SyncAction::removeRemote, m_setup.local, u"on this computer"_s);
}

bool SyncRun::isGone(const SyncSide &side, const QString &relPath) const
{
    const QString path = side.path(relPath);
    if (auto *server = dynamic_cast<RemoteFileService *>(&side.service()))
        return !server->exists(path, m_stop);
    return !side.service().stat(path, m_stop);
}

/// Deepest first, so that folders are empty by the time they go.
void SyncRun::removeLocal()
{
    QList<SyncRow *> rows = rowsFor(SyncAction::removeLocal);
    std::reverse(rows.begin(), rows.end());
    for (SyncRow *row : rows) {
        const FileItem item = m_plan.local.items.value(row->diff.relPath);
        const QByteArray path = LocalDisk::native(item.path);
        try {
            const auto status = LocalDisk::statusOf(item.path);
            if (status && !isAsPlanned(LocalDisk::item(item.name, item.path, *status), item, m_setup.local)) {
                skip(*row, u"it has changed on this computer meanwhile"_s);
                continue;
            }
            if (status && !item.isDirectory) {
                m_versions.moveAway(row->diff.relPath);
                m_hasKeptVersions = true;
            } else if (status && ::rmdir(path.constData()) != 0) {
                LocalDisk::fail(item.path, u"stays"_s, errno);
            }
            row->result = SyncResult::done;
        } catch (const Error &error) {
            fail(*row, error.message());
        }
        if (m_stop.stop_requested())
            throw Cancelled();
    }
}

void SyncRun::removeRemote()
{
    QList<SyncRow *> rows = rowsFor(SyncAction::removeRemote);
    std::reverse(rows.begin(), rows.end());
    const auto *server = dynamic_cast<RemoteFileService *>(&m_setup.remote.service());
    if (!server || !server->takesMany()) {
        removeEach(rows);
        return;
    }
    QMap<QString, QList<SyncRow *>> byFolder;
    QList<SyncRow *> folders;
    for (SyncRow *row : rows) {
        if (row->isFolder())
            folders.append(row);
        else
            byFolder[Format::parent(m_setup.remote.path(row->diff.relPath))].append(row);
    }
    for (auto files = byFolder.cbegin(); files != byFolder.cend(); ++files)
        removeFilesOnServer(files.key(), *files);
    removeFoldersOnServer(folders);
}

/// Listed once more, as some time may have passed.
void SyncRun::removeFilesOnServer(const QString &folder, const QList<SyncRow *> &rows)
{
    QHash<QString, FileItem> there;
    const QList<FileItem> entries = m_setup.remote.service().list(folder, HiddenFiles::included, m_stop);
    for (const FileItem &entry : entries)
        there.insert(entry.path, entry);
    std::vector<RemoteStep> steps;
    QList<SyncRow *> stepped;
    for (SyncRow *row : rows) {
        const FileItem item = m_plan.remote.items.value(row->diff.relPath);
        const auto now = there.constFind(item.path);
        if (now == there.cend()) {
            row->result = SyncResult::done;
        } else if (!isAsPlanned(*now, item, m_setup.remote)) {
            skip(*row, u"it has changed on the server meanwhile"_s);
        } else {
            steps.push_back({RemoteStep::Kind::remove, item.path});
            stepped.append(row);
        }
    }
    takeSteps(std::move(steps), stepped);
}

void SyncRun::removeFoldersOnServer(const QList<SyncRow *> &rows)
{
    std::vector<RemoteStep> steps;
    for (const SyncRow *row : rows)
        steps.push_back({RemoteStep::Kind::removeFolder, m_setup.remote.path(row->diff.relPath)});
    takeSteps(std::move(steps), rows);
}

void SyncRun::takeSteps(std::vector<RemoteStep> steps, const QList<SyncRow *> &rows)
{
    if (steps.empty())
        return;
    dynamic_cast<RemoteFileService &>(m_setup.remote.service()).takeSteps(steps, m_stop);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        SyncRow &row = *rows.at(qsizetype(i));
        if (steps.at(i).state == RemoteStep::State::done)
            row.result = SyncResult::done;
        else
            fail(row, u"it could not be deleted: %1"_s.arg(steps.at(i).failure));
    }
}

/// For services that take no steps; a folder only when nothing is in it.
void SyncRun::removeEach(const QList<SyncRow *> &rows)
{
    FileService &service = m_setup.remote.service();
    for (SyncRow *row : rows) {
        const FileItem item = m_plan.remote.items.value(row->diff.relPath);
        try {
            const auto now = service.stat(item.path, m_stop);
            const bool isFull =
                now && item.isDirectory && !service.list(item.path, HiddenFiles::included, m_stop).isEmpty();
            if (now && !isAsPlanned(*now, item, m_setup.remote)) {
                skip(*row, u"it has changed on the server meanwhile"_s);
            } else if (isFull) {
                fail(*row, u"it could not be deleted: it is not empty"_s);
            } else {
                if (now)
                    service.remove(*now, m_stop);
                row->result = SyncResult::done;
            }
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            if (isConnectionLost(error))
                throw;
            fail(*row, error.message());
        }
    }
}

/// A server that takes none, or does not show it, is not expected to have one.
void SyncRun::leaveMarkers()
{
    const auto leave = [this](const SyncSide &side, const SyncSnapshot &snapshot, bool isExpected) {
        if (snapshot.hasMarker)
            return true;
        const QString folder = side.path(SyncSide::ownFolder);
        const auto isListed = [&](const QString &in, const QString &name) {
            const QList<FileItem> items = side.service().list(in, HiddenFiles::included, m_stop);
            return std::any_of(items.cbegin(), items.cend(),
                               [&name](const FileItem &item) { return item.name == name; });
        };
        try {
            if (!isListed(side.root(), SyncSide::ownFolder))
                side.service().createDirectory(folder, m_stop);
            side.service().write("This folder is kept alike with another one. Moorix knows it by this file.\n",
                                 Format::join(folder, m_setup.marker()), m_stop);
            return isListed(side.root(), SyncSide::ownFolder) && isListed(folder, m_setup.marker());
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            if (isConnectionLost(error))
                throw;
            return isExpected;
        }
    };
    m_outcome.hasLocalMarker = leave(m_setup.local, m_plan.local, m_setup.expectsLocalMarker);
    m_outcome.hasRemoteMarker = leave(m_setup.remote, m_plan.remote, m_setup.expectsRemoteMarker);
}

/// Only what was found or made alike is recorded anew. All else stays as it was known, to be judged by that again.
SyncManifest SyncRun::record() const
{
    const SyncManifest before = m_plan.manifest.value_or(SyncManifest());
    SyncManifest manifest{
        m_setup.key, m_setup.local.root(), m_setup.serverName, m_setup.remote.root(), m_setup.clock().toUTC(), {}, {}};
    const auto take = [](SyncEntries &to, const QString &path, const SyncEntries &from) {
        const auto entry = from.constFind(path);
        if (entry != from.cend())
            to.insert(to.cend(), path, *entry);
    };
    for (const SyncRow &row : m_plan.rows) {
        const QString &path = row.diff.relPath;
        const bool isDone = row.result == SyncResult::done;
        if (row.diff.bucket == SyncBucket::unchanged) {
            take(manifest.localEntries, path, m_plan.local.entries);
            take(manifest.remoteEntries, path, m_plan.remoteAsSeen);
        } else if (!isDone) {
            take(manifest.localEntries, path, before.localEntries);
            take(manifest.remoteEntries, path, before.remoteEntries);
        }
    }
    manifest.localEntries.insert(m_recordedLocal);
    manifest.remoteEntries.insert(m_recordedRemote);
    // What could not be read is surely still there.
    const auto keepUnread = [this](SyncEntries &to, const SyncEntries &from) {
        for (auto left = m_plan.leftOut.cbegin(); left != m_plan.leftOut.cend(); ++left) {
            if (left->why != SyncLeftOut::Why::unreadable)
                continue;
            for (auto entry = from.lowerBound(left.key()); entry != from.cend(); ++entry) {
                if (entry.key() != left.key() && !isInside(entry.key(), left.key()))
                    break;
                to.insert(entry.key(), *entry);
            }
        }
    };
    keepUnread(manifest.localEntries, before.localEntries);
    keepUnread(manifest.remoteEntries, before.remoteEntries);
    return manifest;
}

} // namespace moorix
