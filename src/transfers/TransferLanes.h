// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace moorix {

/// The threads that one transfer's files travel on, started as they are needed. Tasks must not throw.
class TransferLanes final
{
public:
    static constexpr int most = 32;

    TransferLanes() = default;
    /// Waits for all tasks.
    ~TransferLanes();
    Q_DISABLE_COPY_MOVE(TransferLanes)

    /// Does a task as soon as a lane is free, in the order they come. Tasks may add tasks.
    void add(std::function<void()> task);
    /// Waits until nothing is left to do.
    void finish();

private:
    void work();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks;
    std::vector<std::thread> m_threads;
    int m_busy = 0;
    bool m_isClosing = false;
};

} // namespace moorix
