// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <stop_token>

namespace moorix {

class ProcessRunner;

/// Packs the sources, in their order, into a new archive by the system's zip tool, which follows links. Throws an
/// Error of the domain "Backup" that begins with "zip failed" and holds the tool's words; a stop ends the tool.
/// Blocking; worker threads.
void zip(const QStringList &sources, const QString &to, ProcessRunner &runner, const std::stop_token &stop);

} // namespace moorix
