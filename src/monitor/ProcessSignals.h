// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

/// Signals to processes of this machine.
namespace moorix::processSignals {

enum class Signal { terminate, kill, stop, resume, interrupt, hangUp };

/// "TERM", as `kill -l` has it.
QString name(Signal signal);

/// Sends a signal to exactly this process and never to a later one that got its number. Throws an Error that says why
/// it was not sent: the process has ended, its number belongs to another by now, or the user may not. Quick, but for
/// worker threads.
void send(const LocalProcess &process, Signal signal);

} // namespace moorix::processSignals
