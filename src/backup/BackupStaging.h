// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QString>

namespace moorix {

/// The temporary folder that one run works in: only this user can enter it (0700), it is gone with the object, and it
/// is locked, so that one whose program was killed is told from one in use. Worker threads.
class BackupStaging final
{
public:
    /// Makes "moorix-backup-UUID" in the per-user temporary folder. Throws an Error when that fails.
    BackupStaging();
    Q_DISABLE_COPY_MOVE(BackupStaging)
    ~BackupStaging();

    const QString &path() const { return m_path; }

    /// Removes what programs that no longer run have left. Returns how many folders went.
    static int removeDead();

private:
    QString m_path;
    FileDescriptor m_lock;
};

} // namespace moorix
