// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ConnectionGate.h"

#include "base/Error.h"

#include <chrono>

namespace moorix {

ConnectionGate &ConnectionGate::ofThisProgram()
{
    static ConnectionGate gate;
    return gate;
}

ConnectionGate::Place ConnectionGate::enter(const QString &host, const std::function<bool()> &isWarm,
                                            const std::stop_token &stop)
{
    // The shared connection comes up while its first child still runs; nobody tells, so it is looked for.
    constexpr std::chrono::milliseconds lookEvery(25);
    std::unique_lock lock(m_mutex);
    const auto mayEnter = [&] {
        const int running = m_running.value(host);
        return running == 0 || (running < mostAtOnce && isWarm());
    };
    while (!mayEnter()) {
        if (stop.stop_requested())
            throw Cancelled();
        m_changed.wait_for(lock, stop, lookEvery, mayEnter);
    }
    ++m_running[host];
    return Place(*this, host);
}

void ConnectionGate::leave(const QString &host)
{
    {
        const std::lock_guard lock(m_mutex);
        if (--m_running[host] == 0)
            m_running.remove(host);
    }
    m_changed.notify_all();
}

} // namespace moorix
