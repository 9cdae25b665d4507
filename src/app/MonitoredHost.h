// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LoadWatch.h"
#include "monitor/MetricHistory.h"
#include "monitor/RemoteStatsMonitor.h"

#include <QObject>

#include <array>

namespace moorix {

class LocalMonitor;

/// A machine on the dashboard, this one or a server: what it tells now, what its figures were over the last while, and
/// what runs short. Main thread.
class MonitoredHost final : public QObject
{
    Q_OBJECT

public:
    enum class Figure { cpu, memory, received, sent };

    /// This machine, whose monitor outlives it and is told by its owner when to read.
    explicit MonitoredHost(LocalMonitor &local, QObject *parent = nullptr);
    MonitoredHost(const ServerConnection &server, RemoteStatsMonitor::Tools tools, QObject *parent = nullptr);
    ~MonitoredHost() override;

    bool isLocal() const { return m_local; }
    /// Nothing for this machine.
    const std::optional<ServerConnection> &server() const { return m_server; }
    QString title() const;
    /// A server that cannot run commands, of which nothing will ever be known.
    bool needsSSH() const;
    /// Servers only: takes a changed record over; what was known of another machine is forgotten.
    void setServer(const ServerConnection &server);
    /// Servers only: whether it is to be read, over and over.
    void setWatched(bool isWatched);
    /// Servers only: the user has ended the connection, and until they want it again no reading makes a new one.
    void setDisconnected(bool isDisconnected);
    bool isDisconnected() const { return m_isDisconnected; }
    /// Servers only: what their timer does; for tests.
    void tick() { m_remote->tick(); }

    const std::optional<RemoteStats> &stats() const { return m_stats; }
    /// Null for servers, and before the first reading.
    const LocalStats *localStats() const;
    const std::optional<QString> &errorMessage() const;
    /// When `stats` were read.
    QDateTime readAt() const { return m_noted.value_or(QDateTime()); }
    /// The same if they are out of date.
    std::optional<QDateTime> staleSince() const;
    /// CPU and memory are in per cent, the others in bytes for each second.
    const MetricHistory &history(Figure figure) const { return m_histories[std::size_t(figure)]; }
    /// Readings further apart than this have something missing between them.
    qint64 longestStepMsecs() const;
    QList<LoadWatch::Alert> alerts() const;
    /// Something is high at the moment, though perhaps not for long yet.
    bool isTense() const { return m_isTense; }

signals:
    void changed();
    void noticeRaised(const QString &notice);
    void alertBegan(const moorix::LoadWatch::Alert &alert);

private:
    void watch();
    void followLocal();
    void followServer();
    void note(const QDateTime &time, Figure figure, std::optional<double> value);
    void judge(const LoadLevels &levels);

    LocalMonitor *m_local = nullptr;
    std::optional<ServerConnection> m_server;
    std::unique_ptr<RemoteStatsMonitor> m_remote;
    std::optional<RemoteStats> m_stats;
    std::optional<QDateTime> m_noted;
    std::array<MetricHistory, 4> m_histories;
    LoadWatch m_watch;
    bool m_isTense = false;
    bool m_isWatched = false;
    bool m_isDisconnected = false;
};

} // namespace moorix
