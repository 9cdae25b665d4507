// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"
#include "transfers/TransferControl.h"
#include "transfers/TransferTally.h"

#include <atomic>
#include <chrono>
#include <vector>

namespace moorix {

/// The way to the servers of one transfer, which may break and come back: operations that fail because of that are
/// tried again after growing pauses. Thread-safe.
class TransferLink final
{
public:
    using Delays = std::vector<std::chrono::milliseconds>;
    /// About a minute in all.
    static Delays usualDelays();

    TransferLink(TransferControl &control, TransferTally &tally, Delays delays);

    TransferControl &control() const { return m_control; }

    /// The tries of one operation.
    class Tries final
    {
    public:
        explicit Tries(TransferLink &link)
            : m_link(link)
        {
        }
        ~Tries() { restored(); }
        Q_DISABLE_COPY_MOVE(Tries)

        /// Waits until the next try is due. Throws `error` again when it is none of a broken link, or when there were
        /// tries enough; Cancelled when the transfer is stopped.
        void wait(const Error &error);
        /// Something came through: the next failure counts as the first.
        void restored();
        bool isFirst() const { return m_failures == 0 && !m_hasFailed; }

    private:
        TransferLink &m_link;
        std::size_t m_failures = 0;
        bool m_hasFailed = false;
    };

    /// Runs `operation(stop, isFirstTry)` until it returns or fails for another reason than the link. A repeated
    /// operation may find that the first try had done its work already.
    template <class Operation>
    auto repeat(Operation operation)
    {
        Tries tries(*this);
        while (true) {
            m_control.waitWhilePaused();
            try {
                return operation(m_control.token(), tries.isFirst());
            } catch (const Cancelled &) {
                throw;
            } catch (const Error &error) {
                tries.wait(error);
            }
        }
    }

private:
    TransferControl &m_control;
    TransferTally &m_tally;
    Delays m_delays;
    std::atomic<int> m_waiting = 0;
};

/// Whether the error says that the server as a whole is out of reach, so that the next file will not do better.
bool isConnectionLost(const std::exception &error);
/// Whether it may come back by itself: not when the server turns the user away.
bool mayReconnect(const std::exception &error);

} // namespace moorix
