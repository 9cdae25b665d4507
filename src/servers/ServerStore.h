// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/MirroredLibrary.h"
#include "servers/ServerLibrary.h"

#include <QObject>
#include <QSet>

#include <functional>
#include <utility>

namespace moorix {

/// Owns the one library of the running program: loads it at start, saves it whole after every change, takes over what
/// other programs of this user save, and mirrors it through the cloud key-value store. Main thread.
class ServerStore final : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        /// The library file.
        QString path;
        /// When false nothing is read from or written to the cloud store.
        bool iCloudSyncEnabled = false;
        /// Never writes the file: for throw-away stores.
        bool inMemoryOnly = false;
        Clock clock = systemNow;
    };

    /// `kv` is given for the life of the store. Loads the library (a first start gets the sample, saved at once; a
    /// damaged file is set aside and the store starts empty) and merges with the cloud copy.
    ServerStore(Options options, KeyValueStore &kv, QObject *parent = nullptr);

    const ServerLibrary &library() const { return m_file.library(); }
    /// Why the file could not be loaded or written the last time, for the user; empty when all is well. The library in
    /// memory stays as changed when it cannot be written.
    const QString &problem() const { return m_file.problem(); }
    /// Turned on, and when the cloud store gets another folder, it merges with the cloud copy, and sends the library
    /// there where it is the newer one.
    void setCloudSyncEnabled(bool enabled) { m_file.setCloudOn(enabled); }

    std::optional<ServerConnection> server(const QUuid &id) const;
    std::optional<ServerFolder> folder(const QUuid &id) const;
    /// Replaces the record of the same id, or appends it after all other servers. A record whose folder does not exist
    /// (any more) goes to the top level; the same holds for folders.
    void upsert(ServerConnection server);
    /// Its secrets are the caller's to remove.
    void remove(const QUuid &id);
    void toggleFavorite(const QUuid &id);
    QList<ServerConnection> favorites() const;
    /// In sibling order; absent = top level.
    QList<ServerConnection> servers(const std::optional<QUuid> &folderID) const;
    QList<ServerFolder> folders(const std::optional<QUuid> &parentID) const;
    bool isDescendant(const QUuid &folder, const QUuid &ancestor) const;
    /// The folder and all folders under it.
    QSet<QUuid> subtreeFolderIDs(const QUuid &id) const;
    qsizetype serverCount(const QUuid &subtreeOf) const;
    /// Depth first, with the depth of each; top level is 0.
    QList<std::pair<ServerFolder, int>> flattenedFolders() const;
    /// Puts these in place of all folders and servers. Returns whether that is a change.
    bool replaceAll(const QList<ServerFolder> &folders, const QList<ServerConnection> &servers);
    /// Takes over at once what another program has saved.
    void refresh() { m_file.refresh(); }
    /// Adds or replaces a folder by id. One that would lie inside itself keeps its parent.
    void updateFolder(const ServerFolder &folder);
    /// Servers and subfolders inside move up one level.
    void deleteFolder(const QUuid &id);
    /// Refused, without a change, when the target is the folder itself or lies inside it.
    void moveFolder(const QUuid &id, const std::optional<QUuid> &toParent);
    enum class Direction { up, down };
    /// Swaps with the neighbouring sibling; no change at either end.
    void moveFolder(const QUuid &id, Direction direction);
    void placeFolder(const QUuid &id, const std::optional<QUuid> &inParent, qsizetype at);
    /// Both do nothing when the folder does not exist.
    void moveServer(const QUuid &id, const std::optional<QUuid> &toFolder);
    void placeServer(const QUuid &id, const std::optional<QUuid> &inFolder, qsizetype at);

signals:
    void libraryChanged();
    void problemChanged();

private:
    /// `edit` returns whether it changed anything. It works on the library as it stands in the file.
    void change(const std::function<bool(ServerLibrary &)> &edit) { m_file.change(edit); }

    MirroredLibrary<ServerLibrary> m_file;
};

} // namespace moorix
