// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerStore.h"

#include "servers/ServerTree.h"

#include <algorithm>

namespace moorix {

namespace {

template <class Record>
auto findByID(QList<Record> &records, const QUuid &id)
{
    return std::find_if(records.begin(), records.end(), [&](const Record &record) { return record.id == id; });
}

template <class Record>
std::optional<Record> recordOf(const QList<Record> &records, const QUuid &id)
{
    const auto found =
        std::find_if(records.cbegin(), records.cend(), [&](const Record &record) { return record.id == id; });
    return found == records.cend() ? std::nullopt : std::optional(*found);
}

} // namespace

ServerStore::ServerStore(Options options, KeyValueStore &kv, QObject *parent)
    : QObject(parent)
    , m_file({.path = std::move(options.path),
              .subject = QStringLiteral("server library"),
              .cloudKey = QStringLiteral("serverLibrary.v1"),
              .isCloudOn = options.iCloudSyncEnabled,
              .isInMemoryOnly = options.inMemoryOnly,
              .clock = std::move(options.clock),
              .first = ServerLibrary::sample(),
              .mend = serverTree::mend},
             kv)
{
    connect(&m_file, &LibrarySignals::changed, this, &ServerStore::libraryChanged);
    connect(&m_file, &LibrarySignals::problemChanged, this, &ServerStore::problemChanged);
}

std::optional<ServerConnection> ServerStore::server(const QUuid &id) const
{
    return recordOf(library().servers, id);
}

std::optional<ServerFolder> ServerStore::folder(const QUuid &id) const
{
    return recordOf(library().folders, id);
}

void ServerStore::upsert(ServerConnection server)
{
    change([&server](ServerLibrary &library) {
        const auto existing = findByID(library.servers, server.id);
        if (existing != library.servers.end()) {
            *existing = std::move(server);
            return true;
        }
        const auto last = std::max_element(
            library.servers.cbegin(), library.servers.cend(),
            [](const ServerConnection &a, const ServerConnection &b) { return a.sortIndex < b.sortIndex; });
        server.sortIndex = last == library.servers.cend() ? 1 : last->sortIndex + 1;
        library.servers.append(std::move(server));
        return true;
    });
}

bool ServerStore::replaceAll(const QList<ServerFolder> &folders, const QList<ServerConnection> &servers)
{
    bool isChange = false;
    change([&](ServerLibrary &library) {
        isChange = library.folders != folders || library.servers != servers;
        library.folders = folders;
        library.servers = servers;
        return isChange;
    });
    return isChange;
}

void ServerStore::remove(const QUuid &id)
{
    change([&id](ServerLibrary &library) {
        return library.servers.removeIf([&](const ServerConnection &server) { return server.id == id; }) > 0;
    });
}

void ServerStore::toggleFavorite(const QUuid &id)
{
    change([&id](ServerLibrary &library) {
        const auto server = findByID(library.servers, id);
        if (server == library.servers.end())
            return false;
        server->isFavorite = !server->isFavorite;
        return true;
    });
}

QList<ServerConnection> ServerStore::favorites() const
{
    QList<ServerConnection> found;
    std::copy_if(library().servers.cbegin(), library().servers.cend(), std::back_inserter(found),
                 [](const ServerConnection &server) { return server.isFavorite; });
    return found;
}

QList<ServerConnection> ServerStore::servers(const std::optional<QUuid> &folderID) const
{
    return serverTree::servers(library(), folderID);
}

QList<ServerFolder> ServerStore::folders(const std::optional<QUuid> &parentID) const
{
    return serverTree::folders(library(), parentID);
}

bool ServerStore::isDescendant(const QUuid &folder, const QUuid &ancestor) const
{
    return serverTree::isDescendant(library(), folder, ancestor);
}

QSet<QUuid> ServerStore::subtreeFolderIDs(const QUuid &id) const
{
    return serverTree::subtree(library(), id);
}

qsizetype ServerStore::serverCount(const QUuid &subtreeOf) const
{
    const QSet<QUuid> subtree = subtreeFolderIDs(subtreeOf);
    return std::count_if(library().servers.cbegin(), library().servers.cend(), [&](const ServerConnection &server) {
        return server.folderID && subtree.contains(*server.folderID);
    });
}

QList<std::pair<ServerFolder, int>> ServerStore::flattenedFolders() const
{
    return serverTree::flattened(library());
}

void ServerStore::updateFolder(const ServerFolder &folder)
{
    change([&](ServerLibrary &library) {
        serverTree::putFolder(library, folder);
        return true;
    });
}

void ServerStore::deleteFolder(const QUuid &id)
{
    change([&](ServerLibrary &library) { return serverTree::removeFolder(library, id); });
}

void ServerStore::moveFolder(const QUuid &id, const std::optional<QUuid> &toParent)
{
    change([&](ServerLibrary &library) { return serverTree::moveFolder(library, id, toParent); });
}

void ServerStore::moveFolder(const QUuid &id, Direction direction)
{
    const auto with = direction == Direction::up ? serverTree::Neighbour::previous : serverTree::Neighbour::next;
    change([&](ServerLibrary &library) { return serverTree::swapFolder(library, id, with); });
}

void ServerStore::placeFolder(const QUuid &id, const std::optional<QUuid> &inParent, qsizetype at)
{
    change([&](ServerLibrary &library) { return serverTree::placeFolder(library, id, inParent, at); });
}

void ServerStore::moveServer(const QUuid &id, const std::optional<QUuid> &toFolder)
{
    change([&](ServerLibrary &library) { return serverTree::moveServer(library, id, toFolder); });
}

void ServerStore::placeServer(const QUuid &id, const std::optional<QUuid> &inFolder, qsizetype at)
{
    change([&](ServerLibrary &library) { return serverTree::placeServer(library, id, inFolder, at); });
}

} // namespace moorix

#include "moc_ServerStore.cpp"
