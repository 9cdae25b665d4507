// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupStaging.h"

#include "base/Error.h"
#include "base/Json.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "platform/AppPaths.h"

#include <QDir>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString prefix = u"moorix-backup-"_s;

/// The folder, locked, unless somebody else holds it, it is no folder of this user's, or it has gone meanwhile.
FileDescriptor lockedFolder(const QString &path)
{
    const QByteArray name = LocalDisk::native(path);
    FileDescriptor folder(::open(name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat opened = {};
    struct stat present = {};
    if (!folder.isOpen() || ::fstat(folder.value(), &opened) != 0 || opened.st_uid != ::geteuid() ||
        ::flock(folder.value(), LOCK_EX | LOCK_NB) != 0 || ::lstat(name.constData(), &present) != 0 ||
        present.st_ino != opened.st_ino)
        folder = FileDescriptor();
    return folder;
}

void removeFolder(const QString &path)
{
    try {
        LocalDisk::removeTree(path, std::stop_token());
    } catch (const Error &) {
        // What is left of it is tried again at the next start.
    }
}

} // namespace

BackupStaging::BackupStaging()
{
    // Between making and locking it, another program that starts may take it for a dead one's.
    while (!m_lock.isOpen()) {
        m_path = AppPaths::temporaryFolder() + u'/' + prefix + uuidText(newUuid());
        if (::mkdir(LocalDisk::native(m_path).constData(), 0700) != 0) {
            throw Error(u"Backup"_s,
                        u"The temporary folder “%1” could not be made: %2"_s.arg(m_path, systemErrorText(errno)));
        }
        m_lock = lockedFolder(m_path);
    }
}

BackupStaging::~BackupStaging()
{
    removeFolder(m_path);
}

int BackupStaging::removeDead()
{
    int count = 0;
    const QDir temporary(AppPaths::temporaryFolder());
    const QStringList names =
        temporary.entryList({prefix + u'*'}, QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks | QDir::Hidden);
    for (const QString &name : names) {
        if (QUuid::fromString(QStringView(name).mid(prefix.size())).isNull())
            continue;
        const QString path = Format::join(temporary.path(), name);
        if (const FileDescriptor lock = lockedFolder(path); lock.isOpen()) {
            removeFolder(path);
            ++count;
        }
    }
    return count;
}

} // namespace moorix
