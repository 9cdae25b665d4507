// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>
#include <QUuid>

#include <functional>
#include <memory>
#include <stop_token>

struct statx;

/// What the parts of the local file service share. All block; worker threads only.
namespace moorix::LocalDisk {

/// Throws the local service's Error: “PATH” FAILURE: the system's sentence for `errorNumber`.
[[noreturn]] void fail(const QString &path, const QString &failure, int errorNumber);
/// Throws the local service's Error: “PATH” SENTENCE.
[[noreturn]] void fail(const QString &path, const QString &sentence);
void throwIfStopped(const std::stop_token &stop);

/// The bytes of an absolute path as system calls want them. Throws when it is relative, since the program has no
/// working folder the user knows of, or holds U+0000, which would cut it short.
QByteArray native(const QString &path);

/// "rwxr-xr-x" for the lowest nine bits of `mode`; set-user-id, set-group-id and sticky are not shown.
QString posixString(unsigned mode);

/// What stands at `path` itself, or nothing when nothing does. Throws when the system does not tell.
std::unique_ptr<struct ::statx> statusOf(const QString &path);
/// What `path` leads to when links are followed; throws when that cannot be resolved.
std::unique_ptr<struct ::statx> targetStatusOf(const QString &path);
FileItem item(const QString &name, const QString &path, const struct ::statx &status);

/// Whether the link `name` in an open folder leads to a folder, by what the system knows already: one that leads to a
/// server which is away must not hold up a listing.
bool leadsToFolder(int folder, const char *name);
/// Entries in the order the disk gives them, without "." and "..". An entry whose values cannot be read comes with
/// no more than its name and what the folder itself knows of it.
QList<FileItem> list(const QString &path, const std::stop_token &stop);

/// Throws unless a regular file stands at `path`, or a link to one: a client would wait for ever at the end of a fifo.
void requireFile(const QString &path);

/// Throws unless it is the mode of an ordinary file.
void requireOrdinaryFile(const QString &path, unsigned mode);

/// Creates or replaces a file, see LocalFileService::write.
void writeFile(const QByteArray &data, const QString &path, const std::stop_token &stop);

/// The names in an open folder, as bytes. Throws in the name of `path`. The descriptor stays open.
QList<QByteArray> namesIn(int folder, const QString &path);

/// Moves within one file system and fails with EEXIST, in one step, when something stands at the target, whatever the
/// file system supports. Returns 0 or the errno value.
int renameWithoutReplacing(const QByteArray &from, const QByteArray &to);

/// Removes whatever stands at `path`, folders with their contents, links as such. Stops at the first failure.
void removeTree(const QString &path, const std::stop_token &stop);
/// Asked of each entry before it is looked into or goes, by its path.
using MayGo = std::function<bool(const QString &path)>;
/// The same, but leaves what may not go, and the folders it is in. Returns whether nothing was left.
bool removeTree(const QString &path, const MayGo &mayGo, const std::stop_token &stop);

/// Sets the mode of the item, and of everything below a folder. Failures below it are passed over, links skipped.
void setMode(const QString &path, unsigned mode);
void setModeRecursively(const QString &path, unsigned mode, const std::stop_token &stop);

/// A name in the same folder for a file that is being written: ".NAME.moorix-UUID.part", shortened where the name
/// leaves no room for the rest.
QString partPath(const QString &path);
QString partPath(const QString &path, const QUuid &id);

} // namespace moorix::LocalDisk
