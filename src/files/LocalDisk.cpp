// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalDisk.h"

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "base/Json.h"
#include "files/Format.h"
#include "files/NativePath.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <tuple>

namespace moorix::LocalDisk {

namespace {

constexpr unsigned wantedFields = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_NLINK | STATX_INO;

/// Takes the name at `to` with an empty entry of our own, which rename(2) then replaces in one step.
int renameOverClaim(const QByteArray &from, const QByteArray &to)
{
    struct stat source = {};
    if (::lstat(from.constData(), &source) != 0)
        return errno;
    const bool isFolder = S_ISDIR(source.st_mode);
    if (isFolder) {
        if (::mkdir(to.constData(), 0700) != 0)
            return errno;
    } else {
        const FileDescriptor claim(::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!claim.isOpen())
            return errno;
    }
    if (::rename(from.constData(), to.constData()) == 0)
        return 0;
    const int problem = errno;
    if (isFolder)
        ::rmdir(to.constData());
    else
        ::unlink(to.constData());
    return problem;
}

/// Two spellings of one entry: a change of case where the file system ignores case.
bool areOneEntry(const QByteArray &from, const QByteArray &to)
{
    struct stat source = {};
    struct stat target = {};
    return ::lstat(from.constData(), &source) == 0 && ::lstat(to.constData(), &target) == 0 &&
           source.st_dev == target.st_dev && source.st_ino == target.st_ino &&
           (S_ISDIR(source.st_mode) || source.st_nlink == 1);
}

void setModeAt(int folder, const char *name, unsigned mode, const std::stop_token &stop);

void setModesIn(int folder, unsigned mode, const std::stop_token &stop)
{
    QList<QByteArray> names;
    try {
        names = namesIn(folder, QString());
    } catch (const Error &) {
        // A folder that cannot be read is passed over like every failure below the item.
        return;
    }
    for (const QByteArray &name : names)
        setModeAt(folder, name.constData(), mode, stop);
}

/// A failure below the item is passed over.
void tryMode(int folder, const char *name, unsigned mode)
{
    std::ignore = ::fchmodat(folder, name, mode, 0);
}

/// While a folder's contents are changed it stays open to its owner; only then it gets its own mode, which may not let
/// anyone in.
void setModeAt(int folder, const char *name, unsigned mode, const std::stop_token &stop)
{
    throwIfStopped(stop);
    struct stat status = {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(status.st_mode))
        return;
    if (!S_ISDIR(status.st_mode)) {
        tryMode(folder, name, mode);
        return;
    }
    tryMode(folder, name, mode | S_IRWXU);
    const FileDescriptor inner(::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (inner.isOpen())
        setModesIn(inner.value(), mode, stop);
    tryMode(folder, name, mode);
}

} // namespace

void fail(const QString &path, const QString &failure, int errorNumber)
{
    fail(path, failure + QStringLiteral(": ") + systemErrorText(errorNumber) + u'.');
}

void fail(const QString &path, const QString &sentence)
{
    throw Error(QStringLiteral("Local"), QStringLiteral("“%1” %2").arg(Format::display(path), sentence));
}

void throwIfStopped(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw Cancelled();
}

QByteArray native(const QString &path)
{
    if (!path.startsWith(u'/'))
        fail(path, QStringLiteral("is no absolute path."));
    if (path.contains(QChar(u'\0')))
        fail(path, QStringLiteral("is no path: it holds a zero character."));
    return NativePath::bytes(path);
}

QString posixString(unsigned mode)
{
    QString text = QStringLiteral("rwxrwxrwx");
    for (int i = 0; i < 9; ++i) {
        if ((mode & (0400U >> i)) == 0)
            text[i] = u'-';
    }
    return text;
}

std::unique_ptr<struct ::statx> statusOf(const QString &path)
{
    auto status = std::make_unique<struct ::statx>();
    if (::statx(AT_FDCWD, native(path).constData(), AT_SYMLINK_NOFOLLOW, wantedFields, status.get()) == 0)
        return status;
    if (errno == ENOENT || errno == ENOTDIR)
        return nullptr;
    fail(path, QStringLiteral("could not be looked at"), errno);
}

std::unique_ptr<struct ::statx> targetStatusOf(const QString &path)
{
    auto status = std::make_unique<struct ::statx>();
    if (::statx(AT_FDCWD, native(path).constData(), 0, wantedFields, status.get()) != 0)
        fail(path, QStringLiteral("could not be followed"), errno);
    return status;
}

void requireFile(const QString &path)
{
    if (!S_ISREG(targetStatusOf(path)->stx_mode))
        fail(path, QStringLiteral("is neither a file nor a folder and cannot be copied."));
}

int renameWithoutReplacing(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno == EEXIST && areOneEntry(from, to))
        return ::rename(from.constData(), to.constData()) == 0 ? 0 : errno;
    // EINVAL: the file system knows no such flag.
    return errno == EINVAL || errno == ENOSYS ? renameOverClaim(from, to) : errno;
}

void setMode(const QString &path, unsigned mode)
{
    if (::chmod(native(path).constData(), mode) != 0)
        fail(path, QStringLiteral("kept its permissions"), errno);
}

void setModeRecursively(const QString &path, unsigned mode, const std::stop_token &stop)
{
    const auto status = statusOf(path);
    if (!status || !S_ISDIR(status->stx_mode)) {
        setMode(path, mode);
        return;
    }
    setMode(path, mode | S_IRWXU);
    try {
        const FileDescriptor folder(::open(native(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (folder.isOpen())
            setModesIn(folder.value(), mode, stop);
    } catch (const Cancelled &) {
        setMode(path, mode);
        throw;
    }
    setMode(path, mode);
}

QString partPath(const QString &path)
{
    return partPath(path, newUuid());
}

QString partPath(const QString &path, const QUuid &id)
{
    const QString suffix = QStringLiteral(".moorix-") + uuidText(id) + QStringLiteral(".part");
    constexpr qsizetype longestName = 255;
    QString name = Format::fileName(path);
    while (NativePath::bytes(name).size() + suffix.size() + 1 > longestName)
        name.chop(name.size() > 1 && name.back().isLowSurrogate() && name.at(name.size() - 2).isHighSurrogate() ? 2
                                                                                                                : 1);
    return Format::join(Format::parent(path), u'.' + name + suffix);
}

} // namespace moorix::LocalDisk
