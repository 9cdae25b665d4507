// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <stop_token>

namespace moorix {

class ProcessRunner;
struct DiagnosticsApp;
struct DiagnosticsFacts;

/// What an action answers.
struct DiagnosticResult
{
    QString output;
    int exitCode = 0;
};

/// The table of actions that a diagnostics server may ask for by name. Nothing that it sends is ever run or becomes an
/// argument.
namespace DiagnosticActions {

/// Answers an action. Blocking; throws only Cancelled.
using Action = std::function<DiagnosticResult(const std::stop_token &)>;

/// Reads on the main thread, at once, what the action tells of the program; the rest is for a worker. Names that are
/// not in the table, which are shown cut after 200 characters, have the exit code 1.
Action prepare(const QString &name, const DiagnosticsFacts &facts, const DiagnosticsApp &app,
               std::shared_ptr<ProcessRunner> processes);

/// A program with the arguments that it always gets.
struct FixedCommand
{
    QString program;
    QStringList arguments;
};
/// The first of those that this machine has and that succeeds, else the last one's failure. Runs each for at most 20
/// seconds; what it prints beyond 256 KiB is left out, and that is said. A program that is not there, or that took too
/// long, has the exit code 127 or 124, as shells count.
DiagnosticResult runFixedCommand(const QList<FixedCommand> &alternatives, ProcessRunner &processes,
                                 const std::stop_token &stop);

/// One line for each, with no secret, no user and no path.
QString serverLibrarySummary(const DiagnosticsApp &app);
QString activeSessionSummary(const DiagnosticsApp &app);

} // namespace DiagnosticActions

} // namespace moorix
