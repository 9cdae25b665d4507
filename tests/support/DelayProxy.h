// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <thread>

namespace moorix::test {

/// A TCP proxy on a free loopback port that puts a near server far away: every byte, and every new connection, takes
/// its time. The line can stand still or break. Runs in a thread of its own, which ends with the object.
class DelayProxy final
{
public:
    /// With `ftp`, the data connections that an unencrypted control connection agrees on are far away, too.
    enum class Speaks { anything, ftp };

    static constexpr qsizetype wideBytes = 64 * 1024 * 1024;
    static constexpr qsizetype narrowBytes = 16 * 1024;

    /// So many bytes may be on their way at once, in each direction of each connection.
    DelayProxy(quint16 targetPort, std::chrono::milliseconds roundTrip, Speaks speaks = Speaks::anything,
               qsizetype windowBytes = wideBytes);
    /// A line so narrow that there is time to interrupt what goes over it: about 10 MB/s.
    explicit DelayProxy(quint16 targetPort, Speaks speaks = Speaks::anything)
        : DelayProxy(targetPort, std::chrono::milliseconds(2), speaks, narrowBytes)
    {
    }
    ~DelayProxy() = default;
    Q_DISABLE_COPY_MOVE(DelayProxy)

    quint16 port() const { return m_port; }
    /// Bytes no longer arrive, and the connections stay open.
    void stall() { m_isStalled = true; }
    void resume() { m_isStalled = false; }
    /// Closes all connections.
    void cut() { ++m_cuts; }
    /// Bytes that have arrived, in both directions.
    qint64 bytesPassed() const { return m_bytesPassed; }

private:
    class Line;

    quint16 m_port = 0;
    std::atomic<bool> m_isStalled = false;
    std::atomic<int> m_cuts = 0;
    std::atomic<qint64> m_bytesPassed = 0;
    /// Last, so that it ends before what it uses.
    std::jthread m_thread;
};

} // namespace moorix::test
