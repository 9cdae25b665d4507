// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MonitoredHost.h"

#include "monitor/LocalMonitor.h"

#include <algorithm>

namespace moorix {

namespace {

constexpr double hundred = 100;
/// A quarter of an hour, of this machine once a second, of a server every five.
constexpr std::size_t localReadings = 900;
constexpr std::size_t remoteReadings = 180;
/// Half a minute on either.
constexpr LoadWatch::Limit localLimit{90, 85, 30};
constexpr LoadWatch::Limit remoteLimit{90, 85, 6};

std::array<MetricHistory, 4> histories(std::size_t readings)
{
    const MetricHistory empty(readings);
    return {empty, empty, empty, empty};
}

} // namespace

MonitoredHost::MonitoredHost(LocalMonitor &local, QObject *parent)
    : QObject(parent)
    , m_local(&local)
    , m_histories(histories(localReadings))
    , m_watch(localLimit)
{
    connect(m_local, &LocalMonitor::changed, this, &MonitoredHost::followLocal);
}

MonitoredHost::MonitoredHost(const ServerConnection &server, RemoteStatsMonitor::Tools tools, QObject *parent)
    : QObject(parent)
    , m_server(server)
    , m_remote(std::make_unique<RemoteStatsMonitor>(std::move(tools)))
    , m_histories(histories(remoteReadings))
    , m_watch(remoteLimit)
{
    connect(m_remote.get(), &RemoteStatsMonitor::changed, this, &MonitoredHost::followServer);
    connect(m_remote.get(), &RemoteStatsMonitor::noticeRaised, this, &MonitoredHost::noticeRaised);
}

MonitoredHost::~MonitoredHost()
{
    if (m_remote)
        m_remote->disconnect(this);
}

QString MonitoredHost::title() const
{
    return m_server ? m_server->displayName() : tr("This computer");
}

bool MonitoredHost::needsSSH() const
{
    return m_server && !supportsShell(m_server->networkProtocol);
}

void MonitoredHost::setServer(const ServerConnection &server)
{
    if (m_server == server)
        return;
    m_remote->stop();
    const bool isElsewhere = m_server->host != server.host || m_server->port != server.port;
    m_server = server;
    if (isElsewhere) {
        for (MetricHistory &history : m_histories)
            history.clear();
        m_watch = LoadWatch(remoteLimit);
    }
    watch();
    emit changed();
}

void MonitoredHost::setWatched(bool isWatched)
{
    m_isWatched = isWatched;
    watch();
}

void MonitoredHost::setDisconnected(bool isDisconnected)
{
    if (m_isDisconnected == isDisconnected)
        return;
    m_isDisconnected = isDisconnected;
    watch();
    emit changed();
}

void MonitoredHost::watch()
{
    if (m_isWatched && !m_isDisconnected && !needsSSH())
        m_remote->start(*m_server);
    else if (m_remote->serverID())
        m_remote->stop();
}

const LocalStats *MonitoredHost::localStats() const
{
    return m_local && m_local->stats() ? &*m_local->stats() : nullptr;
}

const std::optional<QString> &MonitoredHost::errorMessage() const
{
    return m_local ? m_local->errorMessage() : m_remote->errorMessage();
}

std::optional<QDateTime> MonitoredHost::staleSince() const
{
    return m_remote ? m_remote->staleSince() : std::nullopt;
}

qint64 MonitoredHost::longestStepMsecs() const
{
    constexpr qint64 local = 3500;
    constexpr qint64 remote = 17'000;
    return m_local ? local : remote;
}

QList<LoadWatch::Alert> MonitoredHost::alerts() const
{
    // What was short before the machine was lost may be over by now.
    return m_stats && !staleSince() ? m_watch.current() : QList<LoadWatch::Alert>();
}

void MonitoredHost::note(const QDateTime &time, Figure figure, std::optional<double> value)
{
    m_histories[std::size_t(figure)].append(time, value);
}

void MonitoredHost::followLocal()
{
    const LocalStats *stats = localStats();
    if (stats && m_noted != stats->time) {
        m_noted = stats->time;
        m_stats = stats->asRemoteStats();
        const auto network = stats->network();
        note(stats->time, Figure::cpu, stats->cpu ? std::optional(stats->cpu->busy()) : std::nullopt);
        note(stats->time, Figure::received, network ? std::optional(network->in) : std::nullopt);
        note(stats->time, Figure::sent, network ? std::optional(network->out) : std::nullopt);
        const LoadLevels levels = LoadLevels::of(*stats);
        note(stats->time, Figure::memory, levels.memory);
        judge(levels);
    } else if (stats) {
        m_stats = stats->asRemoteStats();
    }
    emit changed();
}

void MonitoredHost::followServer()
{
    m_stats = m_remote->stats();
    if (m_stats && m_remote->readAt() != m_noted) {
        m_noted = m_remote->readAt();
        const auto percent = [](const std::optional<double> &share) {
            return share ? std::optional(*share * hundred) : std::nullopt;
        };
        note(*m_noted, Figure::cpu, percent(m_stats->loadShare()));
        note(*m_noted, Figure::memory, percent(m_stats->memoryShare()));
        judge(LoadLevels::of(*m_stats));
    }
    emit changed();
}

void MonitoredHost::judge(const LoadLevels &levels)
{
    const QList<LoadWatch::Alert> begun = m_watch.take(levels);
    m_isTense = std::any_of(allResources.begin(), allResources.end(), [&levels](Resource resource) {
        return resource != Resource::disk && levels.level(resource).value_or(0) > localLimit.above;
    });
    for (const LoadWatch::Alert &alert : begun)
        emit alertBegan(alert);
}

} // namespace moorix
