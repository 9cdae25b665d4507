// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/ProcessSignals.h"

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "monitor/ProcText.h"
#include "monitor/ProcessTable.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace moorix::processSignals {

using namespace Qt::StringLiterals;

namespace {

int number(Signal signal)
{
    switch (signal) {
    case Signal::terminate:
        return SIGTERM;
    case Signal::kill:
        return SIGKILL;
    case Signal::stop:
        return SIGSTOP;
    case Signal::resume:
        return SIGCONT;
    case Signal::interrupt:
        return SIGINT;
    case Signal::hangUp:
        return SIGHUP;
    }
    return 0;
}

QString whom(const LocalProcess &process)
{
    return u"“%1” (process %2)"_s.arg(process.name).arg(process.pid);
}

[[noreturn]] void fail(const LocalProcess &process, int errorNumber)
{
    if (errorNumber == ESRCH)
        throw Error(u"Monitor"_s, whom(process) + u" has ended already."_s);
    if (errorNumber == EPERM) {
        throw Error(u"Monitor"_s, u"%1 belongs to %2; you may not send it a signal."_s.arg(
                                      whom(process), process.user.isEmpty() ? u"another user"_s : process.user));
    }
    throw Error(u"Monitor"_s, u"%1 could not be sent a signal: %2."_s.arg(whom(process), systemErrorText(errorNumber)));
}

void requireSame(const LocalProcess &process)
{
    QByteArray buffer;
    const QByteArray path = "/proc/" + QByteArray::number(process.pid) + "/stat";
    const auto line = procText::read(AT_FDCWD, path.constData(), buffer);
    const auto stat = line ? ProcessStat::parse(*line) : std::nullopt;
    if (!stat)
        fail(process, ESRCH);
    if (stat->startTime != process.startTime) {
        throw Error(u"Monitor"_s, u"%1 has ended; its number belongs to “%2” by now. Nothing was sent."_s.arg(
                                      whom(process), stat->name));
    }
}

} // namespace

QString name(Signal signal)
{
    switch (signal) {
    case Signal::terminate:
        return u"TERM"_s;
    case Signal::kill:
        return u"KILL"_s;
    case Signal::stop:
        return u"STOP"_s;
    case Signal::resume:
        return u"CONT"_s;
    case Signal::interrupt:
        return u"INT"_s;
    case Signal::hangUp:
        return u"HUP"_s;
    }
    return {};
}

void send(const LocalProcess &process, Signal signal)
{
    // 0 and below would be whole groups of processes.
    if (process.pid <= 0)
        fail(process, ESRCH);
    // Held first and looked at then: what it stands for cannot change any more.
    const FileDescriptor held(int(::syscall(SYS_pidfd_open, pid_t(process.pid), 0)));
    const bool isOldKernel = !held.isOpen() && errno == ENOSYS;
    if (!held.isOpen() && !isOldKernel)
        fail(process, errno);
    requireSame(process);
    const long result = isOldKernel ? ::kill(pid_t(process.pid), number(signal))
                                    : ::syscall(SYS_pidfd_send_signal, held.value(), number(signal), nullptr, 0);
    if (result != 0)
        fail(process, errno);
}

} // namespace moorix::processSignals
