// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

#include <QHash>

/// The file systems of this machine and the disks they are on. Nothing here throws; the parsers may be called on any
/// thread.
namespace moorix::localDisks {

/// A mounted file system with the device number by which the kernel counts.
struct Mount
{
    LocalDisk disk;
    /// "8:1".
    QString device;

    bool operator==(const Mount &) const = default;
};

/// Bytes since the machine started.
struct Counters
{
    quint64 read = 0;
    quint64 written = 0;

    bool operator==(const Counters &) const = default;
};

/// Those of /proc/self/mountinfo that hold files of their own: no pseudo file systems, no images of packages, each
/// device once, by its shortest path. Ordered by path.
QList<Mount> parseMounts(QByteArrayView mountInfo);

/// Of /proc/diskstats, by device number and by name ("8:1", "sda1").
QHash<QString, Counters> parseCounters(QByteArrayView diskStats);

/// How full the file system at a path is; nothing when it does not say. Waits as long as the file system does: for a
/// worker of its own.
std::optional<DiskSpace> space(const QString &mountPoint);

} // namespace moorix::localDisks
