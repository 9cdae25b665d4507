// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalDisk.h"

#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/LocalCopy.h"
#include "files/NativePath.h"

#include <QList>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace moorix::LocalDisk {

namespace {

/// Where a file at `path` really lies: links are followed, also one that leads to a file that is still to be made.
QString linkResolved(QString path)
{
    constexpr int mostLinks = 40;
    QByteArray target(4096, Qt::Uninitialized);
    for (int i = 0; i < mostLinks; ++i) {
        const ssize_t length = ::readlink(native(path).constData(), target.data(), size_t(target.size()));
        if (length < 0)
            return path;
        const QString text = NativePath::text(QByteArrayView(target.constData(), length));
        path = text.startsWith(u'/') ? text : Format::join(Format::parent(path), text);
    }
    fail(path, QStringLiteral("could not be followed"), ELOOP);
}

/// Writes the part file and makes it the like of the file it is to replace.
void writePart(const QByteArray &part, const QString &path, const QByteArray &data, const QByteArray &file,
               const struct stat *old)
{
    FileDescriptor made(
        ::open(part.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, old ? 0600 : 0666));
    if (!made.isOpen())
        fail(path, QStringLiteral("could not be written"), errno);
    int problem = writeAll(made.value(), data.constData(), data.size());
    if (problem == 0 && old) {
        // Only root can give files away; for everyone else a file of another owner becomes their own.
        const bool keepsOwner = ::fchown(made.value(), old->st_uid, old->st_gid) == 0;
        copyAttributes(file, made.value());
        if (::fchmod(made.value(), old->st_mode & (keepsOwner ? 07777 : 0777)) != 0)
            problem = errno;
    }
    if (problem == 0 && ::fsync(made.value()) != 0)
        problem = errno;
    if (made.close() != 0 && problem == 0)
        problem = errno;
    if (problem != 0)
        fail(path, QStringLiteral("could not be written"), problem);
}

int fill(int file, const QByteArray &data)
{
    const bool isReady = ::lseek(file, 0, SEEK_SET) == 0;
    if (const int problem = isReady ? writeAll(file, data.constData(), data.size()) : errno)
        return problem;
    return ::ftruncate(file, data.size()) == 0 && ::fsync(file) == 0 ? 0 : errno;
}

/// The bytes of an open file; throws in the name of `path`.
QByteArray contentOf(int file, const QString &path)
{
    QByteArray content;
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (;;) {
        const ssize_t count = ::read(file, chunk.data(), size_t(chunk.size()));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(path, QStringLiteral("could not be read"), errno);
        if (count == 0)
            return content;
        content.append(chunk.constData(), count);
    }
}

/// Writes over a file, of which `part` holds the new contents for the case that this is interrupted. Returns false
/// where only the part is whole afterwards.
[[nodiscard]] bool writeOver(const QByteArray &file, const QString &path, const QByteArray &data, int &problem)
{
    const FileDescriptor target(::open(file.constData(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!target.isOpen())
        fail(path, QStringLiteral("could not be written"), errno);
    const QByteArray before = contentOf(target.value(), path);
    problem = fill(target.value(), data);
    return problem == 0 || fill(target.value(), before) == 0;
}

} // namespace

void requireOrdinaryFile(const QString &path, unsigned mode)
{
    if (S_ISDIR(mode))
        fail(path, QStringLiteral("is a folder, not a file."));
    if (!S_ISREG(mode))
        fail(path, QStringLiteral("is no ordinary file."));
}

void writeFile(const QByteArray &data, const QString &path, const std::stop_token &stop)
{
    throwIfStopped(stop);
    const QString real = linkResolved(path);
    const QByteArray file = native(real);
    struct stat old = {};
    const bool exists = ::lstat(file.constData(), &old) == 0;
    if (!exists && errno != ENOENT)
        fail(path, QStringLiteral("could not be written"), errno);
    if (exists) {
        requireOrdinaryFile(path, old.st_mode);
        // The folder would let a write-protected file be replaced all the same.
        if (::access(file.constData(), W_OK) != 0)
            fail(path, QStringLiteral("could not be written"), errno);
    }
    const QString partName = partPath(real);
    const QByteArray part = native(partName);
    bool keepsPart = false;
    try {
        writePart(part, path, data, file, exists ? &old : nullptr);
        throwIfStopped(stop);
        if (exists && old.st_nlink > 1) {
            // Replaced, it would be another file than that of its other names.
            int problem = 0;
            keepsPart = !writeOver(file, path, data, problem);
            if (keepsPart)
                fail(path, QStringLiteral("is damaged, what was to be in it lies in “%1”").arg(partName), problem);
            if (problem != 0)
                fail(path, QStringLiteral("could not be written"), problem);
            ::unlink(part.constData());
        } else if (::rename(part.constData(), file.constData()) != 0) {
            fail(path, QStringLiteral("could not be replaced"), errno);
        } else {
            // Else the new name may be lost with the power, after whatever kept a copy until now has let go of it.
            const FileDescriptor folder(::open(native(Format::parent(real)).constData(), O_RDONLY | O_CLOEXEC));
            ::fsync(folder.value());
        }
    } catch (...) {
        if (!keepsPart)
            ::unlink(part.constData());
        throw;
    }
}

} // namespace moorix::LocalDisk
