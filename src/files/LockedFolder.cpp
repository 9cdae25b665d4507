// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LockedFolder.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>

namespace moorix {

FileDescriptor lockedFolder(const QString &path, WhenLocked whenLocked)
{
    FileDescriptor folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int operation = whenLocked == WhenLocked::wait ? LOCK_EX : LOCK_EX | LOCK_NB;
    if (folder.isOpen() && ::flock(folder.value(), operation) != 0)
        folder.close();
    return folder;
}

} // namespace moorix
