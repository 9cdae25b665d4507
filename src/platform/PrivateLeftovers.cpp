// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateLeftovers.h"

#include "platform/AppPaths.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix::PrivateLeftovers {

namespace {

/// "moorix-", what it is, a UUID, and maybe what the file's reader wants at the end.
const QRegularExpression &ownName()
{
    static const QRegularExpression pattern(
        QStringLiteral("\\Amoorix-(?:[a-z]+-)?[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}(?:\\.sh)?\\z"));
    return pattern;
}

} // namespace

Claim claim(const QString &path, FileDescriptor &lock)
{
    const QByteArray name = QFile::encodeName(path);
    // Neither waits for the other end of a pipe of that name nor makes a terminal ours.
    FileDescriptor entry(::open(name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat opened = {};
    struct stat present = {};
    if (!entry.isOpen())
        return errno == ENOENT || errno == ELOOP || errno == EACCES ? Claim::somebodyElses : Claim::unknown;
    if (::fstat(entry.value(), &opened) != 0 || opened.st_uid != ::geteuid() ||
        !(S_ISREG(opened.st_mode) || S_ISDIR(opened.st_mode)))
        return Claim::somebodyElses;
    if (::flock(entry.value(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? Claim::somebodyElses : Claim::unknown;
    // Whoever had it before may have removed it meanwhile.
    if (::lstat(name.constData(), &present) != 0 || present.st_ino != opened.st_ino || present.st_dev != opened.st_dev)
        return Claim::somebodyElses;
    lock = std::move(entry);
    return Claim::ours;
}

int remove()
{
    int count = 0;
    const QDir temporary(AppPaths::temporaryFolder());
    const QStringList names =
        temporary.entryList({QStringLiteral("moorix-*")},
                            QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot | QDir::NoSymLinks | QDir::Hidden);
    for (const QString &name : names) {
        const QString path = temporary.filePath(name);
        FileDescriptor lock;
        if (ownName().match(name).hasMatch() && claim(path, lock) == Claim::ours)
            count += QFile::remove(path) || QDir(path).removeRecursively() ? 1 : 0;
    }
    return count;
}

} // namespace moorix::PrivateLeftovers
