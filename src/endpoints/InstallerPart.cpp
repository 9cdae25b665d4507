// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/InstallerPart.h"

#include "base/Error.h"
#include "base/Json.h"
#include "endpoints/InstallerDownload.h"
#include "platform/PrivateLeftovers.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void removeLeftovers(const QDir &folder)
{
    static const QRegularExpression ownName(
        u"\\A\\.moorix-update-[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.part\\z"_s);
    const QStringList names = folder.entryList({u".moorix-update-*.part"_s}, QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        FileDescriptor lock;
        const QString path = folder.filePath(name);
        if (ownName.match(name).hasMatch() && PrivateLeftovers::claim(path, lock) == PrivateLeftovers::Claim::ours)
            QFile::remove(path);
    }
}

/// Returns 0, or why not; EEXIST where something lies there.
int renameWithoutReplacing(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // The file system knows no such flag: an empty file of ours holds the name until it is replaced.
    const FileDescriptor claim(::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!claim.isOpen())
        return errno;
    if (::rename(from.constData(), to.constData()) == 0)
        return 0;
    const int problem = errno;
    ::unlink(to.constData());
    return problem;
}

} // namespace

InstallerPart::InstallerPart(const QString &folder)
    : m_folder(folder)
{
    if (!QDir().mkpath(folder))
        throw Error(u"Moorix.Update"_s, u"The folder %1 could not be made."_s.arg(folder));
    removeLeftovers(QDir(folder));
    m_path = QFile::encodeName(u"%1/.moorix-update-%2.part"_s.arg(folder, uuidText(newUuid())));
    m_file = FileDescriptor(::open(m_path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!m_file.isOpen())
        fail(errno);
    // Where the file system has no locks, leftovers are not looked for either.
    ::flock(m_file.value(), LOCK_EX | LOCK_NB);
}

InstallerPart::~InstallerPart()
{
    if (m_file.isOpen())
        ::unlink(m_path.constData());
}

void InstallerPart::fail(int errorNumber) const
{
    throw Error(u"Moorix.Update"_s,
                u"The installer could not be written to %1: %2."_s.arg(m_folder, systemErrorText(errorNumber)));
}

void InstallerPart::reserve(qint64 bytes) const
{
    struct statvfs disk = {};
    if (::fstatvfs(m_file.value(), &disk) != 0)
        return;
    if (bytes > qint64(disk.f_bavail) * qint64(disk.f_frsize))
        fail(ENOSPC);
}

void InstallerPart::write(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(m_file.value(), bytes.data(), std::size_t(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail(errno);
        bytes = bytes.sliced(written);
        m_size += written;
    }
}

QString InstallerPart::takeName(const QString &fileName)
{
    if (::fsync(m_file.value()) != 0)
        fail(errno);
    for (;;) {
        const QString path = InstallerDownload::uniqueDestinationURL(m_folder, fileName);
        const int problem = renameWithoutReplacing(m_path, QFile::encodeName(path));
        // Another file may have taken the name since it was found free.
        if (problem == EEXIST)
            continue;
        if (problem != 0)
            fail(problem);
        m_file.close();
        return path;
    }
}

} // namespace moorix
