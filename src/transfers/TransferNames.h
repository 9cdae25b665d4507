// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QString>
#include <QUuid>

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

/// An item like another one, at another path.
FileItem itemAt(const QString &path, FileItem like = {});

/// Where the copy of `source` is written until it may take its name beside it. The same for each run of one transfer,
/// as long as the source keeps its size and time: a part that is found there is the beginning of this file.
QString partPath(const QString &target, const QUuid &transfer, const FileItem &source);
/// The same for a folder that is filled under this name, file by file, and found again by another run.
QString stagePath(const QString &target, const QUuid &transfer, const FileItem &source);
/// Whether an entry is the part file of this transfer, for whatever source.
bool isPart(const QString &name, const QUuid &transfer);

} // namespace moorix::transferNames
