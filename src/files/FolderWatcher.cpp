// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FolderWatcher.h"

#include "files/NativePath.h"

#include <algorithm>
#include <chrono>

namespace moorix {

namespace {

constexpr std::chrono::milliseconds settlingTime(300);
constexpr std::chrono::milliseconds shortestInterval(1000);

} // namespace

FolderWatcher::FolderWatcher(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &FolderWatcher::schedule);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_sinceLast.start();
        emit changed();
    });
}

void FolderWatcher::watch(const QString &path)
{
    if (path == m_path && !m_watcher.directories().isEmpty())
        return;
    m_path = path;
    m_timer.stop();
    if (!m_watcher.directories().isEmpty())
        m_watcher.removePaths(m_watcher.directories());
    // Qt's watcher addresses folders by their Unicode name only.
    if (!path.isEmpty() && NativePath::isUnicode(path))
        m_watcher.addPath(path);
}

void FolderWatcher::schedule()
{
    if (m_timer.isActive())
        return;
    std::chrono::milliseconds delay = settlingTime;
    if (m_sinceLast.isValid())
        delay = std::max(delay, shortestInterval - std::chrono::milliseconds(m_sinceLast.elapsed()));
    m_timer.start(delay);
}

} // namespace moorix

// Here rather than with all others in one file: a program that uses this class then links no class it does not use.
#include "moc_FolderWatcher.cpp"
