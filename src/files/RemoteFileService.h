// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"

#include <QHash>
#include <QStringList>

#include <functional>

namespace moorix {

struct RemoteTransferOptions
{
    /// Gives the copy the source's modification time and mode.
    bool keepsTimes = false;
    /// Called on the worker about every 200 ms with the bytes of the file that have arrived, never more than it holds.
    std::function<void(qint64 bytes)> progress;
    /// Goes on where the target ends, which the caller knows to be the beginning of the source and shorter than it.
    /// A service that cannot do this copies the whole file.
    bool resumes = false;
};

/// A file service on another machine: files travel between its disk and the local one. As plain as the commands below
/// it: a target file is truncated and filled in place. Callers that must not lose a file copy to a part name, check
/// and rename.
class RemoteFileService : public FileService
{
public:
    virtual void download(const QString &remotePath, const QString &toLocal, const RemoteTransferOptions &options,
                          const std::stop_token &stop) = 0;
    virtual void upload(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                        const std::stop_token &stop) = 0;
    /// Copies a whole folder; a target that exists already gets it as a subfolder.
    virtual void downloadRecursive(const QString &remotePath, const QString &toLocal, const std::stop_token &stop) = 0;
    virtual void uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop) = 0;
    virtual void copyRemote(const QString &source, const QString &destination, const std::stop_token &stop) = 0;
    /// Replaces a file that stands at `destination`, in one step where the server can.
    virtual void moveRemote(const QString &source, const QString &destination, const std::stop_token &stop) = 0;
    /// SHA-256 of each file that can be read, computed there and asked for in one go. Nothing where the server cannot.
    virtual std::optional<QHash<QString, QByteArray>> checksums(const QStringList & /*paths*/,
                                                                const std::stop_token & /*stop*/)
    {
        return std::nullopt;
    }

    /// Throws what every operation on this path would throw because no command can carry its name. Asks nobody.
    virtual void requireAddressable(const QString & /*path*/) const {}

    // A folder as one tar archive. False, with nothing done, where the server cannot.

    /// Makes the folder, which must not exist, and unpacks into it what `next` gives until it gives nothing.
    virtual bool unpackArchive(const QString & /*folder*/, const std::function<QByteArray()> & /*next*/,
                               const std::stop_token & /*stop*/)
    {
        return false;
    }
    /// Packs all that lies in the folder, under names relative to it.
    virtual bool packArchive(const QString & /*folder*/, const std::function<void(QByteArrayView)> & /*take*/,
                             const std::stop_token & /*stop*/)
    {
        return false;
    }

    /// Makes a symbolic link. False where the server has none.
    virtual bool createLink(const QString & /*target*/, const QString & /*path*/, const std::stop_token & /*stop*/)
    {
        return false;
    }
    /// The text of a symbolic link; nothing where the server does not tell.
    virtual std::optional<QString> linkTarget(const QString & /*path*/, const std::stop_token & /*stop*/)
    {
        return std::nullopt;
    }
};

} // namespace moorix
