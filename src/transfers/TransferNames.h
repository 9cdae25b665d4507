// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QString>

#include <functional>

/// Names of files that a transfer writes. Any thread.
namespace moorix::transferNames {

enum class NameSource { localDisk, server };

/// Why an entry of this name must not be written into a folder, or nothing when it may. A server can send any text as
/// a name: one that leads out of the folder is never followed, nor one with control characters.
std::optional<QString> objection(const QString &name, NameSource from);

/// The first of "NAME 2.ext", "NAME 3.ext" … (and "NAME 2.tar.gz") that `isTaken` does not know. A folder's name is not
/// split at a dot.
QString freeName(const FileItem &item, const std::function<bool(const QString &)> &isTaken);

} // namespace moorix::transferNames
