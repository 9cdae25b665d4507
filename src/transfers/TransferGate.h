// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QList>

#include <condition_variable>
#include <list>
#include <mutex>
#include <stop_token>

namespace moorix {

/// Limits how many files are under way at once, over all transfers and for each server. Whoever waits longest and fits
/// goes first, so a small transfer gets its turn beside a large one. Thread-safe.
class TransferGate final
{
public:
    /// Leaves a server room for what the user does there meanwhile: it takes eight clients at once.
    static constexpr int mostPerServer = 6;
    /// Identifies servers; the local disk is not among them.
    using Servers = QList<const void *>;

    /// One file's place, given back when it goes out of scope.
    class Place final
    {
    public:
        Place(TransferGate &gate, Servers servers)
            : m_gate(gate)
            , m_servers(std::move(servers))
        {
        }
        ~Place() { m_gate.leave(m_servers); }
        Q_DISABLE_COPY_MOVE(Place)

    private:
        TransferGate &m_gate;
        Servers m_servers;
    };

    explicit TransferGate(int mostAtOnce);

    /// Takes effect at once; files under way beyond a lower limit run to their end.
    void setMostAtOnce(int count);
    /// How many files may be on their way to or from one server at once.
    int lanesOfOneServer();
    /// Waits for a place. Throws Cancelled when stopped while waiting.
    [[nodiscard]] Place enter(const Servers &servers, const std::stop_token &stop);

private:
    bool fits(const Servers &servers) const;
    void leave(const Servers &servers);

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    int m_mostAtOnce;
    int m_inside = 0;
    QHash<const void *, int> m_perServer;
    std::list<Servers> m_waiting;
};

} // namespace moorix
