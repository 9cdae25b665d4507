// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalDisk.h"

#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/NativePath.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace moorix::LocalDisk {

namespace {

/// Works relative to open folders and opens no link, so that a folder swapped for a link in the middle leads nowhere.
/// Returns whether all of it is gone.
bool removeAt(int folder, const QByteArray &name, const QString &path, const MayGo &mayGo, const std::stop_token &stop)
{
    throwIfStopped(stop);
    if (mayGo && !mayGo(path))
        return false;
    bool isEmpty = true;
    struct stat status = {};
    if (::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        fail(path, QStringLiteral("could not be deleted"), errno);
    if (S_ISDIR(status.st_mode)) {
        const FileDescriptor inner(::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        // An unreadable folder can still be empty and go as it is.
        if (!inner.isOpen() && ::unlinkat(folder, name.constData(), AT_REMOVEDIR) == 0)
            return true;
        if (!inner.isOpen())
            fail(path, QStringLiteral("could not be opened to delete its contents"), errno);
        const QList<QByteArray> names = namesIn(inner.value(), path);
        for (const QByteArray &child : names)
            isEmpty =
                removeAt(inner.value(), child, Format::join(path, NativePath::text(child)), mayGo, stop) && isEmpty;
    }
    if (!isEmpty)
        return false;
    if (::unlinkat(folder, name.constData(), S_ISDIR(status.st_mode) ? AT_REMOVEDIR : 0) == 0)
        return true;
    // Something has joined it in this very moment.
    if (mayGo && (errno == ENOTEMPTY || errno == EEXIST))
        return false;
    fail(path, QStringLiteral("could not be deleted"), errno);
}

} // namespace

void removeTree(const QString &path, const std::stop_token &stop)
{
    removeTree(path, {}, stop);
}

bool removeTree(const QString &path, const MayGo &mayGo, const std::stop_token &stop)
{
    const QString name = Format::fileName(path);
    if (name.isEmpty() || name == u'.' || name == QStringLiteral(".."))
        fail(path, QStringLiteral("is not deleted: it names no entry of a folder."));
    QByteArray bytes = native(path);
    // The trailing slash a caller may give would make a link stand for the folder it leads to.
    while (bytes.endsWith('/'))
        bytes.chop(1);
    return removeAt(AT_FDCWD, bytes, path, mayGo, stop);
}

} // namespace moorix::LocalDisk
