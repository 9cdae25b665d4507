// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferLanes.h"

#include <utility>

namespace moorix {

TransferLanes::~TransferLanes()
{
    finish();
    {
        const std::lock_guard lock(m_mutex);
        m_isClosing = true;
    }
    m_changed.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void TransferLanes::add(std::function<void()> task)
{
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        if (m_threads.size() < std::size_t(most) && m_busy + m_tasks.size() > m_threads.size())
            m_threads.emplace_back([this] { work(); });
    }
    m_changed.notify_all();
}

void TransferLanes::finish()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_tasks.empty() && m_busy == 0; });
}

void TransferLanes::work()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_isClosing || !m_tasks.empty(); });
        if (m_tasks.empty())
            return;
        {
            const std::function<void()> task = std::exchange(m_tasks.front(), nullptr);
            m_tasks.pop_front();
            ++m_busy;
            lock.unlock();
            task();
        }
        lock.lock();
        --m_busy;
        m_changed.notify_all();
    }
}

} // namespace moorix
