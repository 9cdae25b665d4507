// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace moorix {

/// A temporary file that only this user can read (0600) and that is gone with the object. It is locked, so that one
/// whose program was killed is told from one in use (PrivateLeftovers). Any thread.
class PrivateFile final
{
public:
    /// Creates the file in the per-user temporary folder, named `prefix` + a fresh UUID + `suffix`, holding
    /// `content`. Throws an Error when it cannot be written; nothing is left behind then.
    explicit PrivateFile(const QString &prefix, const QByteArray &content = {}, const QString &suffix = {});
    PrivateFile(PrivateFile &&other) noexcept;
    PrivateFile &operator=(PrivateFile &&other) noexcept;
    ~PrivateFile();

    const QString &path() const { return m_path; }
    /// Gives the file up: it stays, and locked, until `removeReleased`.
    QString release();
    /// Removes a file that was given up; failures are ignored.
    static void removeReleased(const QString &path) noexcept;

private:
    QString m_path;
    FileDescriptor m_lock;
};

/// Creates `path`, which must not exist, with `content` and exactly the permission bits `mode`; the bits are in
/// force before the first byte is written. Throws an Error and leaves nothing when that fails.
void writeNewPrivateFile(const QString &path, const QByteArray &content, unsigned mode);

} // namespace moorix
