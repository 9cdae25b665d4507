// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <thread>

namespace moorix::test {

/// A TCP proxy on a free loopback port that makes a near server far away: bytes arrive after a delay, not at all, or
/// the line is cut. Runs in a thread of its own, which ends with the object.
class DelayProxy final
{
public:
    explicit DelayProxy(quint16 targetPort);
    ~DelayProxy() = default;
    Q_DISABLE_COPY_MOVE(DelayProxy)

    quint16 port() const { return m_port; }
    /// How long bytes travel in each direction, from now on.
    void setDelay(std::chrono::milliseconds oneWay) { m_delay = oneWay; }
    /// Bytes no longer arrive, and the connections stay open.
    void stall() { m_isStalled = true; }
    void resume() { m_isStalled = false; }
    /// Closes all connections.
    void cut() { ++m_cuts; }
    /// Bytes passed on in both directions.
    qint64 bytesPassed() const { return m_bytesPassed; }

private:
    void serve(const std::stop_token &stop, int listener, quint16 targetPort);

    quint16 m_port = 0;
    std::atomic<std::chrono::milliseconds> m_delay{std::chrono::milliseconds(0)};
    std::atomic<bool> m_isStalled = false;
    std::atomic<int> m_cuts = 0;
    std::atomic<qint64> m_bytesPassed = 0;
    /// Last, so that it ends before what it uses.
    std::jthread m_thread;
};

} // namespace moorix::test
