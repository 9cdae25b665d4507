// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"

#include <QCommandLineOption>
#include <QList>
#include <QStringList>

#include <functional>

class QCommandLineParser;

namespace moorix {

class CommandContext;

enum class ExitCode { done = 0, failed = 1, wrongUsage = 2, partly = 3 };

/// The command cannot be meant as it was written.
class UsageError final : public Error
{
public:
    explicit UsageError(const QString &message)
        : Error(QStringLiteral("Usage"), message)
    {
    }
};

/// One verb of the command line.
struct Command
{
    /// One or two words: "ls", "servers add".
    QString name;
    /// As in a usage line: "TARGET [--all]".
    QString arguments;
    QString summary;
    /// Further paragraphs for the help; may be empty.
    QString details;
    /// Without the program's name.
    QStringList examples;
    QList<QCommandLineOption> options;
    int minimumArguments = 0;
    /// Negative: any number.
    int maximumArguments = 0;
    /// Throws an Error when it failed as a whole.
    std::function<ExitCode(const QCommandLineParser &, CommandContext &)> run;
};

/// Every command, in the order of the help.
QList<Command> allCommands();
/// As they are typed: "-a", "--all".
QStringList spellings(const QCommandLineOption &option);

QList<Command> fileCommands();
QList<Command> copyCommands();
QList<Command> diffCommands();
QList<Command> serverCommands();
QList<Command> serverTransferCommands();
QList<Command> configurationCommands();
QList<Command> secretCommands();
QList<Command> syncCommands();
QList<Command> backupCommands();
QList<Command> backupArchiveCommands();
QList<Command> statsCommands();
QList<Command> endpointCommands();

} // namespace moorix
