// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferStopwatch.h"

namespace moorix {

void TransferStopwatch::start()
{
    if (!m_isRunning)
        m_since = Time::now();
    m_isRunning = true;
}

void TransferStopwatch::stop()
{
    if (!m_isAsking)
        mark();
    m_isRunning = false;
}

void TransferStopwatch::mark()
{
    if (!m_isRunning)
        return;
    const Time::time_point now = Time::now();
    m_total += now - m_since;
    m_since = now;
}

void TransferStopwatch::ask()
{
    mark();
    m_isAsking = true;
}

void TransferStopwatch::answered()
{
    m_since = Time::now();
    m_isAsking = false;
}

} // namespace moorix
