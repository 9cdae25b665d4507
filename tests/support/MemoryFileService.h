// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"

#include <QMap>
#include <QSet>

#include <condition_variable>
#include <initializer_list>
#include <mutex>

namespace moorix::test {

/// A file service over a tree in memory that behaves as a real one does, and can be told to wait or to fail. Any
/// thread.
class MemoryFileService final : public FileService
{
public:
    struct Entry
    {
        /// Absolute; a trailing slash makes a folder. Folders above it need no entry of their own.
        const char *path;
        const char *content = "";
    };
    enum class DotFiles { listed, leftOut };

    MemoryFileService() = default;
    MemoryFileService(std::initializer_list<Entry> entries);

    // The tree, changed behind the back of whoever uses the service.
    void put(const QString &path, const QByteArray &content = {});
    void putLink(const QString &path, const QString &target);
    void drop(const QString &path);
    /// Absolute paths, folders with a trailing slash, with contents; links as "-> target".
    QMap<QString, QByteArray> snapshot() const;

    // Faults and delays.
    /// Operations on exactly this path throw an Error of this message until the message is empty.
    void failOn(const QString &path, const QString &message);
    /// Operations on exactly this path wait until `release` or until they are stopped.
    void block(const QString &path);
    void release(const QString &path);
    /// Whether somebody waits at a blocked path.
    bool isWaiting(const QString &path) const;
    /// An ordinary listing of the source leaves names with a leading dot out.
    void setDotFiles(DotFiles dotFiles);
    /// How often `path` was listed, with whatever end.
    int listCount(const QString &path) const;

    void connect(const std::stop_token &stop) override;
    void disconnect() noexcept override;
    QString defaultDirectory(const std::stop_token &stop) override;
    QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) override;
    void createDirectory(const QString &path, const std::stop_token &stop) override;
    void remove(const FileItem &item, const std::stop_token &stop) override;
    void rename(const FileItem &item, const QString &newName, const std::stop_token &stop) override;
    QByteArray read(const QString &path, const std::stop_token &stop) override;
    void write(const QByteArray &data, const QString &path, const std::stop_token &stop) override;
    void setPermissions(const QString &path, const QString &octal, Recursive recursive,
                        const std::stop_token &stop) override;
    std::optional<FileItem> stat(const QString &path, const std::stop_token &stop) override;
    FileItem followLink(const FileItem &link, const std::stop_token &stop) override;
    void copy(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    void move(const FileItem &item, const QString &toPath, const std::stop_token &stop) override;
    std::optional<qint64> freeSpace(const QString &path, const std::stop_token &stop) override;

private:
    enum class Kind { file, folder, link };
    struct Node
    {
        Kind kind = Kind::file;
        /// Of a file, or the target of a link.
        QByteArray content;
        unsigned mode = 0644;
    };

    using Lock = std::unique_lock<std::mutex>;

    Lock enter(const QString &path, const std::stop_token &stop) const;
    void putFoldersAbove(const QString &path);
    const Node &require(const QString &path) const;
    void requireFree(const QString &path) const;
    QStringList treeAt(const QString &path) const;
    FileItem item(const QString &path, const Node &node) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable_any m_released;
    QMap<QString, Node> m_nodes{{QStringLiteral("/"), {Kind::folder, {}, 0755}}};
    QMap<QString, QString> m_failures;
    QSet<QString> m_blocked;
    mutable QSet<QString> m_waiting;
    QMap<QString, int> m_listCounts;
    DotFiles m_dotFiles = DotFiles::listed;
};

} // namespace moorix::test
