// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/ImportMatch.h"

#include "app/exchange/ExchangeFile.h"

#include <algorithm>
#include <tuple>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

template <class Record>
QHash<QUuid, const Record *> byID(const QList<Record> &records)
{
    QHash<QUuid, const Record *> found;
    found.reserve(records.size());
    for (const Record &record : records)
        found.insert(record.id, &record);
    return found;
}

/// What makes two records the same server.
QString endpoint(const ServerConnection &server)
{
    return u"%1\n%2\n%3\n%4"_s.arg(rawText(server.networkProtocol), server.host.toLower(), QString::number(server.port),
                                   server.username);
}

QString placeOf(const std::optional<QUuid> &parent, const QString &name)
{
    return parent.value_or(QUuid()).toString() + name;
}

} // namespace

ImportMatch::ImportMatch(const ExchangeDocuments &file, const ExchangeDocuments &here)
    : m_here(here)
    , m_folders(byID(here.library.folders))
    , m_servers(byID(here.library.servers))
    , m_backups(byID(here.backups))
    , m_pairs(byID(here.syncPairs))
{
    matchFolders(file);
    QHash<QString, QUuid> endpoints;
    for (const ServerConnection &server : here.library.servers) {
        if (!endpoints.contains(endpoint(server)))
            endpoints.insert(endpoint(server), server.id);
    }
    for (const ServerConnection &server : file.library.servers) {
        const auto found = endpoints.constFind(endpoint(server));
        if (found != endpoints.cend() && !m_servers.contains(server.id))
            m_knownServers.insert(server.id, *found);
    }
}

/// Level by level, as what is in a folder that is known may be known too.
void ImportMatch::matchFolders(const ExchangeDocuments &file)
{
    QHash<QString, QUuid> places;
    for (const ServerFolder &folder : m_here.library.folders)
        places.insert(placeOf(folder.parentID, folder.name), folder.id);
    bool hasFound = true;
    while (hasFound) {
        hasFound = false;
        for (const ServerFolder &folder : file.library.folders) {
            if (m_folders.contains(folder.id) || m_knownFolders.contains(folder.id))
                continue;
            const auto found = places.constFind(placeOf(folderHere(folder.parentID), folder.name));
            if (found == places.cend())
                continue;
            m_knownFolders.insert(folder.id, *found);
            hasFound = true;
        }
    }
}

std::optional<QUuid> ImportMatch::folderHere(const std::optional<QUuid> &folder) const
{
    return folder ? std::optional(m_knownFolders.value(*folder, *folder)) : std::nullopt;
}

std::optional<QUuid> ImportMatch::known(const ServerFolder &folder) const
{
    const auto found = m_knownFolders.constFind(folder.id);
    return found == m_knownFolders.cend() ? std::nullopt : std::optional(*found);
}

std::optional<QUuid> ImportMatch::known(const ServerConnection &server) const
{
    const auto found = m_knownServers.constFind(server.id);
    return found == m_knownServers.cend() ? std::nullopt : std::optional(*found);
}

std::optional<QUuid> ImportMatch::known(const BackupJob &job) const
{
    if (same(job))
        return std::nullopt;
    const BackupJob sought = adapted(job);
    const auto what = [](const BackupJob &each) {
        return std::tie(each.name, each.destinationPath, each.destinationServerID);
    };
    const auto found =
        std::ranges::find_if(m_here.backups, [&](const BackupJob &each) { return what(each) == what(sought); });
    return found == m_here.backups.end() ? std::nullopt : std::optional(found->id);
}

std::optional<QUuid> ImportMatch::known(const SyncPair &pair) const
{
    if (same(pair))
        return std::nullopt;
    const SyncPair sought = adapted(pair);
    const auto what = [](const SyncPair &each) { return std::tie(each.localPath, each.serverID, each.remotePath); };
    const auto found =
        std::ranges::find_if(m_here.syncPairs, [&](const SyncPair &each) { return what(each) == what(sought); });
    return found == m_here.syncPairs.end() ? std::nullopt : std::optional(found->id);
}

ServerFolder ImportMatch::adapted(ServerFolder folder) const
{
    folder.parentID = folderHere(folder.parentID);
    if (const ServerFolder *before = same(folder))
        folder.sortIndex = before->sortIndex;
    return folder;
}

ServerConnection ImportMatch::adapted(ServerConnection server) const
{
    server.folderID = folderHere(server.folderID);
    if (const ServerConnection *before = same(server))
        server.sortIndex = before->sortIndex;
    return replacing(std::move(server));
}

ServerConnection ImportMatch::replacing(ServerConnection server) const
{
    const ServerConnection *before = same(server);
    // What was left out of the file is not to be lost here.
    if (before && server.notes == exchangeFile::exported(*before).notes)
        server.notes = before->notes;
    return server;
}

BackupJob ImportMatch::adapted(BackupJob job) const
{
    if (job.destinationServerID)
        job.destinationServerID = serverHere(*job.destinationServerID);
    return replacing(std::move(job));
}

BackupJob ImportMatch::replacing(BackupJob job) const
{
    const BackupJob *before = same(job);
    job.enabled = before && before->enabled;
    job.lastRun = before ? before->lastRun : std::nullopt;
    job.lastStatus = before ? before->lastStatus : QString();
    job.lastSuccess = before && before->lastSuccess;
    return job;
}

SyncPair ImportMatch::adapted(SyncPair pair) const
{
    pair.serverID = serverHere(pair.serverID);
    return pair;
}

} // namespace moorix
