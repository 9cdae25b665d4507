// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace moorix {

namespace {

constexpr int handledSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// A handler may do little more than write to a pipe; the main thread reads the other end.
int pipeEnds[2] = {-1, -1};

void writeToPipe(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

TerminationSignals::TerminationSignals()
{
    if (::pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false);
        emit terminationRequested();
    });
    struct sigaction action = {};
    action.sa_handler = writeToPipe;
    action.sa_flags = int(SA_RESTART | SA_RESETHAND);
    for (const int signal : handledSignals)
        ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : handledSignals)
        ::signal(signal, SIG_DFL);
    for (int &end : pipeEnds) {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
}

} // namespace moorix
