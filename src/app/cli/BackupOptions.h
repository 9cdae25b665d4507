// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCommandLineOption>
#include <QList>

#include <stop_token>

class QCommandLineParser;

namespace moorix {

class CommandContext;
struct BackupJob;

/// The options that describe a backup job.
QList<QCommandLineOption> backupOptions();
/// Changes what the options given say. Throws a UsageError for a value that cannot be meant.
void applyBackupOptions(const QCommandLineParser &parser, BackupJob &job, CommandContext &context);

/// A passphrase from standard input, without the line break behind it. Throws a UsageError when there is none.
QString readPassphrase(const QString &prompt, const std::stop_token &stop);

} // namespace moorix
