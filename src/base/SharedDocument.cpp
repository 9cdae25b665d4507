// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/SharedDocument.h"

#include "base/Clock.h"
#include "base/JsonFile.h"

#include <QDir>
#include <QFileInfo>

namespace moorix {

namespace {

/// Far longer than a program needs to write its change, far shorter than a user notices.
constexpr int longestWaitMilliseconds = 40;

} // namespace

SharedDocument::SharedDocument(QString path, QString subject, Access access, QObject *parent)
    : QObject(parent)
    , m_path(std::move(path))
    , m_subject(std::move(subject))
    , m_access(access)
{
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &SharedDocument::touched);
    watch();
}

std::unique_ptr<QLockFile> SharedDocument::lock() const
{
    if (m_access == Access::readOnly || !QFileInfo::exists(QFileInfo(m_path).absolutePath()))
        return nullptr;
    auto lock = std::make_unique<QLockFile>(m_path + QStringLiteral(".lock"));
    return lock->tryLock(longestWaitMilliseconds) ? std::move(lock) : nullptr;
}

bool SharedDocument::readBytes()
{
    m_asidePath.clear();
    std::optional<QByteArray> bytes = jsonFile::read(m_path);
    if (!bytes || bytes == m_known)
        return false;
    m_known = std::move(bytes);
    return true;
}

QString SharedDocument::asidePathFor(const QString &stamp) const
{
    const QFileInfo file(m_path);
    return QStringLiteral("%1/%2.corrupt-%3.json").arg(file.absolutePath(), file.completeBaseName(), stamp);
}

/// A fixed name, without a stamp: of several damaged files the first, which held the most, keeps it.
void SharedDocument::setAside()
{
    const QString aside = asidePathFor({});
    m_isDamagedInPlace = m_access == Access::readOnly || !jsonFile::setAside(m_path, aside);
    if (!m_isDamagedInPlace)
        m_asidePath = aside;
}

void SharedDocument::writeBytes(QByteArray bytes)
{
    if (m_access == Access::readOnly)
        return;
    if (m_isDamagedInPlace && QFileInfo::exists(m_path)) {
        const QString stamp = systemNow().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz'Z'"));
        if (!jsonFile::setAside(m_path, asidePathFor(stamp))) {
            throw Error(QStringLiteral("Storage"),
                        QStringLiteral("Changes to %1 are not saved: the damaged file “%2” could not be moved aside "
                                       "and is not written over.")
                            .arg(m_subject, m_path));
        }
    }
    m_isDamagedInPlace = false;
    jsonFile::write(m_path, bytes);
    m_known = std::move(bytes);
    watch();
}

void SharedDocument::watch()
{
    const QString folder = QFileInfo(m_path).absolutePath();
    if (m_watcher.directories().isEmpty() && QFileInfo::exists(folder))
        m_watcher.addPath(folder);
}

} // namespace moorix

#include "moc_SharedDocument.cpp"
