// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ConnectionGate.h"

#include "base/Error.h"

#include <algorithm>
#include <chrono>

namespace moorix {

ConnectionGate &ConnectionGate::ofThisProgram()
{
    static ConnectionGate gate;
    return gate;
}

ConnectionGate::Place ConnectionGate::enter(const Door &door, const std::stop_token &stop)
{
    // The shared connection comes up while its first child still runs; nobody tells, so it is looked for.
    constexpr std::chrono::milliseconds lookEvery(25);
    std::unique_lock lock(m_mutex);
    const auto mayEnter = [&] {
        const auto inside = m_inside.constFind(door.name);
        if (m_closed.contains(door.name))
            return false;
        return inside == m_inside.cend() || (inside->running < inside->limit && door.isWarm());
    };
    while (!mayEnter()) {
        if (stop.stop_requested())
            throw Cancelled();
        m_changed.wait_for(lock, stop, lookEvery, mayEnter);
    }
    Inside &inside = m_inside[door.name];
    if (++inside.running == 1)
        inside.limit = door.mostAtOnce;
    return Place(*this, door.name);
}

ConnectionGate::Closure::Closure(ConnectionGate &gate, QString door)
    : m_gate(gate)
    , m_door(std::move(door))
{
    const std::lock_guard lock(m_gate.m_mutex);
    ++m_gate.m_closed[m_door];
}

ConnectionGate::Closure::~Closure()
{
    {
        const std::lock_guard lock(m_gate.m_mutex);
        if (--m_gate.m_closed[m_door] == 0)
            m_gate.m_closed.remove(m_door);
    }
    m_gate.m_changed.notify_all();
}

int ConnectionGate::limitOf(const Door &door) const
{
    const std::lock_guard lock(m_mutex);
    const auto inside = m_inside.constFind(door.name);
    return inside == m_inside.cend() ? door.mostAtOnce : inside->limit;
}

bool ConnectionGate::leaveAsOneTooMany(const QString &door)
{
    const std::lock_guard lock(m_mutex);
    Inside &inside = m_inside[door];
    if (inside.running < 2)
        return false;
    --inside.running;
    inside.limit = std::min(inside.limit, inside.running);
    return true;
}

void ConnectionGate::leave(const QString &door)
{
    {
        const std::lock_guard lock(m_mutex);
        if (--m_inside[door].running == 0)
            m_inside.remove(door);
    }
    m_changed.notify_all();
}

} // namespace moorix
