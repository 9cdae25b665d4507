// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferControl.h"

#include "base/Error.h"

namespace moorix {

void TransferControl::pause()
{
    std::stop_source files;
    {
        const std::lock_guard lock(m_mutex);
        m_isPaused = true;
        files = m_untilPause;
    }
    files.request_stop();
}

void TransferControl::resume()
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isPaused || isStopped())
            return;
        m_isPaused = false;
        m_untilPause = std::stop_source();
    }
    m_changed.notify_all();
}

void TransferControl::stop(Parts parts)
{
    std::stop_source files;
    {
        const std::lock_guard lock(m_mutex);
        if (!isStopped())
            m_keepsParts = parts == Parts::kept;
        files = m_untilPause;
    }
    m_stop.request_stop();
    files.request_stop();
    m_changed.notify_all();
}

bool TransferControl::keepsParts() const
{
    const std::lock_guard lock(m_mutex);
    return m_keepsParts;
}

std::stop_token TransferControl::untilPause() const
{
    const std::lock_guard lock(m_mutex);
    return m_untilPause.get_token();
}

void TransferControl::waitWhilePaused() const
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, m_stop.get_token(), [this] { return !m_isPaused; });
    if (isStopped())
        throw Cancelled();
}

void TransferControl::sleep(std::chrono::milliseconds duration) const
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, m_stop.get_token(), duration, [] { return false; });
    if (isStopped())
        throw Cancelled();
}

} // namespace moorix
