// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SSHLanes.h"

#include "base/Error.h"
#include "base/Json.h"

#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

constexpr auto pauseAfterRefusal = std::chrono::minutes(1);

} // namespace

SSHLanes::SSHLanes(SFTPProcessRunner &runner)
    : m_runner(runner)
{
    for (Connection &connection : m_connections)
        connection.id = newUuid();
}

int SSHLanes::room(const SSHLogin &main, const std::stop_token &stop)
{
    {
        const std::lock_guard lock(m_mutex);
        if (isRefused())
            return 0;
        if (m_isSilent)
            return *m_isSilent ? connections * clientsEach : 0;
    }
    const bool isSilent = m_runner.logsInSilently(main, stop);
    const std::lock_guard lock(m_mutex);
    m_isSilent = isSilent;
    return isSilent ? connections * clientsEach : 0;
}

void SSHLanes::carry(const SSHLogin &main, const std::function<void(const SSHLogin &)> &work,
                     const std::stop_token &stop)
{
    if (room(main, stop) == 0) {
        work(main);
        return;
    }
    Connection &connection = leastBusy();
    SSHLogin login = main;
    login.server.id = connection.id;
    login.isFurther = true;
    const auto leave = qScopeGuard([&] {
        const std::lock_guard lock(m_mutex);
        --connection.clients;
    });
    work(open(connection, login, stop) ? login : main);
}

SSHLanes::Connection &SSHLanes::leastBusy()
{
    const std::lock_guard lock(m_mutex);
    Connection &found =
        *std::min_element(m_connections.begin(), m_connections.end(),
                          [](const Connection &a, const Connection &b) { return a.clients < b.clients; });
    ++found.clients;
    return found;
}

bool SSHLanes::open(Connection &connection, const SSHLogin &login, const std::stop_token &stop)
{
    const std::lock_guard opening(connection.opening);
    if (connection.isOpen)
        return true;
    {
        const std::lock_guard lock(m_mutex);
        if (isRefused())
            return false;
    }
    SFTPBatch batch;
    batch.commands = {QStringLiteral("pwd")};
    try {
        m_runner.runCommands(login, batch, stop);
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &) {
        if (login.isEnded && *login.isEnded)
            throw;
        // The first connection tells whether the server can be reached at all.
        const std::lock_guard lock(m_mutex);
        m_askAgainAt = Clock::now() + pauseAfterRefusal;
        return false;
    }
    connection.server = login.server;
    connection.isOpen = true;
    return true;
}

bool SSHLanes::isRefused() const
{
    return Clock::now() < m_askAgainAt;
}

void SSHLanes::close() noexcept
{
    for (Connection &connection : m_connections) {
        const std::lock_guard opening(connection.opening);
        if (!std::exchange(connection.isOpen, false))
            continue;
        m_runner.closeMaster(connection.server);
    }
}

} // namespace moorix
