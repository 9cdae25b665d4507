// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace moorix {

/// What a running transfer is told from outside: to pause, to go on, to end. Thread-safe.
class TransferControl final
{
public:
    /// Whether part files stay, for a later run to go on with them.
    enum class Parts { removed, kept };

    TransferControl() = default;
    Q_DISABLE_COPY_MOVE(TransferControl)

    /// Files under way stop where they are.
    void pause();
    void resume();
    /// For good. What is said first about the part files counts.
    void stop(Parts parts);

    bool isStopped() const { return m_stop.stop_requested(); }
    /// After a stop.
    bool keepsParts() const;
    /// Stops when the whole transfer does.
    std::stop_token token() const { return m_stop.get_token(); }
    /// Stops when the transfer is paused, too: for copying a file, which can go on later.
    std::stop_token untilPause() const;
    /// Returns once the transfer is not paused. Throws Cancelled when it is stopped.
    void waitWhilePaused() const;
    /// Throws Cancelled when the transfer is stopped meanwhile.
    void sleep(std::chrono::milliseconds duration) const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable_any m_changed;
    std::stop_source m_stop;
    std::stop_source m_untilPause;
    bool m_isPaused = false;
    bool m_keepsParts = false;
};

} // namespace moorix
