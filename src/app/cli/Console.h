// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <stop_token>

/// The terminal or the pipes a command talks through. Main thread.
namespace moorix::console {

/// To standard output; on a terminal without control characters.
void print(const QString &text);
void printBytes(const QByteArray &bytes);
/// Throws an Error when something printed did not get out (a full disk behind a redirection).
void flush();
/// One sentence on its own line of standard error, without control characters.
void complain(const QString &sentence);

/// Standard error is a terminal.
bool showsProgress();
/// Replaces the progress line; an empty text removes it.
void showProgress(const QString &line);

/// Somebody can be asked: standard input and standard error are a terminal.
bool canAsk();
/// Asks on standard error and reads one line. Throws Cancelled after a stop or at the end of the input.
QString ask(const QString &question, const std::stop_token &stop);

/// Standard input, of which no more is read than `mostBytes`. Throws Cancelled after a stop.
QByteArray readAll(qsizetype mostBytes, const std::stop_token &stop);
/// The same, but on a terminal one line, not echoed, after `prompt`.
QByteArray readSecret(const QString &prompt, const std::stop_token &stop);

} // namespace moorix::console
