// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace moorix {

class PseudoTerminal;

/// Reads a pseudo-terminal on a thread of its own: the system hands out 4 KiB at a time and the program waits for each,
/// so it goes on printing here while what it printed before is interpreted and painted. Holds some 320 KiB at most;
/// while nobody takes them the program waits. All but its thread is for the one that made it.
class PTYReader final
{
public:
    /// The terminal must outlive the reader and not be read by anyone else. Throws an Error when the system has no
    /// thread or no descriptors to give.
    explicit PTYReader(const PseudoTerminal &terminal);
    /// Never waits for the program. What was not taken is gone.
    ~PTYReader();
    PTYReader(const PTYReader &) = delete;
    PTYReader &operator=(const PTYReader &) = delete;

    /// Readable from when something comes, or nothing can come any more, until `take` has found nothing.
    int descriptor() const { return m_signal.value(); }
    /// Replaces `bytes` by all that has come; empty where that is nothing. Never blocks.
    void take(std::vector<char> &bytes);
    /// All has been taken, and no more will come.
    bool hasEnded() const { return m_isOver; }
    /// The program has ended: what it printed is read, others that have the terminal open are not waited for.
    void readToEnd();

private:
    void run();
    bool wait();
    bool put(const char *bytes, std::size_t count, bool isLast);

    const PseudoTerminal &m_terminal;
    FileDescriptor m_signal;
    FileDescriptor m_wakeUp;
    std::mutex m_mutex;
    std::condition_variable m_room;
    /// The four are under the lock.
    std::vector<char> m_bytes;
    bool m_hasLast = false;
    bool m_isStopped = false;
    bool m_readsToEnd = false;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace moorix
