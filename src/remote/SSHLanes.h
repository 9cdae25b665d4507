// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "remote/SFTPProcessRunner.h"

#include <array>
#include <chrono>
#include <functional>
#include <mutex>
#include <stop_token>

namespace moorix {

/// Further shared connections to a server far away. `sftp` waits for the answer to each step, so that only many clients
/// at once make many small files fast, and one connection takes ten. They are opened as they are needed, with the login
/// of the first one; where the server or the login does not allow them, all clients go over the first. Thread-safe.
class SSHLanes final
{
public:
    static constexpr int connections = 3;
    static constexpr int clientsEach = 8;

    explicit SSHLanes(SFTPProcessRunner &runner);

    /// How many clients the further connections take at the moment; 0 where there are none to be had. May run a child
    /// the first time, to look at the key.
    int room(const SSHLogin &main, const std::stop_token &stop);
    /// Calls `work` with the login of the connection that has the fewest clients, or with `main`.
    void carry(const SSHLogin &main, const std::function<void(const SSHLogin &login)> &work,
               const std::stop_token &stop);
    /// Ends the connections. Blocking; failures are ignored.
    void close() noexcept;

private:
    using Clock = std::chrono::steady_clock;
    struct Connection
    {
        /// Stands for the connection beside the server's own.
        QUuid id;
        int clients = 0;
        /// Held while it is being opened or closed, and guards what follows.
        std::mutex opening;
        bool isOpen = false;
        ServerConnection server;
    };

    Connection &leastBusy();
    bool open(Connection &connection, const SSHLogin &login, const std::stop_token &stop);
    bool isRefused() const;

    SFTPProcessRunner &m_runner;
    mutable std::mutex m_mutex;
    std::array<Connection, connections> m_connections;
    /// Servers that limit their connections do not like to be asked again and again.
    Clock::time_point m_askAgainAt = Clock::time_point::min();
    /// Whether the login needs nobody to touch or type anything; nothing while unknown.
    std::optional<bool> m_isSilent;
};

} // namespace moorix
