// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcessEnvironment>
#include <QStringList>

namespace moorix {

/// What programs in a terminal are started with. Stateless; any thread.
namespace TerminalEnvironment {

/// `own` overlaid by `extra`, as NAME=value each. TERM is always "xterm-256color"; LANG becomes "en_US.UTF-8" only
/// where it is not set.
QStringList environmentArray(QProcessEnvironment own, const QProcessEnvironment &extra);

/// The shell of the user's account in the password database, as a path.
QString accountShell();
/// The account's shell, else that of the SHELL variable, else "/bin/zsh".
QString loginShell(const QString &accountShell, const QString &shellVariable);
/// What a shell is called to make it a login shell: "-zsh" for "/bin/zsh".
QString loginName(const QString &shell);

} // namespace TerminalEnvironment

} // namespace moorix
