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
    /// What children go through to one host.
    struct Door
    {
        QString name;
        int mostAtOnce = 8;
        /// Tells, whenever asked, whether several children may run there at once.
        std::function<bool()> isWarm = [] { return true; };
    };

    /// One child's place, given back when it goes out of scope.
    class Place final
    {
    public:
        Place(ConnectionGate &gate, QString door)
            : m_gate(gate)
            , m_door(std::move(door))
        {
        }
        ~Place()
        {
            if (!m_isGivenBack)
                m_gate.leave(m_door);
        }
        Q_DISABLE_COPY_MOVE(Place)

        /// The host has turned this child away for the others that are there: gives the place back, and until all have
        /// left, there are no more places than they have. False, with nothing done, when there are no others.
        bool giveBackAsOneTooMany() { return m_isGivenBack = m_gate.leaveAsOneTooMany(m_door); }

    private:
        ConnectionGate &m_gate;
        QString m_door;
        bool m_isGivenBack = false;
    };

    /// Keeps newcomers out of a door for as long as it exists; those inside may stay.
    class Closure final
    {
    public:
        Closure(ConnectionGate &gate, QString door);
        ~Closure();
        Q_DISABLE_COPY_MOVE(Closure)

    private:
        ConnectionGate &m_gate;
        QString m_door;
    };

    /// The limit is the far machine's, so all connections of the program share one gate.
    static ConnectionGate &ofThisProgram();

    /// Waits for a place. Throws Cancelled when stopped while waiting.
    [[nodiscard]] Place enter(const Door &door, const std::stop_token &stop);
    /// How many places there are at this moment, taken or free.
    int limitOf(const Door &door) const;

private:
    struct Inside
    {
        int running = 0;
        int limit = 0;
    };

    bool leaveAsOneTooMany(const QString &door);
    void leave(const QString &door);

    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    QHash<QString, Inside> m_inside;
    /// How many closures there are of a door.
    QHash<QString, int> m_closed;
};

} // namespace moorix
