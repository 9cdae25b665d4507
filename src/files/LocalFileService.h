// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"

namespace moorix {

/// The disks of this machine. Always connected and without state, so any number of threads may call it. Failures are
/// Errors of the domain "Local" in the system's words. Names that are no UTF-8 are addressed exactly (NativePath).
class LocalFileService final : public FileService
{
public:
    bool isConnected() const { return true; }

    void connect(const std::stop_token &stop) override;
    void disconnect() noexcept override;
    /// The user's home folder.
    QString defaultDirectory(const std::stop_token &stop) override;
    /// Always with hidden entries. Sizes of folders are 0.
    QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) override;
    /// Makes missing folders above it too; a folder that is there already is no failure.
    void createDirectory(const QString &path, const std::stop_token &stop) override;
    /// Stops at the first entry that cannot be removed. Never follows links.
    void remove(const FileItem &item, const std::stop_token &stop) override;
    /// Never replaces what stands at the new name.
    void rename(const FileItem &item, const QString &newName, const std::stop_token &stop) override;
    /// Refuses what is no ordinary file; never waits for a fifo or a device.
    QByteArray read(const QString &path, const std::stop_token &stop) override;
    /// Replaces the file in one step once all bytes are on the disk; a failure leaves the old one. Keeps the mode and
    /// the extended attributes of a file that is replaced; through a link, the file it leads to is replaced. A file
    /// with several names is written over instead, so that all of them keep leading to it; while that lasts, and for
    /// good if it is interrupted, a part file beside it holds the new contents.
    void write(const QByteArray &data, const QString &path, const std::stop_token &stop) override;
    /// Follows `path` itself where it is a link. Failures on entries below it are passed over.
    void setPermissions(const QString &path, const QString &octal, Recursive recursive,
                        const std::stop_token &stop) override;
    std::optional<FileItem> stat(const QString &path, const std::stop_token &stop) override;
    FileItem followLink(const FileItem &link, const std::stop_token &stop) override;
    /// Keeps modes and times and copies links as links. Leaves nothing behind when it fails or is stopped.
    void copy(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    /// Between file systems: copies, compares, and only then removes the source.
    void move(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    std::optional<qint64> freeSpace(const QString &path, const std::stop_token &stop) override;

    /// The first bytes of a file, at most `maxBytes`. Refuses what `read` refuses.
    QByteArray readHead(const QString &path, qint64 maxBytes, const std::stop_token &stop);
    /// Puts the entry into the user's bin, from where other programs can restore it.
    void moveToTrash(const QString &path);
};

} // namespace moorix
