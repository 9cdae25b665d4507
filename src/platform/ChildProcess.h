// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <optional>

namespace moorix {

struct ProcessRequest;

/// A started child in a process group of its own, with a pipe on each of its three standard streams. It gets SIGTERM
/// when the program dies. One thread.
class ChildProcess final
{
public:
    /// How the child ended.
    struct Exit
    {
        /// The exit code, or the signal's number when `crashed`.
        int code = 0;
        bool crashed = false;
    };

    /// Throws an Error naming the program when it cannot be started.
    explicit ChildProcess(const ProcessRequest &request);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    /// Ends the group if the child has not exited.
    ~ChildProcess();

    pid_t id() const { return m_id; }
    /// Our ends of the pipes; none of them blocks.
    FileDescriptor &standardInput() { return m_input; }
    FileDescriptor &standardOutput() { return m_output; }
    FileDescriptor &standardError() { return m_error; }
    /// Becomes readable when the child exits; -1 where the system has no such thing.
    int exitDescriptor() const { return m_exitDescriptor.value(); }

    /// How the child ended, if it has. Never blocks.
    std::optional<Exit> exit();
    /// Ends the child and its whole group: politely first, after 100 ms for certain.
    void endGroup();

private:
    void waitBriefly();

    pid_t m_id = -1;
    FileDescriptor m_input;
    FileDescriptor m_output;
    FileDescriptor m_error;
    FileDescriptor m_exitDescriptor;
    std::optional<Exit> m_exit;
};

} // namespace moorix
