// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFolder.h"

#include "base/Error.h"
#include "base/Json.h"
#include "platform/AppPaths.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <sys/stat.h>

namespace moorix {

PrivateFolder::PrivateFolder(const QString &prefix)
{
    const QString path = AppPaths::temporaryFolder() + u'/' + prefix + uuidText(newUuid());
    if (::mkdir(QFile::encodeName(path).constData(), 0700) != 0) {
        throw Error(
            QStringLiteral("Storage"),
            QStringLiteral("The temporary folder “%1” could not be made: %2").arg(path, systemErrorText(errno)));
    }
    m_path = path;
}

PrivateFolder::PrivateFolder(PrivateFolder &&other) noexcept
    : m_path(std::exchange(other.m_path, QString()))
{
}

PrivateFolder &PrivateFolder::operator=(PrivateFolder &&other) noexcept
{
    std::swap(m_path, other.m_path);
    return *this;
}

PrivateFolder::~PrivateFolder()
{
    if (!m_path.isEmpty())
        QDir(m_path).removeRecursively();
}

} // namespace moorix
