// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/TransferProgress.h"

#include "files/NativePath.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <sys/stat.h>

namespace moorix::TransferProgress {

namespace {

/// The client reads ahead of what the server has confirmed by at most this much.
constexpr qint64 mostOnItsWayBytes = 2'621'440;

/// A client that holds itself back gets its answers soon: a block, and what it sends in a few seconds.
qint64 onItsWay(qint64 bytesPerSecond)
{
    constexpr qint64 blockBytes = 64 * 1024;
    constexpr qint64 seconds = 4;
    return bytesPerSecond > 0 ? std::min(mostOnItsWayBytes, blockBytes + seconds * bytesPerSecond) : mostOnItsWayBytes;
}

} // namespace

qint64 positionIn(const QString &localPath, qint64 processId)
{
    struct ::stat wanted = {};
    if (::stat(NativePath::bytes(localPath).constData(), &wanted) != 0)
        return 0;
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(processId));
    const QStringList names = descriptors.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    for (const QString &name : names) {
        struct ::stat opened = {};
        const bool isIt = ::stat(QFile::encodeName(descriptors.filePath(name)).constData(), &opened) == 0 &&
                          opened.st_dev == wanted.st_dev && opened.st_ino == wanted.st_ino;
        if (!isIt)
            continue;
        QFile info(QStringLiteral("/proc/%1/fdinfo/%2").arg(processId).arg(name));
        if (!info.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray line = info.readLine();
        return line.startsWith("pos:") ? line.mid(4).trimmed().toLongLong() : 0;
    }
    return 0;
}

std::function<void(qint64)> ofDownload(const QString &localPath, const std::function<void(qint64)> &report)
{
    if (!report)
        return nullptr;
    return [localPath, report](qint64) { report(QFileInfo(localPath).size()); };
}

std::function<void(qint64)> ofUpload(const QString &localPath, const std::function<void(qint64)> &report,
                                     qint64 bytesPerSecond)
{
    if (!report)
        return nullptr;
    // The client closes the file before the last bytes are confirmed: the position is then gone, not zero.
    return [localPath, report, ahead = onItsWay(bytesPerSecond), furthest = qint64(0)](qint64 processId) mutable {
        furthest = std::max(furthest, positionIn(localPath, processId) - ahead);
        report(furthest);
    };
}

std::function<void(qint64)> endingStandstill(const std::function<qint64(qint64)> &position,
                                             std::chrono::milliseconds patience, const std::function<void()> &giveUp)
{
    using Clock = std::chrono::steady_clock;
    return [position, patience, giveUp, last = qint64(-1), since = Clock::now()](qint64 processId) mutable {
        if (const qint64 now = position(processId); now != last) {
            last = now;
            since = Clock::now();
        } else if (Clock::now() - since > patience) {
            giveUp();
        }
    };
}

} // namespace moorix::TransferProgress
