// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferGate.h"

#include "base/Error.h"

#include <algorithm>

namespace moorix {

TransferGate::TransferGate(int mostAtOnce)
    : m_mostAtOnce(std::max(1, mostAtOnce))
{
}

void TransferGate::setMostAtOnce(int count)
{
    {
        const std::lock_guard lock(m_mutex);
        m_mostAtOnce = std::max(1, count);
    }
    m_changed.notify_all();
}

int TransferGate::lanesOfOneServer()
{
    const std::lock_guard lock(m_mutex);
    return std::min(m_mostAtOnce, mostPerServer);
}

TransferGate::Place TransferGate::enter(const Servers &servers, const std::stop_token &stop)
{
    std::unique_lock lock(m_mutex);
    const auto self = m_waiting.insert(m_waiting.end(), servers);
    const auto mayEnter = [&] {
        return fits(servers) &&
               std::none_of(m_waiting.begin(), self, [this](const Servers &other) { return fits(other); });
    };
    const bool entered = m_changed.wait(lock, stop, mayEnter);
    m_waiting.erase(self);
    if (!entered) {
        lock.unlock();
        m_changed.notify_all();
        throw Cancelled();
    }
    ++m_inside;
    for (const void *server : servers)
        ++m_perServer[server];
    lock.unlock();
    m_changed.notify_all();
    return Place(*this, servers);
}

bool TransferGate::fits(const Servers &servers) const
{
    return m_inside < m_mostAtOnce && std::all_of(servers.cbegin(), servers.cend(), [this](const void *server) {
               return m_perServer.value(server) < mostPerServer;
           });
}

void TransferGate::leave(const Servers &servers)
{
    {
        const std::lock_guard lock(m_mutex);
        --m_inside;
        for (const void *server : servers) {
            if (--m_perServer[server] == 0)
                m_perServer.remove(server);
        }
    }
    m_changed.notify_all();
}

} // namespace moorix
