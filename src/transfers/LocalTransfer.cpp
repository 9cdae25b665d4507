// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/LocalTransfer.h"

#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/LocalCopy.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"

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

namespace {

/// Opens the file that takes a copy, and says how much of the copy it holds already.
FileDescriptor openTarget(const QString &path, localTransfer::Start start, qint64 &held)
{
    const int existing = start == localTransfer::Start::fresh ? O_EXCL : O_NOFOLLOW;
    FileDescriptor target(::open(native(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | existing, 0600));
    struct stat status = {};
    if (!target.isOpen() || ::fstat(target.value(), &status) != 0)
        fail(path, u"could not be made"_s, errno);
    held = status.st_size;
    return target;
}

} // namespace

void localTransfer::copyFile(const QString &from, const QString &to, Start start, Flush flush,
                             const std::function<void(qint64)> &progress, const std::stop_token &stop)
{
    // Without O_NONBLOCK, opening a fifo would wait for somebody to write into it.
    const FileDescriptor source(::open(native(from).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!source.isOpen() || ::fstat(source.value(), &status) != 0)
        fail(from, u"could not be read"_s, errno);
    if (!S_ISREG(status.st_mode))
        fail(from, u"is neither a file nor a folder and cannot be copied."_s);

    qint64 held = 0;
    FileDescriptor target = openTarget(to, start, held);
    if (::lseek(source.value(), held, SEEK_SET) < 0 || ::lseek(target.value(), held, SEEK_SET) < 0)
        fail(to, u"could not be continued"_s, errno);
    const auto fromStart = [&progress, held](qint64 bytes) { progress(held + bytes); };
    if (const int problem = LocalDisk::copyContent(source.value(), target.value(), stop, fromStart))
        fail(from, u"could not be copied"_s, problem);
    LocalDisk::copyAttributes(native(from), target.value());
    // File systems without modes or times refuse these; the bytes are what must not be lost.
    ::fchmod(target.value(), status.st_mode & 0777);
    const timespec times[] = {status.st_atim, status.st_mtim};
    ::futimens(target.value(), times);
    if (flush == Flush::toDisk && ::fsync(target.value()) != 0)
        fail(to, u"could not be brought to the disk"_s, errno);
    if (target.close() != 0)
        fail(to, u"could not be written to its end"_s, errno);
}

std::optional<QString> localTransfer::linkTarget(const QString &link)
{
    std::array<char, PATH_MAX> text;
    const ssize_t length = ::readlink(native(link).constData(), text.data(), text.size());
    if (length < 0)
        fail(link, u"could not be read"_s, errno);
    return NativePath::text(QByteArrayView(text.data(), length));
}

void localTransfer::makeLink(const QString &target, const QString &path)
{
    if (::symlink(NativePath::bytes(target).constData(), native(path).constData()) != 0)
        fail(path, u"could not be made"_s, errno);
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

void localTransfer::flush(const QString &path)
{
    const FileDescriptor entry(::open(native(path).constData(), O_RDONLY | O_CLOEXEC));
    if (!entry.isOpen() || ::syncfs(entry.value()) != 0)
        fail(path, u"could not be brought to the disk"_s, errno);
}

void localTransfer::setModified(const QString &path, const QDateTime &modified)
{
    // Before 1970, too, a time is a second and what is to be added to it.
    const qint64 msecs = modified.toMSecsSinceEpoch();
    const qint64 rest = (msecs % 1000 + 1000) % 1000;
    const timespec time{(msecs - rest) / 1000, rest * 1'000'000};
    const timespec times[] = {{0, UTIME_OMIT}, time};
    ::utimensat(AT_FDCWD, native(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

QString localTransfer::resolved(const QString &path)
{
    const QString folder = QFileInfo(Format::parent(path)).canonicalFilePath();
    return Format::join(folder.isEmpty() ? Format::parent(path) : folder, Format::fileName(path));
}

} // namespace moorix
