// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TerminalProcess.h"

#include "platform/ProcessStart.h"
#include "platform/PseudoTerminal.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace moorix {

namespace {

/// What exec needs, made before the fork.
struct Prepared
{
    QByteArray program;
    QByteArray folder;
    ArgumentVector arguments;
    ArgumentVector environment;
    char *const *argumentPointers = nullptr;
    char *const *environmentPointers = nullptr;

    explicit Prepared(const TerminalLaunch &launch)
        : program(QFile::encodeName(launch.program))
        , folder(QFile::encodeName(launch.workingFolder))
    {
        arguments.append(QFile::encodeName(launch.executableName.isEmpty() ? launch.program : launch.executableName));
        for (const QString &argument : launch.arguments)
            arguments.append(QFile::encodeName(argument));
        for (const QString &entry : launch.environment)
            environment.append(QFile::encodeName(entry));
        argumentPointers = arguments.data();
        environmentPointers = environment.data();
    }
};

/// Descriptors of libraries that forgot to mark them. They close with exec, so that a failure can still be told.
void closeOthersLater()
{
#ifdef SYS_close_range
    constexpr unsigned closeOnExec = 1U << 2;
    ::syscall(SYS_close_range, unsigned(STDERR_FILENO + 1), ~0U, closeOnExec);
#endif
}

/// The child's side of the fork: only system calls.
void become(const Prepared &prepared, int terminal)
{
    ::setsid();
    if (::ioctl(terminal, TIOCSCTTY, 0) != 0)
        return;
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::dup2(terminal, stream) < 0)
            return;
    }
    closeOthersLater();
    if (prepared.folder.isEmpty() || ::chdir(prepared.folder.constData()) != 0) {
        if (::chdir("/") != 0)
            return;
    }
    for (int signal = 1; signal < NSIG; ++signal)
        ::signal(signal, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execve(prepared.program.constData(), prepared.argumentPointers, prepared.environmentPointers);
}

} // namespace

TerminalProcess::TerminalProcess(const TerminalLaunch &launch, const PseudoTerminal &terminal)
{
    const Prepared prepared(launch);
    m_id = ProcessStart::start(launch.program, [&] { become(prepared, terminal.programEnd()); });
    m_exitDescriptor = FileDescriptor(int(::syscall(SYS_pidfd_open, m_id, 0)));
}

TerminalProcess::~TerminalProcess()
{
    end(0);
}

std::optional<int> TerminalProcess::exit()
{
    if (m_exit)
        return m_exit;
    int status = 0;
    const pid_t ended = ::waitpid(m_id, &status, WNOHANG);
    if (ended == m_id)
        m_exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    else if (ended < 0 && errno != EINTR)
        m_exit = 128;
    return m_exit;
}

void TerminalProcess::hangUp(pid_t foregroundGroup)
{
    if (exit())
        return;
    // A group that was stopped hears nothing before it goes on.
    for (const pid_t group : {m_id, foregroundGroup}) {
        if (group <= 1)
            continue;
        ::kill(-group, SIGHUP);
        ::kill(-group, SIGCONT);
    }
}

void TerminalProcess::kill()
{
    if (!exit())
        ::kill(-m_id, SIGKILL);
}

void TerminalProcess::end(int milliseconds)
{
    constexpr int step = 5;
    for (int waited = 0; waited < milliseconds && !exit(); waited += step)
        ::poll(nullptr, 0, step);
    kill();
    while (!exit())
        ::poll(nullptr, 0, 1);
}

} // namespace moorix
