// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/MirroredLibrary.h"
#include "servers/ServerConnection.h"
#include "sync/SyncPairLibrary.h"

namespace moorix {

/// Owns the saved folder pairs of the running program: loaded at start, saved whole after every change, and taken over
/// when other programs of this user save. They stay on this machine, as their local paths mean nothing elsewhere.
/// Main thread.
class SyncPairStore final : public QObject
{
    Q_OBJECT

public:
    /// `kv` is given for the life of the store and left alone. A damaged file is set aside; the store starts empty.
    SyncPairStore(QString path, KeyValueStore &kv, Clock clock = systemNow, QObject *parent = nullptr);

    const QList<SyncPair> &pairs() const { return m_file.library().pairs; }
    std::optional<SyncPair> pair(const QUuid &id) const;
    /// The pair that has this key, given the record of each server.
    std::optional<SyncPair>
    pairOfKey(const QString &key,
              const std::function<std::optional<ServerConnection>(const QUuid &server)> &recordOf) const;
    /// Why the file could not be loaded or written the last time; empty when all is well.
    const QString &problem() const { return m_file.problem(); }

    /// Replaces the pair of the same id, or appends it.
    void upsert(const SyncPair &pair);
    void remove(const QUuid &id);
    /// Puts these in place of all pairs. Returns whether that is a change.
    bool replaceAll(const QList<SyncPair> &pairs);
    /// Takes over at once what another program has saved.
    void refresh() { m_file.refresh(); }

signals:
    void changed();
    void problemChanged();

private:
    MirroredLibrary<SyncPairLibrary> m_file;
};

} // namespace moorix
