// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupPresence.h"

#include <QFileInfo>
#include <QStorageInfo>

namespace moorix {

QString backupPresence::mountPointOf(const QString &folder)
{
    return QStorageInfo(folder).rootPath();
}

bool backupPresence::isAbsent(const QString &folder, const QString &usualMountPoint)
{
    if (!QFileInfo(folder).isDir())
        return true;
    const QString mountPoint = mountPointOf(folder);
    return usualMountPoint.size() > mountPoint.size() && usualMountPoint.startsWith(mountPoint);
}

} // namespace moorix
