// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LocalDisks.h"

#include "monitor/ProcText.h"

#include <QFile>
#include <QSet>

#include <algorithm>

#include <sys/statvfs.h>

namespace moorix::localDisks {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mostMounts = 64;

bool isNetworkType(const QString &type)
{
    static const QSet<QString> types{u"nfs"_s,         u"nfs4"_s,           u"cifs"_s,      u"smb3"_s,
                                     u"9p"_s,          u"ceph"_s,           u"afs"_s,       u"fuse.sshfs"_s,
                                     u"fuse.rclone"_s, u"fuse.glusterfs"_s, u"fuse.s3fs"_s, u"fuse.davfs2"_s};
    return types.contains(type);
}

bool holdsFiles(const LocalDisk &disk)
{
    if (disk.isNetwork || disk.mountPoint == u"/"_s || disk.type == u"zfs"_s)
        return true;
    return disk.source.startsWith(u"/dev/"_s) && disk.type != u"squashfs"_s && disk.type != u"devtmpfs"_s &&
           disk.type != u"iso9660"_s;
}

/// The kernel writes blanks, tabs, line breaks and backslashes as octal digits.
QString unescaped(QByteArrayView word)
{
    QByteArray bytes;
    bytes.reserve(word.size());
    const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (word[i] == '\\' && i + 3 < word.size() && isOctal(word[i + 1]) && isOctal(word[i + 2]) &&
            isOctal(word[i + 3])) {
            bytes += char((word[i + 1] - '0') * 64 + (word[i + 2] - '0') * 8 + (word[i + 3] - '0'));
            i += 3;
        } else {
            bytes += word[i];
        }
    }
    return QFile::decodeName(bytes);
}

std::optional<Mount> parseMount(QByteArrayView line)
{
    using procText::takeWord;
    Mount mount;
    takeWord(line);
    takeWord(line);
    mount.device = QString::fromLatin1(takeWord(line));
    takeWord(line);
    mount.disk.mountPoint = unescaped(takeWord(line));
    // Any number of further fields ends with a dash.
    while (true) {
        const QByteArrayView word = takeWord(line);
        if (word.isEmpty())
            return std::nullopt;
        if (word == "-")
            break;
    }
    mount.disk.type = QString::fromLatin1(takeWord(line));
    mount.disk.source = unescaped(takeWord(line));
    mount.disk.isNetwork = isNetworkType(mount.disk.type);
    return mount;
}

} // namespace

QList<Mount> parseMounts(QByteArrayView mountInfo)
{
    QList<Mount> mounts;
    while (!mountInfo.isEmpty()) {
        const auto mount = parseMount(procText::takeLine(mountInfo));
        if (!mount || !holdsFiles(mount->disk))
            continue;
        // What is mounted later at the same place hides what was there.
        mounts.removeIf([&](const Mount &other) { return other.disk.mountPoint == mount->disk.mountPoint; });
        const auto same = std::find_if(mounts.begin(), mounts.end(), [&](const Mount &other) {
            return other.disk.source == mount->disk.source && other.disk.type == mount->disk.type &&
                   (other.device == mount->device || mount->disk.source.startsWith(u"/dev/"_s));
        });
        if (same == mounts.end())
            mounts << *mount;
        else if (mount->disk.mountPoint.size() < same->disk.mountPoint.size())
            *same = *mount;
    }
    std::sort(mounts.begin(), mounts.end(),
              [](const Mount &a, const Mount &b) { return a.disk.mountPoint < b.disk.mountPoint; });
    return mounts.first(std::min(mounts.size(), mostMounts));
}

QHash<QString, Counters> parseCounters(QByteArrayView diskStats)
{
    using procText::takeWord;
    using procText::unsignedNumber;
    // Whatever the sectors of the device are.
    constexpr quint64 sectorBytes = 512;
    QHash<QString, Counters> all;
    while (!diskStats.isEmpty()) {
        QByteArrayView line = procText::takeLine(diskStats);
        const QByteArrayView major = takeWord(line);
        const QByteArrayView minor = takeWord(line);
        const QByteArrayView name = takeWord(line);
        takeWord(line);
        takeWord(line);
        const quint64 read = unsignedNumber(takeWord(line));
        for (int skipped = 0; skipped < 3; ++skipped)
            takeWord(line);
        const QByteArrayView written = takeWord(line);
        if (written.isEmpty())
            continue;
        const Counters counters{read * sectorBytes, unsignedNumber(written) * sectorBytes};
        all.insert(QString::fromLatin1(major) + u':' + QString::fromLatin1(minor), counters);
        all.insert(QString::fromLatin1(name), counters);
    }
    return all;
}

std::optional<DiskSpace> space(const QString &mountPoint)
{
    struct ::statvfs info = {};
    if (::statvfs(QFile::encodeName(mountPoint).constData(), &info) != 0 || info.f_blocks == 0)
        return std::nullopt;
    const qint64 block = qint64(info.f_frsize);
    DiskSpace space;
    space.total = qint64(info.f_blocks) * block;
    space.used = qint64(info.f_blocks - std::min(info.f_blocks, info.f_bfree)) * block;
    space.available = qint64(info.f_bavail) * block;
    space.inodes = qint64(info.f_files);
    space.inodesUsed = qint64(info.f_files - std::min(info.f_files, info.f_ffree));
    return space;
}

} // namespace moorix::localDisks
