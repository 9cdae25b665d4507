// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/TransferProgress.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace moorix::TransferProgress {

namespace {

/// The client reads ahead of what the server has confirmed by at most this much.
constexpr qint64 mostOnItsWayBytes = 2'621'440;

/// Where process `processId` stands in the file it has open, 0 when it has not.
qint64 positionIn(const QString &path, qint64 processId)
{
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(processId));
    const QStringList names = descriptors.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    for (const QString &name : names) {
        if (QFile::symLinkTarget(descriptors.filePath(name)) != path)
            continue;
        QFile info(QStringLiteral("/proc/%1/fdinfo/%2").arg(processId).arg(name));
        if (!info.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray line = info.readLine();
        return line.startsWith("pos:") ? line.mid(4).trimmed().toLongLong() : 0;
    }
    return 0;
}

} // namespace

std::function<void(qint64)> ofDownload(const QString &localPath, const std::function<void(qint64)> &report)
{
    if (!report)
        return nullptr;
    return [localPath, report](qint64) { report(QFileInfo(localPath).size()); };
}

std::function<void(qint64)> ofUpload(const QString &localPath, const std::function<void(qint64)> &report)
{
    if (!report)
        return nullptr;
    const QString path = QFileInfo(localPath).canonicalFilePath();
    // The client closes the file before the last bytes are confirmed: the position is then gone, not zero.
    return [path, report, furthest = qint64(0)](qint64 processId) mutable {
        furthest = std::max(furthest, positionIn(path, processId) - mostOnItsWayBytes);
        report(furthest);
    };
}

} // namespace moorix::TransferProgress
