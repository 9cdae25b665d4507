// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/Format.h"
#include "files/LocalFileService.h"

#include <QStringList>

namespace moorix::test {

/// What a file service does, done on this machine's disk below a folder that the service takes for its root. Derived
/// classes add the faults.
template <class Service>
class DiskFileService : public Service
{
public:
    // What nearly every operation takes.
    using Path = const QString &;
    using Item = const FileItem &;
    using Stop = const std::stop_token &;

    /// Names of empty files that every listing makes up.
    QStringList inventedNames;
    QString home = QStringLiteral("/");
    std::optional<qint64> space;

    void connect(Stop) override {}
    void disconnect() noexcept override {}
    QString defaultDirectory(Stop) override { return home; }
    QList<FileItem> list(Path path, HiddenFiles hidden, Stop stop) override
    {
        QList<FileItem> items = m_disk.list(entered(path, stop), hidden, stop);
        for (FileItem &item : items)
            item.path.remove(0, m_root.size());
        for (const QString &name : inventedNames) {
            FileItem &item = items.emplaceBack();
            item.name = name;
            item.path = Format::join(path, name);
        }
        return items;
    }
    void createDirectory(Path path, Stop stop) override { m_disk.createDirectory(entered(path, stop), stop); }
    void remove(Item item, Stop stop) override { m_disk.remove(entered(item, stop), stop); }
    void rename(Item item, Path newName, Stop stop) override { m_disk.rename(entered(item, stop), newName, stop); }
    QByteArray read(Path path, Stop stop) override { return m_disk.read(entered(path, stop), stop); }
    void write(const QByteArray &data, Path path, Stop stop) override { m_disk.write(data, entered(path, stop), stop); }
    void setPermissions(Path path, const QString &octal, Recursive recursive, Stop stop) override
    {
        m_disk.setPermissions(entered(path, stop), octal, recursive, stop);
    }
    std::optional<FileItem> stat(Path path, Stop stop) override
    {
        std::optional<FileItem> item = m_disk.stat(entered(path, stop), stop);
        if (item)
            item->path = path;
        return item;
    }
    FileItem followLink(Item link, Stop stop) override
    {
        FileItem item = m_disk.followLink(entered(link, stop), stop);
        item.path = link.path;
        return item;
    }
    void copy(Item item, Path toPath, Stop stop) override { m_disk.copy(entered(item, stop), onDisk(toPath), stop); }
    void move(Item item, Path toPath, Stop stop) override { m_disk.move(entered(item, stop), onDisk(toPath), stop); }
    std::optional<qint64> freeSpace(Path, Stop) override { return space; }

protected:
    /// Called before each operation with its path; may wait or throw.
    virtual void enter(Path /*path*/, Stop /*stop*/) {}

    QString onDisk(Path path) const { return m_root + path; }
    QString entered(Path path, Stop stop)
    {
        enter(path, stop);
        return onDisk(path);
    }
    FileItem entered(FileItem item, Stop stop)
    {
        item.path = entered(item.path, stop);
        return item;
    }

    /// Without a slash at its end: empty for the root of the disk itself.
    QString m_root;
    LocalFileService m_disk;
};

} // namespace moorix::test
