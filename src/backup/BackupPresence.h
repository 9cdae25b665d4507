// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Whether a local destination is there, which a disk that can be unplugged may not be. Blocking; worker threads.
namespace moorix::backupPresence {

/// The mount point of the file system a folder lies on: "/media/anna/disk".
QString mountPointOf(const QString &folder);

/// Whether there is no such folder, or only the empty place where the disk was: it lies on a file system further up
/// than `usualMountPoint`, which may be empty where none is known.
bool isAbsent(const QString &folder, const QString &usualMountPoint);

} // namespace moorix::backupPresence
