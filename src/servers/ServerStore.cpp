// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerStore.h"

#include "base/Error.h"
#include "platform/KeyValueStore.h"
#include "servers/ServerTree.h"

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
    , m_file(m_options.path, m_options.inMemoryOnly ? LibraryFile::Access::readOnly : LibraryFile::Access::readWrite)
    , m_kv(kv)
{
    load();
    const QString loadProblem = m_problem;
    connect(&m_file, &LibraryFile::touched, this, [this] {
        if (adoptFile())
            emit libraryChanged();
    });
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
        if (std::optional<ServerLibrary> library = m_file.readIfChanged()) {
            m_library = *std::move(library);
            serverTree::mend(m_library);
            return;
        }
    } catch (const Error &error) {
        m_library = ServerLibrary::empty();
        m_problem = damageReport(QStringLiteral("could not be loaded, so the list starts empty"), error);
        return;
    }
    m_library = ServerLibrary::sample();
    writeFile();
}

QString ServerStore::damageReport(const QString &what, const Error &error) const
{
    const QString kept = m_file.asidePath().isEmpty()
                             ? QString()
                             : QStringLiteral("; the damaged file is kept as “%1”").arg(m_file.asidePath());
    return QStringLiteral("The server library %1%2. %3").arg(what, kept, error.message());
}

bool ServerStore::adoptFile()
{
    try {
        std::optional<ServerLibrary> written = m_file.readIfChanged();
        // What could not be saved here is newer than what others save without knowing of it.
        if (!written || (m_isUnsaved && isOlder(written->lastModified, m_library.lastModified)))
            return false;
        serverTree::mend(*written);
        m_library = *std::move(written);
        m_isUnsaved = false;
        return true;
    } catch (const Error &error) {
        setProblem(
            damageReport(QStringLiteral("can no longer be read from its file; the list stays as it is here"), error));
        return false;
    }
}

void ServerStore::writeFile()
{
    try {
        m_file.write(m_library);
        m_isUnsaved = false;
        setProblem({});
    } catch (const Error &error) {
        m_isUnsaved = true;
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

void ServerStore::change(const std::function<bool(ServerLibrary &)> &edit)
{
    const auto lock = m_file.lock();
    const bool isAdopted = adoptFile();
    if (edit(m_library))
        persist();
    else if (isAdopted)
        emit libraryChanged();
}

void ServerStore::persist()
{
    serverTree::mend(m_library);
    const QDateTime now = m_options.clock().toUTC();
    // Where another machine's clock is ahead, a change made here must still count as the newer one.
    m_library.lastModified = isOlder(m_library.lastModified, now) ? now : m_library.lastModified->addMSecs(1);
    writeFile();
    sendToCloud(m_library.encode());
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
    const auto lock = m_file.lock();
    writeFile();
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
