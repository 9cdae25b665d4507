// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferChecksums.h"

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "files/LocalDisk.h"
#include "files/RemoteFileService.h"

#include <QCryptographicHash>
#include <QFile>

#include <fcntl.h>

namespace moorix {

namespace {

/// Empty when the file cannot be read to its end.
QByteArray ofLocalFile(const QString &path, const std::stop_token &stop)
{
    constexpr qint64 chunkBytes = 256 * 1024;
    // Opened by its bytes: the class knows names in UTF-8 only.
    const FileDescriptor descriptor(::open(LocalDisk::native(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    QFile file;
    if (!descriptor.isOpen() || !file.open(descriptor.value(), QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QByteArray chunk(chunkBytes, Qt::Uninitialized);
    qint64 count = 0;
    while ((count = file.read(chunk.data(), chunkBytes)) > 0) {
        if (stop.stop_requested())
            throw Cancelled();
        hash.addData(QByteArrayView(chunk.constData(), count));
    }
    return count < 0 ? QByteArray() : hash.result();
}

} // namespace

std::optional<QHash<QString, QByteArray>> transferChecksums::of(FileService &service, const QStringList &paths,
                                                                const std::stop_token &stop)
{
    if (auto *server = dynamic_cast<RemoteFileService *>(&service))
        return server->checksums(paths, stop);
    QHash<QString, QByteArray> sums;
    for (const QString &path : paths) {
        if (const QByteArray sum = ofLocalFile(path, stop); !sum.isEmpty())
            sums.insert(path, sum);
    }
    return sums;
}

bool transferChecksums::areSame(const QHash<QString, QByteArray> &originals, const QString &original,
                                const QHash<QString, QByteArray> &copies, const QString &copy)
{
    const QByteArray sum = originals.value(original);
    return !sum.isEmpty() && sum == copies.value(copy);
}

} // namespace moorix
