// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <memory>

namespace moorix {
class Keychain;
class ProcessRunner;
} // namespace moorix

/// The program without a window. `arguments` are those of the process, its name first.
namespace moorix::CommandLine {

/// What commands reach the world through.
struct Platform
{
    std::shared_ptr<ProcessRunner> processes;
    std::shared_ptr<Keychain> keychain;
};

/// Whether the arguments ask for a command rather than for the window.
bool isCommand(const QStringList &arguments);

/// Runs the command on the calling thread and returns the exit code: 0 done, 1 failed, 2 wrong usage, 3 finished with
/// some items failed or in conflict. Needs a QCoreApplication, no event loop. SIGINT and SIGTERM cancel.
int run(const QStringList &arguments);
/// The same with other clients and another keychain than the machine's.
int run(const QStringList &arguments, const Platform &platform);

} // namespace moorix::CommandLine
