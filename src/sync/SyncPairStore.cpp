// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncPairStore.h"

#include "sync/SyncManifest.h"

#include <algorithm>

namespace moorix {

SyncPairStore::SyncPairStore(QString path, KeyValueStore &kv, Clock clock, QObject *parent)
    : QObject(parent)
    , m_file({.path = std::move(path),
              .subject = QStringLiteral("list of folder pairs"),
              .cloudKey = {},
              .clock = std::move(clock)},
             kv)
{
    connect(&m_file, &LibrarySignals::changed, this, &SyncPairStore::changed);
    connect(&m_file, &LibrarySignals::problemChanged, this, &SyncPairStore::problemChanged);
}

std::optional<SyncPair> SyncPairStore::pair(const QUuid &id) const
{
    const auto found = std::ranges::find(pairs(), id, &SyncPair::id);
    return found == pairs().end() ? std::nullopt : std::optional(*found);
}

std::optional<SyncPair>
SyncPairStore::pairOfKey(const QString &key,
                         const std::function<std::optional<ServerConnection>(const QUuid &)> &recordOf) const
{
    const auto found = std::ranges::find_if(pairs(), [&](const SyncPair &pair) {
        const auto server = recordOf(pair.serverID);
        return server && SyncManifest::pairKey(pair.localPath, *server, pair.remotePath) == key;
    });
    return found == pairs().end() ? std::nullopt : std::optional(*found);
}

void SyncPairStore::upsert(const SyncPair &pair)
{
    m_file.change([&pair](SyncPairLibrary &library) {
        const auto existing = std::ranges::find(library.pairs, pair.id, &SyncPair::id);
        if (existing == library.pairs.end())
            library.pairs.append(pair);
        else if (*existing != pair)
            *existing = pair;
        else
            return false;
        return true;
    });
}

void SyncPairStore::remove(const QUuid &id)
{
    m_file.change([&id](SyncPairLibrary &library) {
        return library.pairs.removeIf([&id](const SyncPair &pair) { return pair.id == id; }) > 0;
    });
}

bool SyncPairStore::replaceAll(const QList<SyncPair> &pairs)
{
    bool isChange = false;
    m_file.change([&](SyncPairLibrary &library) {
        isChange = library.pairs != pairs;
        library.pairs = pairs;
        return isChange;
    });
    return isChange;
}

} // namespace moorix

#include "moc_SyncPairStore.cpp"
