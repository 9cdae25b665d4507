// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <stop_token>
#include <vector>

#include <sys/stat.h>

namespace moorix {

/// Copies one file, link or folder tree on the local disk to exactly one path where nothing stands yet. What it made
/// is gone again when it fails or is stopped. Modes and times are kept, links are copied as links. Worker threads only.
class LocalCopy final
{
public:
    /// Both paths absolute. Throws when the target exists or lies inside the source.
    LocalCopy(QString source, QString target, std::stop_token stop);

    void run();
    /// After run(): throws unless the copy holds the same entries, of the same kinds, sizes and link targets, and no
    /// file of the source was written to since it was copied.
    void verify() const;
    /// After run(): waits until the copy has reached the disk.
    void flush() const;

private:
    struct Entry
    {
        QString path;
        struct stat status;
    };

    void copyEntry(const QString &source, const QString &target);
    void copyFolder(const QString &source, const QString &target, const struct stat &status);
    void copyLink(const QString &source, const QString &target, const struct stat &status);
    void copyFile(const QString &source, const QString &target);
    void finishFolders();
    void undo() noexcept;

    QString m_source;
    QString m_target;
    std::stop_token m_stop;
    /// In the order they were made, so that undoing backwards finds folders empty.
    std::vector<QByteArray> m_made;
    /// Folders get their mode and times last: a mode may forbid filling them, and filling changes the times.
    std::vector<Entry> m_folders;
    /// The source's files as they were when they were opened.
    std::vector<Entry> m_files;
};

namespace LocalDisk {

/// Fills `target` with the rest of `source`, in the way that costs the file system least. Returns 0 or the errno value;
/// throws Cancelled between two chunks. `progress` is told the bytes copied so far.
int copyContent(int source, int target, const std::stop_token &stop,
                const std::function<void(qint64 bytes)> &progress = {});
/// Gives an open file what another one has beside its mode, access lists among it, as far as this user can.
void copyAttributes(const QByteArray &from, int to);
/// Writes all bytes; returns 0 or the errno value.
int writeAll(int target, const char *bytes, qsizetype count);

} // namespace LocalDisk

} // namespace moorix
