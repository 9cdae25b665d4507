// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Interrupt.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace moorix {

namespace {

// A signal handler can reach nothing but globals, and may do little more than write to a pipe.
int signalPipe[2] = {-1, -1};

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        ::sigaction(number, nullptr, &before);
        // What nohup has switched off stays so.
        if (number != SIGHUP || before.sa_handler != SIG_IGN)
            ::sigaction(number, &action, nullptr);
    }
}

void passOn(int number)
{
    const int before = errno;
    const char byte = 's';
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    // A terminal that is closed sends it, and its shell does once more.
    ::signal(number, number == SIGHUP ? SIG_IGN : SIG_DFL);
    errno = before;
}

} // namespace

Interrupt::Interrupt()
{
    if (::pipe2(signalPipe, O_CLOEXEC) != 0)
        return;
    m_watcher = std::thread([source = m_source]() mutable {
        char byte = '\0';
        while (::read(signalPipe[0], &byte, 1) < 0 && errno == EINTR) {
        }
        if (byte == 's')
            source.request_stop();
    });
    setHandler(passOn);
}

Interrupt::~Interrupt()
{
    if (!m_watcher.joinable())
        return;
    setHandler(SIG_DFL);
    const char byte = 'e';
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    m_watcher.join();
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
}

} // namespace moorix
