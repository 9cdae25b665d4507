// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncSession.h"

#include <QHash>

#include <memory>
#include <vector>

namespace moorix {

class SyncPairStore;

/// The folder pairs that are being synced, each in one session, and when the saved ones were synced last. Main thread.
class SyncEngine final : public QObject
{
    Q_OBJECT

public:
    using RecordOf = std::function<std::optional<ServerConnection>(const QUuid &server)>;

    /// `pairs` outlives it; `recordOf` tells the library's record of a server.
    SyncEngine(SyncPlaces places, SyncPairStore &pairs, RecordOf recordOf, QObject *parent = nullptr);
    ~SyncEngine() override;

    /// The oldest first.
    QList<SyncSession *> sessions() const;
    /// The session of a pair, if it is open.
    SyncSession *find(const QString &key) const;
    /// The session of these folders: the one that is open, or a new one, which waits to be told. What is known of a
    /// saved pair counts, else `pair`.
    SyncSession &open(const SyncPair &pair, const ServerConnection &server);
    /// Ends what it does and forgets it; it is deleted later.
    void close(SyncSession &session);
    /// The server is no longer wanted: what is under way there stops.
    void stopFor(const QUuid &server);

    SyncPairStore &pairs() const { return m_pairs; }
    std::optional<ServerConnection> recordOf(const SyncPair &pair) const { return m_recordOf(pair.serverID); }
    /// Empty where the server is no longer in the library.
    QString keyOf(const SyncPair &pair) const;
    /// The saved pair of a session.
    std::optional<SyncPair> savedPair(const SyncSession &session) const;
    /// The last run of a pair, as far as it is known by now; without its lines.
    std::optional<SyncLogEntry> lastRun(const QString &key) const;
    /// Forgets a saved pair and what both sides were, so that the next sync of these folders is a first one. Returns
    /// why that is not possible, or nothing.
    std::optional<QString> forget(const QUuid &pair);

signals:
    /// A session came, went, or stands in another way; or a last run became known.
    void changed();
    void foldersChanged(const moorix::FileService *service, const QStringList &folders);
    /// A sentence for the user.
    void messageRaised(const QString &sentence);

private:
    void followPairs();
    void readLastRuns();

    SyncPlaces m_places;
    SyncPairStore &m_pairs;
    RecordOf m_recordOf;
    std::vector<std::unique_ptr<SyncSession>> m_sessions;
    QHash<QString, SyncLogEntry> m_lastRuns;
    Job m_reading;
};

} // namespace moorix
