// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace moorix {

struct Command;

/// The script that completes the program's commands and options in `shell`, which is bash, zsh or fish; nothing for
/// other shells. What is neither is completed as a file.
std::optional<QString> shellCompletion(const QString &shell, const QList<Command> &commands);

} // namespace moorix
