// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/PeriodicTimer.h"

namespace moorix {

PeriodicTimer::PeriodicTimer(Clock clock, std::chrono::seconds period, std::function<void()> due)
    : m_clock(std::move(clock))
    , m_period(period)
    , m_due(std::move(due))
{
    m_wake.setTimerType(Qt::VeryCoarseTimer);
    m_wake.setInterval(std::chrono::minutes(1));
    QObject::connect(&m_wake, &QTimer::timeout, &m_wake, [this] { tick(); });
}

void PeriodicTimer::start()
{
    m_next = m_clock().addSecs(m_period.count());
    m_wake.start();
}

void PeriodicTimer::tick()
{
    if (!isActive())
        return;
    const QDateTime now = m_clock();
    const QDateTime latest = now.addSecs(m_period.count());
    // A clock that was set back must not stretch the period.
    if (m_next > latest)
        m_next = latest;
    if (now < m_next)
        return;
    m_next = latest;
    m_due();
}

} // namespace moorix
