// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupStaging.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace moorix {

class FileService;

/// An archive as a local file: itself, or a copy of one on a server, in a temporary folder that only this user can
/// enter and that is gone with the object. Any thread.
class ArchiveCopy final
{
public:
    /// Bytes done and in all.
    using Progress = std::function<void(qint64 done, qint64 total)>;

    /// Downloads an archive from a server; nothing is copied of a local one. Blocking; worker threads. Throws an Error.
    static std::shared_ptr<const ArchiveCopy> of(FileService &service, const QString &path, const Progress &progress,
                                                 const std::stop_token &stop);

    Q_DISABLE_COPY_MOVE(ArchiveCopy)

    /// Where its bytes can be read.
    const QString &localPath() const { return m_localPath; }
    /// Where the user knows it to be.
    const QString &path() const { return m_path; }
    /// Does work on the local file. An Error of that is thrown with the path that the user knows.
    void work(const std::function<void(const QString &localPath)> &work) const;

private:
    explicit ArchiveCopy(QString path)
        : m_path(std::move(path))
        , m_localPath(m_path)
    {
    }

    QString m_path;
    QString m_localPath;
    std::unique_ptr<BackupStaging> m_staging;
};

} // namespace moorix
