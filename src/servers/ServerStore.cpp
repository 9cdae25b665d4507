// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerStore.h"

#include "base/Error.h"
#include "base/JsonFile.h"
#include "platform/KeyValueStore.h"
#include "servers/ServerTree.h"

#include <QFileInfo>

#include <algorithm>

namespace moorix {

namespace {

const QString kvKey = QStringLiteral("serverLibrary.v1");

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

/// An absent date counts as the distant past.
bool isOlder(const std::optional<QDateTime> &a, const std::optional<QDateTime> &b)
{
    return b && (!a || *a < *b);
}

} // namespace

ServerStore::ServerStore(Options options, KeyValueStore &kv, QObject *parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_kv(kv)
{
    load();
    const QString loadProblem = m_problem;
    connect(&m_kv, &KeyValueStore::changedExternally, this, [this](const QStringList &keys) {
        if (keys.contains(kvKey))
            mergeFromCloud();
    });
    connect(&m_kv, &KeyValueStore::folderChanged, this, &ServerStore::mergeBothWays);
    if (m_options.iCloudSyncEnabled)
        m_kv.synchronize();
    mergeFromCloud();
    // Writing what came from the cloud does not make the damaged file less worth telling.
    if (m_problem.isEmpty())
        m_problem = loadProblem;
}

void ServerStore::load()
{
    try {
        const std::optional<QByteArray> bytes = jsonFile::read(m_options.path);
        if (bytes) {
            m_library = ServerLibrary::decode(*bytes);
            serverTree::mend(m_library);
            return;
        }
    } catch (const Error &error) {
        m_library = ServerLibrary::empty();
        setDamagedAside(error.message());
        return;
    }
    m_library = ServerLibrary::sample();
    writeFile(m_library.encode());
}

void ServerStore::setDamagedAside(const QString &reason)
{
    const QFileInfo file(m_options.path);
    // A fixed name, without a stamp: of several damaged files the first, which held the most, keeps it.
    const QString aside = file.absolutePath() + QStringLiteral("/servers.corrupt-.json");
    m_isDamagedFileInPlace = m_options.inMemoryOnly || !jsonFile::setAside(m_options.path, aside);
    m_problem = m_isDamagedFileInPlace
                    ? QStringLiteral("The server library could not be loaded, so the list starts empty. %1").arg(reason)
                    : QStringLiteral(
                          "The server library could not be loaded, so the list starts empty; the damaged file is kept "
                          "as “%1”. %2")
                          .arg(aside, reason);
}

bool ServerStore::makeRoomForFile()
{
    if (!m_isDamagedFileInPlace || !QFileInfo::exists(m_options.path))
        return true;
    const QFileInfo file(m_options.path);
    const QString stamp = systemNow().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz'Z'"));
    const QString aside = file.absolutePath() + QStringLiteral("/servers.corrupt-%1.json").arg(stamp);
    m_isDamagedFileInPlace = !jsonFile::setAside(m_options.path, aside);
    return !m_isDamagedFileInPlace;
}

void ServerStore::writeFile(const QByteArray &bytes)
{
    if (m_options.inMemoryOnly)
        return;
    if (!makeRoomForFile()) {
        setProblem(QStringLiteral("Changes to the server library are not saved: the damaged file “%1” could not be "
                                  "moved aside and is not written over.")
                       .arg(m_options.path));
        return;
    }
    try {
        jsonFile::write(m_options.path, bytes);
        setProblem({});
    } catch (const Error &error) {
        setProblem(error.message());
    }
}

void ServerStore::setProblem(const QString &problem)
{
    if (m_problem == problem)
        return;
    m_problem = problem;
    emit problemChanged();
}

void ServerStore::persist()
{
    serverTree::mend(m_library);
    const QDateTime now = m_options.clock().toUTC();
    // Where another machine's clock is ahead, a change made here must still count as the newer one.
    m_library.lastModified = isOlder(m_library.lastModified, now) ? now : m_library.lastModified->addMSecs(1);
    const QByteArray bytes = m_library.encode();
    writeFile(bytes);
    sendToCloud(bytes);
    emit libraryChanged();
}

void ServerStore::sendToCloud(const QByteArray &bytes)
{
    if (!m_options.iCloudSyncEnabled)
        return;
    m_kv.setValue(kvKey, bytes);
    m_kv.synchronize();
}

void ServerStore::mergeFromCloud()
{
    const std::optional<ServerLibrary> cloud = cloudLibrary();
    // A tie goes to the cloud copy. One that equals the local library is the echo of a change made here.
    if (!cloud || isOlder(cloud->lastModified, m_library.lastModified) || *cloud == m_library)
        return;
    m_library = *cloud;
    writeFile(m_library.encode());
    emit libraryChanged();
}

std::optional<ServerLibrary> ServerStore::cloudLibrary() const
{
    const std::optional<QByteArray> bytes = m_options.iCloudSyncEnabled ? m_kv.value(kvKey) : std::nullopt;
    if (!bytes)
        return std::nullopt;
    try {
        ServerLibrary library = ServerLibrary::decode(*bytes);
        serverTree::mend(library);
        return library;
    } catch (const Error &) {
        // A copy that cannot be read, perhaps of a newer version of the program, changes nothing here.
        return std::nullopt;
    }
}

void ServerStore::setCloudSyncEnabled(bool enabled)
{
    if (m_options.iCloudSyncEnabled == enabled)
        return;
    m_options.iCloudSyncEnabled = enabled;
    if (!enabled)
        return;
    m_kv.synchronize();
    mergeBothWays();
}

void ServerStore::mergeBothWays()
{
    if (!m_options.iCloudSyncEnabled || !m_kv.isAvailable())
        return;
    mergeFromCloud();
    const std::optional<ServerLibrary> cloud = cloudLibrary();
    const bool isCloudBehind = cloud ? *cloud != m_library : !m_kv.value(kvKey);
    // A library that was never changed is the sample; other machines need not see it.
    if (m_library.lastModified && isCloudBehind)
        sendToCloud(m_library.encode());
}

std::optional<ServerConnection> ServerStore::server(const QUuid &id) const
{
    return recordOf(m_library.servers, id);
}

std::optional<ServerFolder> ServerStore::folder(const QUuid &id) const
{
    return recordOf(m_library.folders, id);
}

void ServerStore::upsert(ServerConnection server)
{
    const auto existing = findByID(m_library.servers, server.id);
    if (existing != m_library.servers.end()) {
        *existing = std::move(server);
    } else {
        const auto last = std::max_element(
            m_library.servers.cbegin(), m_library.servers.cend(),
            [](const ServerConnection &a, const ServerConnection &b) { return a.sortIndex < b.sortIndex; });
        server.sortIndex = last == m_library.servers.cend() ? 1 : last->sortIndex + 1;
        m_library.servers.append(std::move(server));
    }
    persist();
}

void ServerStore::remove(const QUuid &id)
{
    if (m_library.servers.removeIf([&](const ServerConnection &server) { return server.id == id; }) > 0)
        persist();
}

void ServerStore::toggleFavorite(const QUuid &id)
{
    const auto server = findByID(m_library.servers, id);
    if (server == m_library.servers.end())
        return;
    server->isFavorite = !server->isFavorite;
    persist();
}

QList<ServerConnection> ServerStore::favorites() const
{
    QList<ServerConnection> found;
    std::copy_if(m_library.servers.cbegin(), m_library.servers.cend(), std::back_inserter(found),
                 [](const ServerConnection &server) { return server.isFavorite; });
    return found;
}

QList<ServerConnection> ServerStore::servers(const std::optional<QUuid> &folderID) const
{
    return serverTree::servers(m_library, folderID);
}

QList<ServerFolder> ServerStore::folders(const std::optional<QUuid> &parentID) const
{
    return serverTree::folders(m_library, parentID);
}

bool ServerStore::isDescendant(const QUuid &folder, const QUuid &ancestor) const
{
    return serverTree::isDescendant(m_library, folder, ancestor);
}

QSet<QUuid> ServerStore::subtreeFolderIDs(const QUuid &id) const
{
    return serverTree::subtree(m_library, id);
}

qsizetype ServerStore::serverCount(const QUuid &subtreeOf) const
{
    const QSet<QUuid> subtree = subtreeFolderIDs(subtreeOf);
    return std::count_if(m_library.servers.cbegin(), m_library.servers.cend(), [&](const ServerConnection &server) {
        return server.folderID && subtree.contains(*server.folderID);
    });
}

QList<std::pair<ServerFolder, int>> ServerStore::flattenedFolders() const
{
    return serverTree::flattened(m_library);
}

void ServerStore::updateFolder(const ServerFolder &folder)
{
    serverTree::putFolder(m_library, folder);
    persist();
}

void ServerStore::deleteFolder(const QUuid &id)
{
    if (serverTree::removeFolder(m_library, id))
        persist();
}

void ServerStore::moveFolder(const QUuid &id, const std::optional<QUuid> &toParent)
{
    if (serverTree::moveFolder(m_library, id, toParent))
        persist();
}

void ServerStore::moveFolder(const QUuid &id, Direction direction)
{
    const auto with = direction == Direction::up ? serverTree::Neighbour::previous : serverTree::Neighbour::next;
    if (serverTree::swapFolder(m_library, id, with))
        persist();
}

void ServerStore::placeFolder(const QUuid &id, const std::optional<QUuid> &inParent, qsizetype at)
{
    if (serverTree::placeFolder(m_library, id, inParent, at))
        persist();
}

void ServerStore::moveServer(const QUuid &id, const std::optional<QUuid> &toFolder)
{
    if (serverTree::moveServer(m_library, id, toFolder))
        persist();
}

void ServerStore::placeServer(const QUuid &id, const std::optional<QUuid> &inFolder, qsizetype at)
{
    if (serverTree::placeServer(m_library, id, inFolder, at))
        persist();
}

} // namespace moorix

#include "moc_ServerStore.cpp"
