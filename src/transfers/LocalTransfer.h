// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>
#include <stop_token>

/// Single files on the local disk, with what the file service does not offer: progress, a stop in the middle, and
/// renames that either never or always replace. Blocking; worker threads. All throw an Error with the system's words.
namespace moorix::localTransfer {

enum class Flush { no, toDisk };
enum class Existing { refuse, replace };
enum class Start {
    /// Nothing stands at the target.
    fresh,
    /// What stands there, if anything, is the beginning of the source.
    resumed
};

/// Copies the bytes, permission bits, extended attributes and modification time of a regular file to `to`. Leaves what
/// it wrote when it fails or is stopped: the caller removes it or goes on later. Throws when `from` is not a regular
/// file.
void copyFile(const QString &from, const QString &to, Start start, Flush flush,
              const std::function<void(qint64 bytes)> &progress, const std::stop_token &stop);

/// The text of a symbolic link.
std::optional<QString> linkTarget(const QString &link);
/// Makes `path` a symbolic link.
void makeLink(const QString &target, const QString &path);

/// Renames in one step. Returns false, having done nothing, when the two lie on different file systems.
[[nodiscard]] bool rename(const QString &from, const QString &to, Existing existing);

/// Waits until all that was written to the file system of `path` has reached the disk.
void flush(const QString &path);

/// Sets the modification time of a folder, or of a link itself; where that is not possible nothing happens.
void setModified(const QString &path, const QDateTime &modified);

/// `path` with every symbolic link but the last component resolved, for telling whether two paths are one place.
QString resolved(const QString &path);

} // namespace moorix::localTransfer
