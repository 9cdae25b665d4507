// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalCopy.h"

#include "files/LocalDisk.h"

#include <cerrno>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace moorix::LocalDisk {

namespace {

constexpr qsizetype chunkSize = 1 << 20;
constexpr size_t kernelChunkSize = size_t(8) << 20;

using Progress = std::function<void(qint64)>;

void report(const Progress &progress, qint64 bytes)
{
    if (progress)
        progress(bytes);
}

/// Lets the kernel copy until it has no more or cannot. Whatever it leaves, also of a file that claims to be empty,
/// is read and written by us.
int copyInKernel(int source, int target, const std::stop_token &stop, const Progress &progress, qint64 &done)
{
    for (;;) {
        throwIfStopped(stop);
        const ssize_t count = ::copy_file_range(source, nullptr, target, nullptr, kernelChunkSize, 0);
        if (count > 0) {
            done += count;
            report(progress, done);
        }
        if (count > 0 || (count < 0 && errno == EINTR))
            continue;
        const bool isUnsupported = count == 0 || errno == EXDEV || errno == EINVAL || errno == ENOSYS ||
                                   errno == EOPNOTSUPP || errno == EPERM || errno == EBADF || errno == EOVERFLOW;
        return isUnsupported ? 0 : errno;
    }
}

} // namespace

void copyAttributes(const QByteArray &from, int to)
{
    QByteArray names(64 * 1024, Qt::Uninitialized);
    const ssize_t length = ::llistxattr(from.constData(), names.data(), size_t(names.size()));
    if (length <= 0)
        return;
    names.truncate(length - 1);
    QByteArray value(64 * 1024, Qt::Uninitialized);
    const QList<QByteArray> all = names.split('\0');
    for (const QByteArray &name : all) {
        const ssize_t size = ::lgetxattr(from.constData(), name.constData(), value.data(), size_t(value.size()));
        if (size >= 0)
            ::fsetxattr(to, name.constData(), value.constData(), size_t(size), 0);
    }
}

int writeAll(int target, const char *bytes, qsizetype count)
{
    while (count > 0) {
        const ssize_t written = ::write(target, bytes, size_t(count));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        bytes += written;
        count -= written;
    }
    return 0;
}

int copyContent(int source, int target, const std::stop_token &stop, const Progress &progress)
{
    if (::ioctl(target, FICLONE, source) == 0)
        return 0;
    qint64 done = 0;
    if (const int problem = copyInKernel(source, target, stop, progress, done))
        return problem;
    QByteArray buffer(chunkSize, Qt::Uninitialized);
    for (;;) {
        throwIfStopped(stop);
        const ssize_t count = ::read(source, buffer.data(), size_t(buffer.size()));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? errno : 0;
        if (const int problem = writeAll(target, buffer.constData(), count))
            return problem;
        done += count;
        report(progress, done);
    }
}

} // namespace moorix::LocalDisk
