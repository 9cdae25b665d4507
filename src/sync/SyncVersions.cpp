// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncVersions.h"

#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "sync/SyncSide.h"
#include "transfers/LocalTransfer.h"

#include <QDir>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString stampFormat = u"yyyyMMdd-HHmmss-zzz"_s;

QString versionsFolder(const QString &root)
{
    return Format::join(Format::join(root, SyncSide::ownFolder), u"versions"_s);
}

} // namespace

SyncVersions::SyncVersions(QString root, const QDateTime &now)
    : m_root(std::move(root))
    , m_folder(Format::join(versionsFolder(m_root), now.toLocalTime().toString(stampFormat)))
{
}

QString SyncVersions::prepare(const QString &relPath) const
{
    const QString version = Format::join(m_folder, relPath);
    LocalFileService().createDirectory(Format::parent(version), {});
    return version;
}

void SyncVersions::keep(const QString &relPath, const std::stop_token &stop) const
{
    const QString path = Format::join(m_root, relPath);
    const QString version = prepare(relPath);
    // A second name costs nothing, and keeps what is written to the file until it is replaced.
    if (::link(LocalDisk::native(path).constData(), LocalDisk::native(version).constData()) == 0)
        return;
    localTransfer::copyFile(path, version, localTransfer::Start::fresh, localTransfer::Flush::toDisk, {}, stop);
}

void SyncVersions::dropUnchanged(const QString &relPath) const
{
    const QByteArray version = LocalDisk::native(Format::join(m_folder, relPath));
    struct stat kept = {};
    struct stat present = {};
    if (::lstat(version.constData(), &kept) == 0 &&
        ::lstat(LocalDisk::native(Format::join(m_root, relPath)).constData(), &present) == 0 &&
        kept.st_dev == present.st_dev && kept.st_ino == present.st_ino)
        ::unlink(version.constData());
}

void SyncVersions::moveAway(const QString &relPath) const
{
    const QString path = Format::join(m_root, relPath);
    const QString version = prepare(relPath);
    const int problem = LocalDisk::renameWithoutReplacing(LocalDisk::native(path), LocalDisk::native(version));
    if (problem != 0)
        LocalDisk::fail(path, u"could not be moved to “%1”"_s.arg(version), problem);
}

void SyncVersions::prune(const QString &root, const QDateTime &now, const std::stop_token &stop)
{
    const QString folder = versionsFolder(root);
    if (!LocalDisk::statusOf(folder))
        return;
    const QList<FileItem> runs = LocalDisk::list(folder, stop);
    for (const FileItem &run : runs) {
        const QDateTime date = QDateTime::fromString(run.name, stampFormat);
        if (run.isDirectory && date.isValid() && date.daysTo(now) > keptDays)
            LocalDisk::removeTree(run.path, stop);
    }
}

} // namespace moorix
