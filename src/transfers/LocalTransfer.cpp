// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/LocalTransfer.h"

#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/LocalCopy.h"
#include "files/LocalDisk.h"

#include <QFileInfo>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;
using LocalDisk::fail;
using LocalDisk::native;

void localTransfer::copyFile(const QString &from, const QString &to, Flush flush,
                             const std::function<void(qint64)> &progress, const std::stop_token &stop)
{
    // Without O_NONBLOCK, opening a fifo would wait for somebody to write into it.
    const FileDescriptor source(::open(native(from).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!source.isOpen() || ::fstat(source.value(), &status) != 0)
        fail(from, u"could not be read"_s, errno);
    if (!S_ISREG(status.st_mode))
        fail(from, u"is neither a file nor a folder and cannot be copied."_s);

    FileDescriptor target(::open(native(to).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!target.isOpen())
        fail(to, u"could not be made"_s, errno);
    if (const int problem = LocalDisk::copyContent(source.value(), target.value(), stop, progress))
        fail(from, u"could not be copied"_s, problem);
    // File systems without modes or times refuse these; the bytes are what must not be lost.
    ::fchmod(target.value(), status.st_mode & 0777);
    const timespec times[] = {status.st_atim, status.st_mtim};
    ::futimens(target.value(), times);
    if (flush == Flush::toDisk && ::fsync(target.value()) != 0)
        fail(to, u"could not be brought to the disk"_s, errno);
    if (target.close() != 0)
        fail(to, u"could not be written to its end"_s, errno);
}

void localTransfer::copyLink(const QString &from, const QString &to)
{
    std::array<char, PATH_MAX> text;
    const ssize_t length = ::readlink(native(from).constData(), text.data(), text.size());
    if (length < 0)
        fail(from, u"could not be read"_s, errno);
    if (::symlink(QByteArray(text.data(), length).constData(), native(to).constData()) != 0)
        fail(to, u"could not be made"_s, errno);
}

bool localTransfer::rename(const QString &from, const QString &to, Existing existing)
{
    int problem = 0;
    if (existing == Existing::refuse)
        problem = LocalDisk::renameWithoutReplacing(native(from), native(to));
    else if (::rename(native(from).constData(), native(to).constData()) != 0)
        problem = errno;
    if (problem != 0 && problem != EXDEV)
        fail(to, u"could not be made"_s, problem);
    return problem == 0;
}

void localTransfer::setModified(const QString &path, const QDateTime &modified)
{
    const qint64 msecs = modified.toMSecsSinceEpoch();
    const timespec time{msecs / 1000, (msecs % 1000) * 1'000'000};
    const timespec times[] = {{0, UTIME_OMIT}, time};
    ::utimensat(AT_FDCWD, native(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

QString localTransfer::resolved(const QString &path)
{
    const QString folder = QFileInfo(Format::parent(path)).canonicalFilePath();
    return Format::join(folder.isEmpty() ? Format::parent(path) : folder, Format::fileName(path));
}

} // namespace moorix
