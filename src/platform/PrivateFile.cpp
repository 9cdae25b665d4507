// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFile.h"

#include "base/Error.h"
#include "base/Json.h"
#include "platform/AppPaths.h"
#include "platform/PrivateLeftovers.h"

#include <QFile>

#include <cerrno>
#include <map>
#include <mutex>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

namespace {

bool writeAll(int descriptor, const QByteArray &content)
{
    qsizetype written = 0;
    while (written < content.size()) {
        const ssize_t count = ::write(descriptor, content.constData() + written, size_t(content.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}

/// The locks of files that were given up: of those a path is all that is kept.
struct ReleasedLocks
{
    std::mutex mutex;
    std::map<QString, FileDescriptor> locks;
};

ReleasedLocks &releasedLocks()
{
    static ReleasedLocks released;
    return released;
}

} // namespace

void writeNewPrivateFile(const QString &path, const QByteArray &content, unsigned mode)
{
    const QByteArray native = QFile::encodeName(path);
    const int descriptor = ::open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    bool succeeded = descriptor >= 0 && ::fchmod(descriptor, mode) == 0 && writeAll(descriptor, content);
    int problem = errno;
    if (descriptor >= 0 && ::close(descriptor) != 0 && succeeded) {
        succeeded = false;
        problem = errno;
    }
    if (succeeded)
        return;
    if (descriptor >= 0)
        ::unlink(native.constData());
    throw Error(QStringLiteral("Storage"),
                QStringLiteral("The temporary file “%1” could not be written: %2").arg(path, systemErrorText(problem)));
}

PrivateFile::PrivateFile(const QString &prefix, const QByteArray &content, const QString &suffix)
{
    using PrivateLeftovers::Claim;
    // Between making and locking it, another program that starts may take it for a dead one's.
    for (Claim claim = Claim::somebodyElses; claim == Claim::somebodyElses;) {
        const QString path = AppPaths::temporaryFolder() + u'/' + prefix + uuidText(newUuid()) + suffix;
        writeNewPrivateFile(path, content, 0600);
        claim = PrivateLeftovers::claim(path, m_lock);
        m_path = path;
    }
}

PrivateFile::PrivateFile(PrivateFile &&other) noexcept
    : m_path(std::exchange(other.m_path, QString()))
    , m_lock(std::move(other.m_lock))
{
}

PrivateFile &PrivateFile::operator=(PrivateFile &&other) noexcept
{
    // What is replaced goes at once, not with `other`.
    PrivateFile taken(std::move(other));
    std::swap(m_path, taken.m_path);
    std::swap(m_lock, taken.m_lock);
    return *this;
}

PrivateFile::~PrivateFile()
{
    if (!m_path.isEmpty())
        QFile::remove(m_path);
}

QString PrivateFile::release()
{
    ReleasedLocks &released = releasedLocks();
    const std::scoped_lock guard(released.mutex);
    released.locks.insert_or_assign(m_path, std::move(m_lock));
    return std::exchange(m_path, QString());
}

void PrivateFile::removeReleased(const QString &path) noexcept
{
    QFile::remove(path);
    ReleasedLocks &released = releasedLocks();
    const std::scoped_lock guard(released.mutex);
    released.locks.erase(path);
}

} // namespace moorix
