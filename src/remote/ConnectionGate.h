// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>

namespace moorix {

/// Limits how many children talk to one host at once: servers refuse bursts of logins and more than ten sessions on
/// one connection. While no shared connection is up, children go one by one, so that the first one opens it for all.
/// Thread-safe.
class ConnectionGate final
{
public:
    static constexpr int mostAtOnce = 8;

    /// One child's place, given back when it goes out of scope.
    class Place final
    {
    public:
        Place(ConnectionGate &gate, QString host)
            : m_gate(gate)
            , m_host(std::move(host))
        {
        }
        ~Place() { m_gate.leave(m_host); }
        Q_DISABLE_COPY_MOVE(Place)

    private:
        ConnectionGate &m_gate;
        QString m_host;
    };

    /// The limit is the far machine's, so all connections of the program share one gate.
    static ConnectionGate &ofThisProgram();

    /// Waits for a place at `host`. `isWarm` tells, whenever asked, whether several children may run there at once.
    /// Throws Cancelled when stopped while waiting.
    [[nodiscard]] Place enter(const QString &host, const std::function<bool()> &isWarm, const std::stop_token &stop);

private:
    void leave(const QString &host);

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    QHash<QString, int> m_running;
};

} // namespace moorix
