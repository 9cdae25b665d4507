// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/TransferSpeed.h"

#include <QHash>
#include <QList>

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <stop_token>

namespace moorix {

/// Limits how many files are under way at once, over all transfers and for each server. Whoever waits longest and fits
/// goes first, so a small transfer gets its turn beside a large one. While their speed is limited, files to and from
/// servers go one at a time instead, over all gates, and take no room from those on the local disk. Thread-safe.
class TransferGate final
{
public:
    /// Leaves a server room for what the user does there meanwhile: it takes eight clients at once.
    static constexpr int mostPerServer = 6;
    /// So many lanes of small files count as one file: they mostly wait for the server's answers.
    static constexpr int lanesPerFile = 8;
    /// Identifies servers; the local disk is not among them.
    using Servers = QList<const void *>;

    /// What wants to get in.
    struct Entrant
    {
        Servers servers;
        /// In parts of a file.
        int weight = lanesPerFile;
        /// How many of its kind, and all together, each of the servers takes.
        int mostAtServer = mostPerServer;
    };

    /// A place, given back when it goes out of scope.
    class Place final
    {
    public:
        Place(TransferGate &gate, Entrant entrant)
            : m_gate(gate)
            , m_entrant(std::move(entrant))
        {
        }
        /// Outside of the gate.
        Place(TransferGate &gate, std::unique_ptr<TransferSpeed::Turn> turn)
            : m_gate(gate)
            , m_entrant{{}, 0}
            , m_turn(std::move(turn))
        {
        }
        ~Place() { m_gate.leave(m_entrant); }
        Q_DISABLE_COPY_MOVE(Place)

    private:
        TransferGate &m_gate;
        Entrant m_entrant;
        std::unique_ptr<TransferSpeed::Turn> m_turn;
    };

    explicit TransferGate(int mostAtOnce);

    /// Takes effect at once; files under way beyond a lower limit run to their end.
    void setMostAtOnce(int count);
    /// How many lanes of small files may be open at once to a server that takes `lanes` of them.
    int lanesForSmall(int lanes);
    /// Waits for a place for one file, which keeps to `speed` unless that is null. Throws Cancelled when stopped while
    /// waiting.
    [[nodiscard]] Place enter(const Servers &servers, const std::stop_token &stop, TransferSpeed *speed = nullptr);
    /// Waits for a place for a lane of small files to or from a server that takes `lanes` of them. Throws like `enter`.
    [[nodiscard]] Place enterForSmall(const void *server, int lanes, const std::stop_token &stop,
                                      TransferSpeed *speed = nullptr);

private:
    struct AtServer
    {
        int files = 0;
        int lanes = 0;
        /// How much there may be in all: what those inside have been told.
        int most = mostPerServer;
    };

    Place enter(const Entrant &entrant, const std::stop_token &stop, TransferSpeed *speed);
    bool fitsServers(const Entrant &entrant) const;
    bool fits(const Entrant &entrant) const;
    void leave(const Entrant &entrant);

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    int m_mostAtOnce;
    /// The weight of all that is inside.
    int m_inside = 0;
    QHash<const void *, AtServer> m_atServers;
    std::list<Entrant> m_waiting;
};

} // namespace moorix
