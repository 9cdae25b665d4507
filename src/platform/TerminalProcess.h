// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QStringList>

#include <sys/types.h>

#include <optional>

namespace moorix {

class PseudoTerminal;

/// A program to be started in a terminal. Nothing secret may be in `arguments` or `environment`.
struct TerminalLaunch
{
    /// A path.
    QString program;
    QStringList arguments;
    /// NAME=value each; all that the program gets.
    QStringList environment;
    /// What the program is called in its own arguments; the path when empty.
    QString executableName;
    /// Where that is not possible the program starts in "/", as a login does.
    QString workingFolder;
};

/// A program in a session of its own whose terminal is a PseudoTerminal. It inherits the three standard streams and
/// nothing else: no other descriptor, no ignored or held back signal. One thread.
class TerminalProcess final
{
public:
    /// Throws an Error naming the program when it cannot be started.
    TerminalProcess(const TerminalLaunch &launch, const PseudoTerminal &terminal);
    TerminalProcess(const TerminalProcess &) = delete;
    TerminalProcess &operator=(const TerminalProcess &) = delete;
    /// Kills the program if it has not ended, and waits for that. Whoever minds waiting calls `end` on a worker first.
    ~TerminalProcess();

    pid_t id() const { return m_id; }
    /// Becomes readable when the program ends; -1 where the system has no such thing.
    int exitDescriptor() const { return m_exitDescriptor.value(); }
    /// The exit code, or 128 and the signal's number as shells count, once it has ended. Never blocks.
    std::optional<int> exit();
    /// Tells the program, and the group that has the keyboard, that the terminal is gone.
    void hangUp(pid_t foregroundGroup);
    /// Ends the program and its group for certain.
    void kill();
    /// Blocking: waits up to `milliseconds` for the program to end by itself, then kills it.
    void end(int milliseconds);

private:
    pid_t m_id = -1;
    FileDescriptor m_exitDescriptor;
    std::optional<int> m_exit;
};

} // namespace moorix
