// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QByteArray>
#include <QList>

#include <stop_token>

namespace moorix {

/// Whether a listing must contain names that begin with a dot. `asTheSourceDoes` is cheaper where the source leaves
/// them out; sources that always list them ignore the request.
enum class HiddenFiles { asTheSourceDoes, included };

enum class Recursive { no, yes };

/// The operations every place that holds files offers. All block: they are called on worker threads only, from several
/// at once, and end with Cancelled soon after a stop is requested. They throw a FileServiceError, or the local
/// service an Error with the system's sentence.
class FileService
{
public:
    virtual ~FileService() = default;

    virtual void connect(const std::stop_token &stop) = 0;
    virtual void disconnect() noexcept = 0;
    /// The folder a fresh pane opens on.
    virtual QString defaultDirectory(const std::stop_token &stop) = 0;
    /// Entries of one folder, in the order the source gives them.
    virtual QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) = 0;
    /// Makes a folder.
    virtual void createDirectory(const QString &path, const std::stop_token &stop) = 0;
    /// Removes a file, a link (never what it points to), or a folder with all its contents. Nothing goes to the bin.
    virtual void remove(const FileItem &item, const std::stop_token &stop) = 0;
    /// Gives the item a new name in the same folder.
    virtual void rename(const FileItem &item, const QString &newName, const std::stop_token &stop) = 0;
    virtual QByteArray read(const QString &path, const std::stop_token &stop) = 0;
    /// Creates or replaces a file with the bytes.
    virtual void write(const QByteArray &data, const QString &path, const std::stop_token &stop) = 0;
    /// `octal` is octal digits such as "755".
    virtual void setPermissions(const QString &path, const QString &octal, Recursive recursive,
                                const std::stop_token &stop) = 0;

    /// What stands at `path` itself (a link is not followed), or nothing. Where the source has no cheaper way, a
    /// folder comes back without date and permissions.
    virtual std::optional<FileItem> stat(const QString &path, const std::stop_token &stop) = 0;
    /// What a symbolic link leads to, with the path as reached through the link. Throws when it cannot be resolved.
    virtual FileItem followLink(const FileItem &link, const std::stop_token &stop) = 0;
    /// Copies a file or folder tree to exactly `toPath`, within this service. Fails if something stands there.
    virtual void copy(const FileItem &item, const QString &toPath, const std::stop_token &stop) = 0;
    /// Moves to exactly `toPath`, within this service. Fails if something stands there.
    virtual void move(const FileItem &item, const QString &toPath, const std::stop_token &stop) = 0;
    /// Bytes free for this user where `path` lies, or nothing when the source cannot tell.
    virtual std::optional<qint64> freeSpace(const QString &path, const std::stop_token &stop) = 0;
};

} // namespace moorix
