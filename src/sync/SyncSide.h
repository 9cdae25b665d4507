// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "sync/SyncAlignment.h"
#include "sync/SyncEntry.h"
#include "sync/SyncIgnore.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <memory>
#include <stop_token>

namespace moorix {

class FileService;

/// Something on a side that the sync leaves out, on both sides.
struct SyncLeftOut
{
    enum class Why {
        ignored,
        link,
        /// Its name does not survive a listing, or cannot stand on the other side.
        name,
        /// What lies in it could not be read.
        unreadable
    };
    Why why = Why::ignored;
    /// For the user: a clause such as "it is a symbolic link".
    QString reason;
};

/// One side as it stood when it was read.
struct SyncSnapshot
{
    SyncEntries entries;
    /// The entries as the service gave them.
    QHash<QString, FileItem> items;
    QMap<QString, SyncLeftOut> leftOut;
    /// Part files of copies, by their absolute paths.
    QStringList parts;
    /// Those of a marker that was never finished, likewise.
    QStringList markerParts;
    ListedTimes times;
    /// The folder of the pair is there; without it, all the rest is empty.
    bool isThere = true;
    /// The file that marks the folder as one of the pair is there.
    bool hasMarker = false;
};

/// One of the two folders of a pair. Blocking; worker threads.
class SyncSide final
{
public:
    SyncSide(std::shared_ptr<FileService> service, QString root);

    FileService &service() const { return *m_service; }
    const std::shared_ptr<FileService> &shared() const { return m_service; }
    const QString &root() const { return m_root; }
    bool isLocal() const;
    QString path(const QString &relPath) const;
    /// The path below the root of an absolute path of this side.
    QString relPath(const QString &path) const;

    /// Reads the whole tree, or throws; `marker` is the name of the pair's marker. Folders within the tree that may not
    /// be read are left out.
    SyncSnapshot read(const SyncIgnore &ignore, const QString &marker,
                      const std::function<void(qint64 entries)> &progress, const std::stop_token &stop) const;

    /// The pair's own folder on each side, which is never synced: its marker is there, and locally what was replaced.
    static const QString ownFolder;

private:
    bool visit(const QString &relPath, const FileItem &item, const SyncIgnore &ignore, SyncSnapshot &snapshot) const;

    std::shared_ptr<FileService> m_service;
    QString m_root;
};

/// Takes what one side leaves out, and what lies in it, from a tree.
void withoutLeftOut(SyncEntries &entries, const QMap<QString, SyncLeftOut> &leftOut);

} // namespace moorix
