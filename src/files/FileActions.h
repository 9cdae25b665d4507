// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"

#include <QStringList>

namespace moorix {
class LocalFileService;
}

/// What a pane does to entries through its service, with the rules that services leave open: names are checked, and
/// nothing that is there is ever replaced. All block; worker threads only.
namespace moorix::FileActions {

struct Outcome
{
    /// One sentence for each entry that could not be treated; the others were.
    QStringList failures;
    /// Names, in the folder the action worked in, of entries that are new there.
    QStringList created;
    /// The user has given it up.
    bool isStopped = false;
};

/// Throw when the name is taken or not usable as a name.
Outcome createFolder(FileService &service, const QString &folder, const QString &name, const std::stop_token &stop);
Outcome createFile(FileService &service, const QString &folder, const QString &name, const std::stop_token &stop);
Outcome rename(FileService &service, const FileItem &item, const QString &newName, const std::stop_token &stop);

/// These go on with the other entries when one fails, and throw only Cancelled.
Outcome move(FileService &service, const QList<FileItem> &items, const QString &folder, const std::stop_token &stop);
Outcome remove(FileService &service, const QList<FileItem> &items, const std::stop_token &stop);
Outcome moveToTrash(LocalFileService &disk, const QList<FileItem> &items, const std::stop_token &stop);
/// The copies lie beside their originals, named "a copy.txt", "a copy 2.txt", … by the first free number.
Outcome duplicate(FileService &service, const QList<FileItem> &items, const std::stop_token &stop);
Outcome setPermissions(FileService &service, const QList<FileItem> &items, const QString &octal, Recursive recursive,
                       const std::stop_token &stop);

} // namespace moorix::FileActions
