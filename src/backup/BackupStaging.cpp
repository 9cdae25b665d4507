// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupStaging.h"

#include "base/Error.h"
#include "base/Json.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "platform/AppPaths.h"
#include "platform/PrivateLeftovers.h"

#include <QDir>

#include <cerrno>

#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString prefix = u"moorix-backup-"_s;

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
    using PrivateLeftovers::Claim;
    for (Claim claim = Claim::somebodyElses; claim == Claim::somebodyElses;) {
        m_path = AppPaths::temporaryFolder() + u'/' + prefix + uuidText(newUuid());
        if (::mkdir(LocalDisk::native(m_path).constData(), 0700) != 0) {
            throw Error(u"Backup"_s,
                        u"The temporary folder “%1” could not be made: %2"_s.arg(m_path, systemErrorText(errno)));
        }
        claim = PrivateLeftovers::claim(m_path, m_lock);
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
        FileDescriptor lock;
        if (PrivateLeftovers::claim(path, lock) == PrivateLeftovers::Claim::ours) {
            removeFolder(path);
            ++count;
        }
    }
    return count;
}

} // namespace moorix
