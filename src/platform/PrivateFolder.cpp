// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFolder.h"

#include "base/Error.h"
#include "base/Json.h"
#include "platform/AppPaths.h"
#include "platform/PrivateLeftovers.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <sys/stat.h>

namespace moorix {

PrivateFolder::PrivateFolder(const QString &prefix)
{
    using PrivateLeftovers::Claim;
    // Between making and locking it, another program that starts may take it for a dead one's.
    for (Claim claim = Claim::somebodyElses; claim == Claim::somebodyElses;) {
        const QString path = AppPaths::temporaryFolder() + u'/' + prefix + uuidText(newUuid());
        if (::mkdir(QFile::encodeName(path).constData(), 0700) != 0) {
            throw Error(
                QStringLiteral("Storage"),
                QStringLiteral("The temporary folder “%1” could not be made: %2").arg(path, systemErrorText(errno)));
        }
        claim = PrivateLeftovers::claim(path, m_lock);
        m_path = path;
    }
}

PrivateFolder::PrivateFolder(PrivateFolder &&other) noexcept
    : m_path(std::exchange(other.m_path, QString()))
    , m_lock(std::move(other.m_lock))
{
}

PrivateFolder &PrivateFolder::operator=(PrivateFolder &&other) noexcept
{
    std::swap(m_path, other.m_path);
    std::swap(m_lock, other.m_lock);
    return *this;
}

PrivateFolder::~PrivateFolder()
{
    if (!m_path.isEmpty())
        QDir(m_path).removeRecursively();
}

} // namespace moorix
