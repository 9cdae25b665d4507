// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QString>

namespace moorix {

/// A temporary folder that only this user can enter (0700) and that is gone, with everything in it, with the object.
/// Locked like a PrivateFile.
class PrivateFolder final
{
public:
    /// Makes the folder `prefix` + a fresh UUID in the per-user temporary folder. Throws an Error when that fails.
    explicit PrivateFolder(const QString &prefix);
    PrivateFolder(PrivateFolder &&other) noexcept;
    PrivateFolder &operator=(PrivateFolder &&other) noexcept;
    ~PrivateFolder();

    const QString &path() const { return m_path; }

private:
    QString m_path;
    FileDescriptor m_lock;
};

} // namespace moorix
