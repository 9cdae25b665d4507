// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"
#include "support/DiskFileService.h"
#include "support/TestTree.h"

#include <QSet>

#include <condition_variable>
#include <mutex>

namespace moorix::test {

/// A file service over a tree of its own that can be told to wait or to fail. Any thread.
class ScriptedFileService final : public DiskFileService<FileService>
{
public:
    struct Entry
    {
        /// Absolute; a trailing slash makes a folder. Folders above it need no entry of their own.
        const char *path;
        const char *content = "";
    };

    ScriptedFileService(std::initializer_list<Entry> entries = {})
    {
        m_root = m_tree.path();
        home = QStringLiteral("/home");
        for (const Entry &entry : entries)
            put(QString::fromUtf8(entry.path), entry.content);
    }

    // The tree, changed behind the back of whoever uses the service.
    void put(const QString &path, const QByteArray &content = {}) const { m_tree.write(path.mid(1), content); }
    void putLink(const QString &path, const QString &target) const { m_tree.link(path.mid(1), onDisk(target)); }
    void drop(const QString &path) { m_disk.remove(*m_disk.stat(onDisk(path), {}), {}); }
    /// Absolute paths, folders with a trailing slash, with contents.
    TreeSnapshot snapshot() const
    {
        TreeSnapshot absolute;
        const TreeSnapshot tree = m_tree.snapshot();
        for (auto entry = tree.cbegin(); entry != tree.cend(); ++entry)
            absolute.insert(u'/' + entry.key(), entry.value());
        return absolute;
    }

    /// Operations on exactly this path throw an Error of this message until the message is empty.
    void failOn(const QString &path, const QString &message)
    {
        const std::lock_guard lock(m_mutex);
        m_failures.insert(path, message);
    }
    /// Operations on exactly this path wait until `release` or until they are stopped.
    void block(const QString &path)
    {
        const std::lock_guard lock(m_mutex);
        m_blocked.insert(path);
    }
    void release(const QString &path)
    {
        const std::lock_guard lock(m_mutex);
        m_blocked.remove(path);
        m_released.notify_all();
    }
    /// Whether somebody waits at a blocked path.
    bool isWaiting(const QString &path) const
    {
        const std::lock_guard lock(m_mutex);
        return m_waiting.contains(path);
    }
    /// How often `path` was listed, with whatever end.
    int listCount(const QString &path) const
    {
        const std::lock_guard lock(m_mutex);
        return m_listCounts.value(path);
    }
    /// An ordinary listing leaves names with a leading dot out. Set before use.
    bool leavesOutDotFiles = false;

    QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) override
    {
        {
            const std::lock_guard lock(m_mutex);
            ++m_listCounts[path];
        }
        QList<FileItem> items = DiskFileService::list(path, hidden, stop);
        if (leavesOutDotFiles && hidden == HiddenFiles::asTheSourceDoes)
            items.removeIf([](const FileItem &item) { return item.name.startsWith(u'.'); });
        return items;
    }

private:
    void enter(const QString &path, const std::stop_token &stop) override
    {
        std::unique_lock lock(m_mutex);
        if (m_blocked.contains(path)) {
            m_waiting.insert(path);
            m_released.wait(lock, stop, [&] { return !m_blocked.contains(path); });
            m_waiting.remove(path);
        }
        if (stop.stop_requested())
            throw Cancelled();
        if (const QString message = m_failures.value(path); !message.isEmpty())
            throw Error(QStringLiteral("Scripted"), message);
    }

    TestTree m_tree;
    mutable std::mutex m_mutex;
    std::condition_variable_any m_released;
    QHash<QString, QString> m_failures;
    QSet<QString> m_blocked;
    QSet<QString> m_waiting;
    QHash<QString, int> m_listCounts;
};

} // namespace moorix::test
