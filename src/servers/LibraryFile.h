// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerLibrary.h"

#include <QFileSystemWatcher>
#include <QLockFile>
#include <QObject>

#include <memory>
#include <optional>

namespace moorix {

/// The file of the server library. A window and the command line, or two windows, may use it at the same time: who
/// changes the library locks the file, reads what others have written, and writes the whole. Main thread.
class LibraryFile final : public QObject
{
    Q_OBJECT

public:
    enum class Access { readOnly, readWrite };

    /// With `Access::readOnly` the file is read but never written, moved or locked.
    LibraryFile(QString path, Access access, QObject *parent = nullptr);

    /// Keeps the others out until the lock is let go. Waits for them a few milliseconds at most; one that holds it
    /// longer is not waited for.
    [[nodiscard]] std::unique_ptr<QLockFile> lock() const;

    /// What the file holds, unless that was read or written here before; nothing too when there is no file. Throws an
    /// Error when it cannot be read or decoded. It is then moved aside, now or at the latest before the next write.
    std::optional<ServerLibrary> readIfChanged();
    /// Where the damaged file of the last failed read was moved to; empty when it could not be moved.
    const QString &asidePath() const { return m_asidePath; }

    /// Throws an Error when the file cannot be written, or when a damaged one is in its place and cannot be moved.
    void write(const ServerLibrary &library);

signals:
    /// Something changed in the file's folder.
    void touched();

private:
    void setAside();
    void watch();

    QString m_path;
    Access m_access;
    std::optional<QByteArray> m_known;
    QString m_asidePath;
    bool m_isDamagedInPlace = false;
    QFileSystemWatcher m_watcher;
};

} // namespace moorix
