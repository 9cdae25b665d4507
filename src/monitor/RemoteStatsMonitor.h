// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "base/Job.h"
#include "monitor/RemoteStats.h"
#include "servers/ServerConnection.h"

#include <QObject>
#include <QTimer>

namespace moorix {

class KeychainStore;
class ProcessRunner;
class SFTPService;

/// Shows the health of one server: every five seconds one command over its SSH connection, without anything installed
/// on it. Main thread; secrets, connecting and the command are work on workers.
class RemoteStatsMonitor final : public QObject
{
    Q_OBJECT

public:
    struct Tools
    {
        std::shared_ptr<KeychainStore> keychain;
        std::shared_ptr<ProcessRunner> processes;
        /// Whether somebody else uses the server's shared connection, which then outlives this watching. May be empty.
        std::function<bool(const QUuid &serverID)> isUsedElsewhere;
        /// Connects, and returns what the user should hear about it, or an empty text. Called on workers; when absent,
        /// the service's own connect step.
        std::function<QString(SFTPService &, const ServerConnection &, const std::stop_token &)> connect = {};
        Clock clock = systemNow;
        /// In place of those of the keychain, for a server that is not in the library.
        std::optional<ConnectionCredentials> credentials = {};
    };

    /// What the server is asked. Every probe is silent about its failure.
    static const QString script;
    /// What to show instead for FTP servers, which are never given to `start`: title and explanation.
    static QString needsSSH();
    static QString needsSSHBecause();

    explicit RemoteStatsMonitor(Tools tools, QObject *parent = nullptr);
    ~RemoteStatsMonitor() override;

    /// Watches the server, and no other from now on. Does nothing for the server that is being watched already.
    void start(const ServerConnection &server);
    void stop();
    /// What the timer does; for tests.
    void tick();

    /// Nothing before the first good reading and after `stop`. A failed reading leaves the last good one in place.
    const std::optional<RemoteStats> &stats() const { return m_stats; }
    /// Why the last reading failed; nothing after a good one.
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }
    /// The first reading of a server is in progress.
    bool isSampling() const { return m_isSampling; }
    std::optional<QUuid> serverID() const { return m_serverID; }
    /// When `stats` were read.
    std::optional<QDateTime> readAt() const { return m_readAt; }
    /// The same while they are out of date: the last reading failed, or the current one is overdue.
    std::optional<QDateTime> staleSince() const;

    /// Reads the script's output. Never fails: what cannot be read keeps its empty value.
    static RemoteStats parse(const QString &output);

signals:
    void changed();
    /// A first contact has something to tell.
    void noticeRaised(const QString &notice);

private:
    struct Reading;

    void sample();
    void take(const Reading &reading);
    void fail(const QString &message);
    void finish();
    void giveUpOverdue();
    void endConnection();

    Tools m_tools;
    std::optional<RemoteStats> m_stats;
    std::optional<QString> m_errorMessage;
    bool m_isSampling = false;
    /// Made by the first reading, whose worker may look into the keychain.
    std::shared_ptr<SFTPService> m_service;
    QTimer m_timer;
    std::optional<QUuid> m_serverID;
    bool m_connected = false;
    bool m_sampleInFlight = false;

    ServerConnection m_server;
    std::optional<QDateTime> m_readAt;
    QDateTime m_begunAt;
    /// A server that turned the login away is left alone until then: many wrong logins get an address locked out.
    std::optional<QDateTime> m_pausedUntil;
    Job m_job;
};

} // namespace moorix
