// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

namespace moorix {

/// How long a transfer has been under way: without pauses, waits for a lost link, and waits for an answer during which
/// nothing moved. One thread at a time.
class TransferStopwatch final
{
public:
    void start();
    void stop();
    /// Something moved.
    void mark();
    /// From now on until `answered` only that counts during which something moves.
    void ask();
    void answered();
    std::chrono::milliseconds elapsed() const { return std::chrono::floor<std::chrono::milliseconds>(m_total); }

private:
    using Time = std::chrono::steady_clock;

    Time::duration m_total{0};
    Time::time_point m_since;
    bool m_isRunning = false;
    bool m_isAsking = false;
};

} // namespace moorix
