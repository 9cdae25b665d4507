// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <stop_token>

namespace moorix {

/// The limit on how fast files travel between this machine and servers: one for all servers and both directions. A
/// client is told it when it starts and keeps it by itself, which makes it exact only while no other one runs; hence
/// the turns. A stream that passes through this program is paced here. Thread-safe.
class TransferSpeed final
{
public:
    using Clock = std::chrono::steady_clock;

    /// In bytes per second.
    static constexpr qint64 least = 10'000;
    static constexpr qint64 most = 1'000'000'000;

    /// Given back when it goes.
    class Turn final
    {
    public:
        explicit Turn(TransferSpeed &speed)
            : m_speed(speed)
        {
        }
        ~Turn() { m_speed.endTurn(); }
        Q_DISABLE_COPY_MOVE(Turn)

    private:
        TransferSpeed &m_speed;
    };

    /// Bytes per second; 0 sets no limit.
    explicit TransferSpeed(qint64 bytesPerSecond = 0);

    /// Streams keep to it from now on, clients from their next run. Who waits for the old one goes on.
    void setLimit(qint64 bytesPerSecond);
    qint64 limit() const;
    /// Stopped as soon as there is another limit than at this moment.
    std::stop_token untilChange() const;

    /// While there is a limit, waits until nobody else has a turn and what was counted has had its time; first come,
    /// first served. Nothing without a limit. Throws Cancelled when stopped. The turn must not outlive this.
    [[nodiscard]] std::unique_ptr<Turn> takeTurn(const std::stop_token &stop);
    /// What a client has moved since it `began`: if that was too much for the time, the next one waits for the rest.
    void count(qint64 bytes, Clock::time_point began);
    /// Waits until what was counted has had its time, or it is stopped.
    void settle(const std::stop_token &stop);
    /// Waits like `settle`, and counts the next piece of a stream. Throws Cancelled when stopped.
    void pace(qint64 bytes, const std::stop_token &stop);

private:
    void endTurn();
    void charge(qint64 bytes, Clock::time_point began);
    bool isFree() const { return m_limit == 0 || Clock::now() >= m_freeAt; }
    void waitUntilFree(std::unique_lock<std::mutex> &lock, const std::stop_token &stop);

    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    qint64 m_limit;
    std::stop_source m_change;
    /// When all that was counted so far has had its time.
    Clock::time_point m_freeAt = Clock::time_point::min();
    bool m_isTaken = false;
    /// One for each that waits for a turn, in their order.
    std::list<char> m_waiting;
};

} // namespace moorix
