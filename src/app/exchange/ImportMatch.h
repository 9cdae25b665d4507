// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ExchangeContent.h"
#include "app/exchange/ImportRow.h"

#include <QHash>

#include <optional>

namespace moorix {

/// Which records of a file are here already, by their ids or by what they are, and what the file's records become when
/// they are merged into what is here. Any thread; refers to both documents, which outlive it.
class ImportMatch final
{
public:
    ImportMatch(const ExchangeDocuments &file, const ExchangeDocuments &here);

    /// The record here that is this one of the file but for its id; nothing when the id itself is known here.
    std::optional<QUuid> known(const ServerFolder &folder) const;
    std::optional<QUuid> known(const ServerConnection &server) const;
    std::optional<QUuid> known(const BackupJob &job) const;
    std::optional<QUuid> known(const SyncPair &pair) const;

    /// The record of the same id here.
    const ServerFolder *same(const ServerFolder &folder) const { return m_folders.value(folder.id); }
    const ServerConnection *same(const ServerConnection &server) const { return m_servers.value(server.id); }
    const BackupJob *same(const BackupJob &job) const { return m_backups.value(job.id); }
    const SyncPair *same(const SyncPair &pair) const { return m_pairs.value(pair.id); }

    /// The file's record as it fits in here: in the folders and with the servers of this library, in the place of the
    /// record it replaces, with what this machine alone knows, above all whether a backup is switched on. One that is
    /// not here comes switched off, since the machine that it is from may go on running it, and both would remove the
    /// other's archives.
    ServerFolder adapted(ServerFolder folder) const;
    ServerConnection adapted(ServerConnection server) const;
    BackupJob adapted(BackupJob job) const;
    SyncPair adapted(SyncPair pair) const;
    /// The file's record where the file replaces all: as it stands there, with what this machine alone knows.
    ServerFolder replacing(ServerFolder folder) const { return folder; }
    ServerConnection replacing(ServerConnection server) const;
    BackupJob replacing(BackupJob job) const;
    SyncPair replacing(SyncPair pair) const { return pair; }
    /// A server of the file that is taken although it is known stands for itself.
    void takeAnyway(const QUuid &server) { m_knownServers.remove(server); }

private:
    void matchFolders(const ExchangeDocuments &file);
    std::optional<QUuid> folderHere(const std::optional<QUuid> &folder) const;
    QUuid serverHere(const QUuid &server) const { return m_knownServers.value(server, server); }

    const ExchangeDocuments &m_here;
    QHash<QUuid, const ServerFolder *> m_folders;
    QHash<QUuid, const ServerConnection *> m_servers;
    QHash<QUuid, const BackupJob *> m_backups;
    QHash<QUuid, const SyncPair *> m_pairs;
    /// From ids of the file to those of the same records here.
    QHash<QUuid, QUuid> m_knownFolders;
    QHash<QUuid, QUuid> m_knownServers;
};

} // namespace moorix
