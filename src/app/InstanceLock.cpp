// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/InstanceLock.h"

#include "platform/AppPaths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Whether nobody else can enter or change the folder.
bool isPrivate(const QString &folder)
{
    struct stat facts = {};
    return ::lstat(QFile::encodeName(folder).constData(), &facts) == 0 && S_ISDIR(facts.st_mode) &&
           facts.st_uid == ::geteuid() && (facts.st_mode & 077) == 0;
}

/// $XDG_RUNTIME_DIR, or a folder of this user's own where the session has none; empty when neither is private.
QString runtimeFolder()
{
    const QString given = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(given) && isPrivate(given))
        return given;
    const QString own = u"%1/moorix-runtime-%2"_s.arg(AppPaths::temporaryFolder()).arg(::geteuid());
    ::mkdir(QFile::encodeName(own).constData(), 0700);
    return isPrivate(own) ? own : QString();
}

} // namespace

InstanceLock::InstanceLock()
{
    const QString folder = runtimeFolder();
    if (folder.isEmpty())
        return;
    const QString documents =
        QDir::cleanPath(AppPaths::applicationSupport()) + u'\n' + QDir::cleanPath(AppPaths::configuration());
    const QByteArray name = QCryptographicHash::hash(documents.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    const QString base = folder + u"/moorix-"_s + QString::fromLatin1(name);
    if (size_t(QFile::encodeName(base + u".socket"_s).size()) >= sizeof(sockaddr_un::sun_path))
        return;
    m_lockPath = base + u".lock"_s;
    m_socketPath = base + u".socket"_s;
}

bool InstanceLock::tryToTake()
{
    if (m_lockPath.isEmpty() || m_lock.isOpen())
        return true;
    const QByteArray path = QFile::encodeName(m_lockPath);
    FileDescriptor lock(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock.isOpen()) {
        m_socketPath.clear();
        return true;
    }
    if (::flock(lock.value(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return false;
        // A file system without locks: the socket may be another window's.
        m_socketPath.clear();
        return true;
    }
    m_lock = std::move(lock);
    note(QByteArray::number(qint64(::getpid())));
    return true;
}

void InstanceLock::noteDeafness(const QString &reason)
{
    note(QByteArray::number(qint64(::getpid())) + '\n' + reason.toUtf8());
}

void InstanceLock::note(const QByteArray &text)
{
    if (!m_lock.isOpen())
        return;
    if (::ftruncate(m_lock.value(), 0) == 0 && ::pwrite(m_lock.value(), text.constData(), size_t(text.size()), 0) < 0) {
        // It is for messages only.
    }
}

std::optional<InstanceLock::Holder> InstanceLock::holder() const
{
    if (m_lockPath.isEmpty() || m_lock.isOpen())
        return std::nullopt;
    const FileDescriptor lock(::open(QFile::encodeName(m_lockPath).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!lock.isOpen() || ::flock(lock.value(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return std::nullopt;
    char text[512] = {};
    const ssize_t length = ::pread(lock.value(), text, sizeof text, 0);
    const QString note = QString::fromUtf8(text, std::max<ssize_t>(length, 0));
    return Holder{note.section(u'\n', 0, 0).toLongLong(), note.section(u'\n', 1)};
}

} // namespace moorix
