// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <atomic>
#include <thread>

namespace moorix::test {

/// A TCP proxy on a free loopback port that puts a near server behind a slow line, which can stand still or break.
/// Runs in a thread of its own, which ends with the object.
class SlowProxy final
{
public:
    explicit SlowProxy(quint16 targetPort);
    ~SlowProxy() = default;
    Q_DISABLE_COPY_MOVE(SlowProxy)

    quint16 port() const { return m_port; }
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
    std::atomic<bool> m_isStalled = false;
    std::atomic<int> m_cuts = 0;
    std::atomic<qint64> m_bytesPassed = 0;
    /// Last, so that it ends before what it uses.
    std::jthread m_thread;
};

} // namespace moorix::test
