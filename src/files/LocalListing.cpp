// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalDisk.h"

#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/NativePath.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace moorix::LocalDisk {

namespace {

/// How many entries are read between two looks at the stop token.
constexpr qsizetype stopInterval = 256;

using Folder = std::unique_ptr<DIR, int (*)(DIR *)>;

struct Entry
{
    /// Where the name begins among all names.
    qsizetype offset;
    unsigned char type;
};

/// All names of a folder in one block, each ended by a zero byte, so that a large folder costs no allocation per name.
struct Entries
{
    QByteArray names;
    QList<Entry> list;

    QByteArrayView name(const Entry &entry) const { return QByteArrayView(names.constData() + entry.offset); }
};

Entries readEntries(DIR *folder, const QString &path, const std::stop_token &stop)
{
    Entries entries;
    for (;;) {
        errno = 0;
        const dirent *entry = ::readdir(folder);
        if (!entry)
            break;
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        entries.list.append({entries.names.size(), entry->d_type});
        entries.names.append(entry->d_name, qsizetype(std::strlen(entry->d_name)) + 1);
        if (entries.list.size() % stopInterval == 0)
            throwIfStopped(stop);
    }
    if (errno != 0)
        fail(path, QStringLiteral("could not be read to its end"), errno);
    return entries;
}

Folder openFolder(int descriptor, const QString &path)
{
    Folder folder(::fdopendir(descriptor), &::closedir);
    if (!folder)
        fail(path, QStringLiteral("could not be opened"), errno);
    return folder;
}

QString sharedPosixString(unsigned mode)
{
    static const auto all = [] {
        std::array<QString, 512> texts;
        for (unsigned bits = 0; bits < texts.size(); ++bits)
            texts[bits] = posixString(bits);
        return texts;
    }();
    return all[mode & 0777];
}

} // namespace

FileItem item(const QString &name, const QString &path, const struct ::statx &status)
{
    FileItem item;
    item.name = name;
    item.path = path;
    item.isDirectory = S_ISDIR(status.stx_mode);
    item.isSymlink = S_ISLNK(status.stx_mode);
    item.size = item.isDirectory ? 0 : qint64(status.stx_size);
    // A UTC date fits into the object itself; a local one would look up the zone for every entry.
    item.modified =
        QDateTime::fromMSecsSinceEpoch(status.stx_mtime.tv_sec * 1000 + status.stx_mtime.tv_nsec / 1000000, Qt::UTC);
    item.permissions = sharedPosixString(status.stx_mode);
    return item;
}

bool leadsToFolder(int folder, const char *name)
{
    struct ::statx status = {};
    return ::statx(folder, name, AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, STATX_TYPE, &status) == 0 &&
           S_ISDIR(status.stx_mode);
}

QList<FileItem> list(const QString &path, const std::stop_token &stop)
{
    const int descriptor = ::open(native(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        fail(path, QStringLiteral("could not be opened"), errno);
    const Folder folder = openFolder(descriptor, path);
    const Entries entries = readEntries(folder.get(), path, stop);
    const QString base = Format::join(path, QString());
    QList<FileItem> items;
    items.reserve(entries.list.size());
    struct ::statx status = {};
    for (const Entry &entry : entries.list) {
        if (items.size() % stopInterval == 0)
            throwIfStopped(stop);
        const QByteArrayView bytes = entries.name(entry);
        const QString name = NativePath::text(bytes);
        if (::statx(descriptor, bytes.data(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                    STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME, &status) == 0) {
            items.append(item(name, base + name, status));
            if (items.last().isSymlink)
                items.last().leadsToFolder = leadsToFolder(descriptor, bytes.data());
        } else {
            FileItem unknown;
            unknown.name = name;
            unknown.path = base + name;
            unknown.isDirectory = entry.type == DT_DIR;
            unknown.isSymlink = entry.type == DT_LNK;
            items.append(unknown);
        }
    }
    return items;
}

QList<QByteArray> namesIn(int folder, const QString &path)
{
    // A descriptor of its own: closedir closes what it was given, and positions are shared between duplicates.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0)
        fail(path, QStringLiteral("could not be opened"), errno);
    const Folder stream = openFolder(own, path);
    const Entries entries = readEntries(stream.get(), path, std::stop_token());
    QList<QByteArray> names;
    names.reserve(entries.list.size());
    for (const Entry &entry : entries.list)
        names.append(entries.name(entry).toByteArray());
    return names;
}

} // namespace moorix::LocalDisk
