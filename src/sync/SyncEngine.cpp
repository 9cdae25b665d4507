// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncEngine.h"

#include "sync/SyncManifest.h"
#include "sync/SyncPairStore.h"

#include <QPointer>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

SyncEngine::SyncEngine(SyncPlaces places, SyncPairStore &pairs, RecordOf recordOf, QObject *parent)
    : QObject(parent)
    , m_places(std::move(places))
    , m_pairs(pairs)
    , m_recordOf(std::move(recordOf))
{
    connect(&pairs, &SyncPairStore::changed, this, &SyncEngine::followPairs);
    readLastRuns();
}

SyncEngine::~SyncEngine() = default;

QList<SyncSession *> SyncEngine::sessions() const
{
    QList<SyncSession *> sessions;
    for (const auto &session : m_sessions)
        sessions.append(session.get());
    return sessions;
}

SyncSession *SyncEngine::find(const QString &key) const
{
    const auto found = std::ranges::find_if(m_sessions, [&key](const auto &session) { return session->key() == key; });
    return found == m_sessions.end() ? nullptr : found->get();
}

SyncSession &SyncEngine::open(const SyncPair &pair, const ServerConnection &server)
{
    auto made = std::make_unique<SyncSession>(m_places, pair, server);
    if (SyncSession *known = find(made->key()))
        return *known;
    SyncSession &session = *made;
    m_sessions.push_back(std::move(made));
    if (const auto saved = savedPair(session))
        session.setPair(*saved);
    connect(&session, &SyncSession::stateChanged, this, [this, &session] {
        if (!session.log().isEmpty()) {
            m_lastRuns.insert(session.key(), session.log().constLast());
            m_lastRuns[session.key()].lines.clear();
        }
        emit changed();
    });
    connect(&session, &SyncSession::foldersChanged, this, &SyncEngine::foldersChanged);
    emit changed();
    return session;
}

void SyncEngine::close(SyncSession &session)
{
    const auto found =
        std::ranges::find_if(m_sessions, [&session](const auto &known) { return known.get() == &session; });
    if (found == m_sessions.end())
        return;
    // Whoever asks for it may be called by the session itself.
    SyncSession *leaving = found->release();
    m_sessions.erase(found);
    leaving->disconnect(this);
    leaving->cancel();
    // Who shows it lets go of it first.
    emit changed();
    leaving->deleteLater();
}

void SyncEngine::stopFor(const QUuid &server)
{
    for (const auto &session : m_sessions) {
        if (session->server().id == server)
            session->cancel();
    }
}

QString SyncEngine::keyOf(const SyncPair &pair) const
{
    const auto server = m_recordOf(pair.serverID);
    return server ? SyncManifest::pairKey(pair.localPath, *server, pair.remotePath) : QString();
}

std::optional<SyncPair> SyncEngine::savedPair(const SyncSession &session) const
{
    return m_pairs.pairOfKey(session.key(), m_recordOf);
}

std::optional<SyncLogEntry> SyncEngine::lastRun(const QString &key) const
{
    const auto found = m_lastRuns.constFind(key);
    return found == m_lastRuns.cend() ? std::nullopt : std::optional(*found);
}

std::optional<QString> SyncEngine::forget(const QUuid &id)
{
    const auto pair = m_pairs.pair(id);
    if (!pair)
        return std::nullopt;
    const QString key = keyOf(*pair);
    if (SyncSession *session = find(key)) {
        if (session->isBusy())
            return u"These folders are being synced; cancel that first."_s;
        close(*session);
    }
    m_lastRuns.remove(key);
    m_pairs.remove(id);
    if (key.isEmpty())
        return std::nullopt;
    runJob(
        [store = SyncStateStore(m_places.stateFolder), key](const std::stop_token &) {
            const auto lock = store.lock(key);
            store.forget(key);
        },
        [] {},
        [self = QPointer(this)](const Error &error) {
            if (self)
                emit self->messageRaised(u"What was known of the folders is kept: %1"_s.arg(error.message()));
        })
        .detach();
    return std::nullopt;
}

void SyncEngine::followPairs()
{
    for (const auto &session : m_sessions) {
        if (const auto saved = savedPair(*session))
            session->setPair(*saved);
    }
    readLastRuns();
    emit changed();
}

void SyncEngine::readLastRuns()
{
    QStringList keys;
    for (const SyncPair &pair : m_pairs.pairs()) {
        const QString key = keyOf(pair);
        if (!key.isEmpty() && !m_lastRuns.contains(key))
            keys.append(key);
    }
    if (keys.isEmpty())
        return;
    m_reading = runJob(
        [store = SyncStateStore(m_places.stateFolder), keys](const std::stop_token &) {
            QHash<QString, SyncLogEntry> runs;
            for (const QString &key : keys) {
                if (const QList<SyncLogEntry> log = store.log(key); !log.isEmpty()) {
                    runs.insert(key, log.constLast());
                    runs[key].lines.clear();
                }
            }
            return runs;
        },
        [this](const QHash<QString, SyncLogEntry> &runs) {
            m_lastRuns.insert(runs);
            emit changed();
        },
        [](const Error &) {});
}

} // namespace moorix
