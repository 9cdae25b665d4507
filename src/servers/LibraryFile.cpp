// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/LibraryFile.h"

#include "base/Clock.h"
#include "base/Error.h"
#include "base/JsonFile.h"

#include <QDir>
#include <QFileInfo>

namespace moorix {

namespace {

/// Far longer than a program needs to write its change, far shorter than a user notices.
constexpr int longestWaitMilliseconds = 40;

} // namespace

LibraryFile::LibraryFile(QString path, Access access, QObject *parent)
    : QObject(parent)
    , m_path(std::move(path))
    , m_access(access)
{
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &LibraryFile::touched);
    watch();
}

std::unique_ptr<QLockFile> LibraryFile::lock() const
{
    if (m_access == Access::readOnly || !QFileInfo::exists(QFileInfo(m_path).absolutePath()))
        return nullptr;
    auto lock = std::make_unique<QLockFile>(m_path + QStringLiteral(".lock"));
    return lock->tryLock(longestWaitMilliseconds) ? std::move(lock) : nullptr;
}

std::optional<ServerLibrary> LibraryFile::readIfChanged()
{
    m_asidePath.clear();
    try {
        std::optional<QByteArray> bytes = jsonFile::read(m_path);
        if (!bytes || bytes == m_known)
            return std::nullopt;
        m_known = std::move(bytes);
        ServerLibrary library = ServerLibrary::decode(*m_known);
        m_isDamagedInPlace = false;
        return library;
    } catch (const Error &) {
        setAside();
        throw;
    }
}

/// A fixed name, without a stamp: of several damaged files the first, which held the most, keeps it.
void LibraryFile::setAside()
{
    const QString aside = QFileInfo(m_path).absolutePath() + QStringLiteral("/servers.corrupt-.json");
    m_isDamagedInPlace = m_access == Access::readOnly || !jsonFile::setAside(m_path, aside);
    if (!m_isDamagedInPlace)
        m_asidePath = aside;
}

void LibraryFile::write(const ServerLibrary &library)
{
    if (m_access == Access::readOnly)
        return;
    if (m_isDamagedInPlace && QFileInfo::exists(m_path)) {
        const QString stamp = systemNow().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz'Z'"));
        const QString aside = QFileInfo(m_path).absolutePath() + QStringLiteral("/servers.corrupt-%1.json").arg(stamp);
        if (!jsonFile::setAside(m_path, aside)) {
            throw Error(QStringLiteral("Storage"),
                        QStringLiteral("Changes to the server library are not saved: the damaged file “%1” could not "
                                       "be moved aside and is not written over.")
                            .arg(m_path));
        }
    }
    m_isDamagedInPlace = false;
    QByteArray bytes = library.encode();
    jsonFile::write(m_path, bytes);
    m_known = std::move(bytes);
    watch();
}

void LibraryFile::watch()
{
    const QString folder = QFileInfo(m_path).absolutePath();
    if (m_watcher.directories().isEmpty() && QFileInfo::exists(folder))
        m_watcher.addPath(folder);
}

} // namespace moorix

#include "moc_LibraryFile.cpp"
