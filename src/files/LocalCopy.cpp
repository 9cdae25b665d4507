// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalCopy.h"

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>

namespace moorix {

using namespace LocalDisk;

namespace {

/// The path with all links in it resolved, or nothing.
std::optional<QByteArray> resolved(const QByteArray &path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr), &std::free);
    return real ? std::optional<QByteArray>(real.get()) : std::nullopt;
}

QByteArray linkTarget(const QString &link)
{
    std::array<char, PATH_MAX> buffer;
    const ssize_t length = ::readlink(native(link).constData(), buffer.data(), buffer.size());
    if (length < 0)
        fail(link, QStringLiteral("could not be read"), errno);
    return QByteArray(buffer.data(), length);
}

/// Set-user-id and set-group-id are kept only where the copy belongs to whom the source belongs to.
mode_t copiedMode(const struct stat &status)
{
    return status.st_uid == ::geteuid() ? status.st_mode & 07777 : status.st_mode & 01777;
}

std::array<timespec, 2> timesOf(const struct stat &status)
{
    return {status.st_atim, status.st_mtim};
}

struct stat statusAt(const QString &path)
{
    struct stat status = {};
    if (::lstat(native(path).constData(), &status) != 0)
        fail(path, QStringLiteral("could not be read"), errno);
    return status;
}

QList<QByteArray> sortedNames(const QString &path)
{
    const FileDescriptor folder(::open(native(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.isOpen())
        fail(path, QStringLiteral("could not be opened"), errno);
    QList<QByteArray> names = namesIn(folder.value(), path);
    std::sort(names.begin(), names.end());
    return names;
}

[[noreturn]] void failChanged(const QString &source)
{
    fail(source, QStringLiteral("changed while it was copied, so the original stays where it is."));
}

void verifyEntry(const QString &source, const QString &target, const std::stop_token &stop)
{
    throwIfStopped(stop);
    const struct stat original = statusAt(source);
    const struct stat copy = statusAt(target);
    bool isSame = (original.st_mode & S_IFMT) == (copy.st_mode & S_IFMT);
    if (isSame && S_ISREG(original.st_mode))
        isSame = original.st_size == copy.st_size;
    else if (isSame && S_ISLNK(original.st_mode))
        isSame = linkTarget(source) == linkTarget(target);
    const bool isFolder = isSame && S_ISDIR(original.st_mode);
    const QList<QByteArray> names = isFolder ? sortedNames(source) : QList<QByteArray>();
    if (!isSame || (isFolder && names != sortedNames(target)))
        failChanged(source);
    for (const QByteArray &name : names) {
        const QString text = NativePath::text(name);
        verifyEntry(Format::join(source, text), Format::join(target, text), stop);
    }
}

} // namespace

LocalCopy::LocalCopy(QString source, QString target, std::stop_token stop)
    : m_source(std::move(source))
    , m_target(std::move(target))
    , m_stop(std::move(stop))
{
    struct stat status = {};
    if (::lstat(native(m_target).constData(), &status) == 0)
        fail(m_target, QStringLiteral("already exists."));
    const auto real = resolved(native(m_source));
    const auto folder = resolved(native(Format::parent(m_target)));
    const bool isFolder = S_ISDIR(statusAt(m_source).st_mode);
    if (isFolder && real && folder && (*folder + '/').startsWith(*real + '/'))
        fail(m_source, QStringLiteral("cannot be placed inside itself."));
}

void LocalCopy::run()
{
    try {
        copyEntry(m_source, m_target);
        finishFolders();
    } catch (...) {
        undo();
        throw;
    }
}

void LocalCopy::verify() const
{
    verifyEntry(m_source, m_target, m_stop);
    for (const Entry &file : m_files) {
        const timespec written = statusAt(file.path).st_mtim;
        if (written.tv_sec != file.status.st_mtim.tv_sec || written.tv_nsec != file.status.st_mtim.tv_nsec)
            failChanged(file.path);
    }
}

void LocalCopy::flush() const
{
    const FileDescriptor folder(
        ::open(native(Format::parent(m_target)).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() || ::syncfs(folder.value()) != 0)
        fail(m_target, QStringLiteral("could not be brought to the disk"), errno);
}

void LocalCopy::copyEntry(const QString &source, const QString &target)
{
    throwIfStopped(m_stop);
    const struct stat status = statusAt(source);
    if (S_ISDIR(status.st_mode))
        copyFolder(source, target, status);
    else if (S_ISLNK(status.st_mode))
        copyLink(source, target, status);
    else if (S_ISREG(status.st_mode))
        copyFile(source, target);
    else
        fail(source, QStringLiteral("is neither a file, a folder nor a link, and cannot be copied."));
}

void LocalCopy::copyFolder(const QString &source, const QString &target, const struct stat &status)
{
    const QList<QByteArray> names = sortedNames(source);
    if (::mkdir(native(target).constData(), 0700) != 0)
        fail(target, QStringLiteral("could not be made"), errno);
    m_made.push_back(native(target));
    m_folders.push_back({target, status});
    for (const QByteArray &name : names) {
        const QString text = NativePath::text(name);
        copyEntry(Format::join(source, text), Format::join(target, text));
    }
}

void LocalCopy::copyLink(const QString &source, const QString &target, const struct stat &status)
{
    if (::symlink(linkTarget(source).constData(), native(target).constData()) != 0)
        fail(target, QStringLiteral("could not be made"), errno);
    m_made.push_back(native(target));
    // A file system without times for links still has the link.
    ::utimensat(AT_FDCWD, native(target).constData(), timesOf(status).data(), AT_SYMLINK_NOFOLLOW);
}

void LocalCopy::copyFile(const QString &source, const QString &target)
{
    // A file swapped for a fifo after the look at it must not block the open.
    const FileDescriptor from(::open(native(source).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!from.isOpen() || ::fstat(from.value(), &status) != 0)
        fail(source, QStringLiteral("could not be read"), errno);
    const QByteArray part = native(partPath(target));
    FileDescriptor to(::open(part.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!to.isOpen())
        fail(target, QStringLiteral("could not be made"), errno);
    m_made.push_back(part);
    if (const int problem = copyContent(from.value(), to.value(), m_stop))
        fail(source, QStringLiteral("could not be copied to “%1”").arg(Format::display(target)), problem);
    copyAttributes(native(source), to.value());
    // File systems without modes or times refuse these; the bytes are what must not be lost.
    ::fchmod(to.value(), copiedMode(status));
    ::futimens(to.value(), timesOf(status).data());
    if (to.close() != 0)
        fail(target, QStringLiteral("could not be written to its end"), errno);
    if (const int problem = renameWithoutReplacing(part, native(target)))
        fail(target, QStringLiteral("could not be made"), problem);
    m_made.back() = native(target);
    m_files.push_back({source, status});
}

void LocalCopy::finishFolders()
{
    for (auto folder = m_folders.crbegin(); folder != m_folders.crend(); ++folder) {
        const QByteArray path = native(folder->path);
        ::chmod(path.constData(), copiedMode(folder->status));
        ::utimensat(AT_FDCWD, path.constData(), timesOf(folder->status).data(), 0);
    }
}

/// Removes entry by entry what was made, never a whole tree: what others put into a new folder in the meantime stays.
void LocalCopy::undo() noexcept
{
    for (auto made = m_made.crbegin(); made != m_made.crend(); ++made) {
        if (::unlink(made->constData()) != 0)
            ::rmdir(made->constData());
    }
}

} // namespace moorix
