// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/TransferSpeed.h"

#include "base/Error.h"

#include <algorithm>
#include <utility>

namespace moorix {

TransferSpeed::TransferSpeed(qint64 bytesPerSecond)
    : m_limit(bytesPerSecond)
{
}

void TransferSpeed::setLimit(qint64 bytesPerSecond)
{
    std::stop_source change;
    {
        const std::lock_guard lock(m_mutex);
        if (bytesPerSecond == m_limit)
            return;
        m_limit = bytesPerSecond;
        m_freeAt = Clock::time_point::min();
        std::swap(m_change, change);
    }
    m_changed.notify_all();
    change.request_stop();
}

qint64 TransferSpeed::limit() const
{
    const std::lock_guard lock(m_mutex);
    return m_limit;
}

std::stop_token TransferSpeed::untilChange() const
{
    const std::lock_guard lock(m_mutex);
    return m_change.get_token();
}

std::unique_ptr<TransferSpeed::Turn> TransferSpeed::takeTurn(const std::stop_token &stop)
{
    std::unique_lock lock(m_mutex);
    const auto self = m_waiting.insert(m_waiting.end(), char());
    std::unique_ptr<Turn> turn;
    const auto isNext = [&] { return m_limit == 0 || (self == m_waiting.begin() && !m_isTaken); };
    while (!(isNext() && isFree()) && !stop.stop_requested()) {
        m_changed.wait(lock, stop, isNext);
        waitUntilFree(lock, stop);
    }
    const bool isStopped = !(isNext() && isFree());
    if (m_limit > 0 && !isStopped) {
        m_isTaken = true;
        turn = std::make_unique<Turn>(*this);
    }
    m_waiting.erase(self);
    lock.unlock();
    m_changed.notify_all();
    if (isStopped)
        throw Cancelled();
    return turn;
}

void TransferSpeed::endTurn()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isTaken = false;
    }
    m_changed.notify_all();
}

void TransferSpeed::count(qint64 bytes, Clock::time_point began)
{
    const std::lock_guard lock(m_mutex);
    charge(bytes, began);
}

void TransferSpeed::settle(const std::stop_token &stop)
{
    std::unique_lock lock(m_mutex);
    waitUntilFree(lock, stop);
}

void TransferSpeed::pace(qint64 bytes, const std::stop_token &stop)
{
    // What is lost by waking up late is made up for.
    constexpr std::chrono::milliseconds latest(100);
    std::unique_lock lock(m_mutex);
    waitUntilFree(lock, stop);
    if (stop.stop_requested())
        throw Cancelled();
    charge(bytes, Clock::now() - latest);
}

void TransferSpeed::charge(qint64 bytes, Clock::time_point began)
{
    if (m_limit == 0)
        return;
    const std::chrono::duration<double> needed(double(bytes) / double(m_limit));
    m_freeAt = std::max(m_freeAt, began) + std::chrono::duration_cast<Clock::duration>(needed);
}

void TransferSpeed::waitUntilFree(std::unique_lock<std::mutex> &lock, const std::stop_token &stop)
{
    // Somebody else may be counted meanwhile.
    while (!isFree() && !stop.stop_requested()) {
        const Clock::time_point until = m_freeAt;
        m_changed.wait_until(lock, stop, until, [this] { return isFree(); });
    }
}

} // namespace moorix
