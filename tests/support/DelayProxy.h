// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <chrono>
#include <thread>

namespace moorix::test {

/// A TCP proxy on a free loopback port that puts a near server far away: every byte, and every new connection, takes
/// its time, but any number of bytes may be on their way. Runs in a thread of its own, which ends with the object.
class DelayProxy final
{
public:
    /// With `ftp`, the data connections that an unencrypted control connection agrees on are far away, too.
    enum class Speaks { anything, ftp };

    DelayProxy(quint16 targetPort, std::chrono::milliseconds roundTrip, Speaks speaks = Speaks::anything);
    ~DelayProxy() = default;
    Q_DISABLE_COPY_MOVE(DelayProxy)

    quint16 port() const { return m_port; }

private:
    quint16 m_port = 0;
    /// Last, so that it ends before what it uses.
    std::jthread m_thread;
};

} // namespace moorix::test
