// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ChildProcess.h"

#include "platform/ProcessRunner.h"
#include "platform/ProcessStart.h"

#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace moorix {

namespace {

constexpr auto grace = std::chrono::milliseconds(100);
constexpr int stepMilliseconds = 2;

struct Pipe
{
    explicit Pipe(const QString &program)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            ProcessStart::fail(program, errno);
        readEnd = FileDescriptor(ends[0]);
        writeEnd = FileDescriptor(ends[1]);
    }
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// The same end of the pipe with flags of its own. A child that makes its error output non-blocking, as ssh does, would
/// otherwise have the output of another one cut off whenever the pipe is full.
FileDescriptor reopened(const FileDescriptor &writeEnd, const QString &program)
{
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(writeEnd.value());
    FileDescriptor again(::open(path.constData(), O_WRONLY | O_CLOEXEC));
    if (again.value() < 0)
        ProcessStart::fail(program, errno);
    return again;
}

void setNonBlocking(const FileDescriptor &descriptor)
{
    ::fcntl(descriptor.value(), F_SETFL, ::fcntl(descriptor.value(), F_GETFL) | O_NONBLOCK);
}

/// What exec needs, made before the fork: the child must not allocate.
struct Launch
{
    QByteArray program;
    ArgumentVector arguments;
    ArgumentVector environment;
    char *const *argumentPointers = nullptr;
    char *const *environmentPointers = nullptr;

    explicit Launch(const ProcessRequest &request)
    {
        const bool isPath = request.program.contains(u'/');
        const QString path = isPath ? request.program : QStandardPaths::findExecutable(request.program);
        program = QFile::encodeName(path.isEmpty() ? request.program : path);
        arguments.append(QFile::encodeName(request.program));
        for (const QString &argument : request.arguments)
            arguments.append(QFile::encodeName(argument));
        argumentPointers = arguments.data();
        if (request.environment) {
            for (const QString &entry : request.environment->toStringList())
                environment.append(QFile::encodeName(entry));
        }
        environmentPointers = request.environment ? environment.data() : environ;
    }
};

/// The child's side of the fork.
void become(const Launch &launch, int input, int output, int error)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    if (::dup2(input, STDIN_FILENO) >= 0 && ::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(error, STDERR_FILENO) >= 0)
        ::execve(launch.program.constData(), launch.argumentPointers, launch.environmentPointers);
}

/// Writing to a child that has stopped reading must be an error, not the end of this program. Done for each child:
/// whoever else handles signals in this program may have put its own handler there.
void ignoreBrokenPipes()
{
    ::signal(SIGPIPE, SIG_IGN);
}

} // namespace

ChildProcess::ChildProcess(const ProcessRequest &request)
{
    ignoreBrokenPipes();
    const Launch launch(request);
    Pipe input(request.program);
    Pipe output(request.program);
    Pipe error(request.program);
    if (request.errorOutput == ErrorOutput::withinOutput)
        error.writeEnd = reopened(output.writeEnd, request.program);
    m_id = ProcessStart::start(request.program, [&] {
        become(launch, input.readEnd.value(), output.writeEnd.value(), error.writeEnd.value());
    });
    m_input = std::move(input.writeEnd);
    m_output = std::move(output.readEnd);
    m_error = std::move(error.readEnd);
    for (const FileDescriptor *end : {&m_input, &m_output, &m_error})
        setNonBlocking(*end);
    m_exitDescriptor = FileDescriptor(int(::syscall(SYS_pidfd_open, m_id, 0)));
}

ChildProcess::~ChildProcess()
{
    if (!exit())
        endGroup();
}

std::optional<ChildProcess::Exit> ChildProcess::exit()
{
    if (m_exit)
        return m_exit;
    int status = 0;
    const pid_t ended = ::waitpid(m_id, &status, WNOHANG);
    if (ended == m_id)
        m_exit = WIFEXITED(status) ? Exit{WEXITSTATUS(status), false} : Exit{WTERMSIG(status), true};
    else if (ended < 0 && errno != EINTR)
        m_exit = Exit{0, true};
    return m_exit;
}

void ChildProcess::waitBriefly()
{
    pollfd wait{m_exit ? -1 : m_exitDescriptor.value(), POLLIN, 0};
    ::poll(&wait, 1, stepMilliseconds);
}

void ChildProcess::endGroup()
{
    ::kill(-m_id, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + grace;
    // The child may be gone while a helper of it is deaf to SIGTERM. A group that has ended cannot be signalled.
    while ((!exit() || ::kill(-m_id, 0) == 0) && std::chrono::steady_clock::now() < deadline)
        waitBriefly();
    ::kill(-m_id, SIGKILL);
    while (!exit())
        waitBriefly();
}

} // namespace moorix
