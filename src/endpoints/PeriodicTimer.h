// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"

#include <QTimer>

#include <chrono>

namespace moorix {

/// Calls a function every so often by the clock, so that the time for which the machine slept counts. Main thread.
class PeriodicTimer final
{
public:
    PeriodicTimer(Clock clock, std::chrono::seconds period, std::function<void()> due);

    /// The first call comes after one period, also where it was running already.
    void start();
    void stop() { m_wake.stop(); }
    bool isActive() const { return m_wake.isActive(); }
    /// Looks whether the time has come; happens once a minute by itself.
    void tick();

private:
    Clock m_clock;
    std::chrono::seconds m_period;
    std::function<void()> m_due;
    QDateTime m_next;
    QTimer m_wake;
};

} // namespace moorix
