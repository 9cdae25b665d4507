// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferGate.h"

#include "base/Error.h"

#include <algorithm>
#include <utility>

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

int TransferGate::lanesForSmall(int lanes)
{
    const std::lock_guard lock(m_mutex);
    return std::clamp(lanes, 1, m_mostAtOnce * lanesPerFile);
}

TransferGate::Place TransferGate::enter(const Servers &servers, const std::stop_token &stop, TransferSpeed *speed)
{
    return enter(Entrant{servers}, stop, speed);
}

TransferGate::Place TransferGate::enterForSmall(const void *server, int lanes, const std::stop_token &stop,
                                                TransferSpeed *speed)
{
    return enter(Entrant{{server}, 1, std::max(1, lanes)}, stop, speed);
}

TransferGate::Place TransferGate::enter(const Entrant &entrant, const std::stop_token &stop, TransferSpeed *speed)
{
    if (auto turn = speed ? speed->takeTurn(stop) : nullptr)
        return Place(*this, std::move(turn));
    std::unique_lock lock(m_mutex);
    const auto self = m_waiting.insert(m_waiting.end(), entrant);
    const auto mayEnter = [&] {
        // A file that only waits for its share of the whole would never get it if lanes kept slipping in.
        return fits(entrant) &&
               std::none_of(m_waiting.begin(), self, [this](const Entrant &other) { return fitsServers(other); });
    };
    const bool entered = m_changed.wait(lock, stop, mayEnter);
    m_waiting.erase(self);
    if (!entered) {
        lock.unlock();
        m_changed.notify_all();
        throw Cancelled();
    }
    m_inside += entrant.weight;
    for (const void *server : entrant.servers) {
        AtServer &at = m_atServers[server];
        ++(entrant.weight == lanesPerFile ? at.files : at.lanes);
        at.most = std::max(at.most, entrant.mostAtServer);
    }
    lock.unlock();
    m_changed.notify_all();
    return Place(*this, entrant);
}

bool TransferGate::fitsServers(const Entrant &entrant) const
{
    return std::all_of(entrant.servers.cbegin(), entrant.servers.cend(), [&](const void *server) {
        const AtServer at = m_atServers.value(server);
        const int ofItsKind = entrant.weight == lanesPerFile ? at.files : at.lanes;
        return ofItsKind < entrant.mostAtServer && at.files + at.lanes < std::max(at.most, entrant.mostAtServer);
    });
}

bool TransferGate::fits(const Entrant &entrant) const
{
    return m_inside + entrant.weight <= m_mostAtOnce * lanesPerFile && fitsServers(entrant);
}

void TransferGate::leave(const Entrant &entrant)
{
    {
        const std::lock_guard lock(m_mutex);
        m_inside -= entrant.weight;
        for (const void *server : entrant.servers) {
            AtServer &at = m_atServers[server];
            --(entrant.weight == lanesPerFile ? at.files : at.lanes);
            if (at.files + at.lanes == 0)
                m_atServers.remove(server);
        }
    }
    m_changed.notify_all();
}

} // namespace moorix
