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
    /// Names of empty files that every listing makes up.
    QStringList inventedNames;
    QString home = QStringLiteral("/");
    std::optional<qint64> space;

    void connect(const std::stop_token &) override {}
    void disconnect() noexcept override {}
    QString defaultDirectory(const std::stop_token &) override { return home; }
    QList<FileItem> list(const QString &path, HiddenFiles hidden, const std::stop_token &stop) override
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
    void createDirectory(const QString &path, const std::stop_token &stop) override
    {
        m_disk.createDirectory(entered(path, stop), stop);
    }
    void remove(const FileItem &item, const std::stop_token &stop) override
    {
        m_disk.remove(entered(item, stop), stop);
    }
    void rename(const FileItem &item, const QString &newName, const std::stop_token &stop) override
    {
        m_disk.rename(entered(item, stop), newName, stop);
    }
    QByteArray read(const QString &path, const std::stop_token &stop) override
    {
        return m_disk.read(entered(path, stop), stop);
    }
    void write(const QByteArray &data, const QString &path, const std::stop_token &stop) override
    {
        m_disk.write(data, entered(path, stop), stop);
    }
    void setPermissions(const QString &path, const QString &octal, Recursive recursive,
                        const std::stop_token &stop) override
    {
        m_disk.setPermissions(entered(path, stop), octal, recursive, stop);
    }
    std::optional<FileItem> stat(const QString &path, const std::stop_token &stop) override
    {
        std::optional<FileItem> item = m_disk.stat(entered(path, stop), stop);
        if (item)
            item->path = path;
        return item;
    }
    FileItem followLink(const FileItem &link, const std::stop_token &stop) override
    {
        FileItem item = m_disk.followLink(entered(link, stop), stop);
        item.path = link.path;
        return item;
    }
    void copy(const FileItem &item, const QString &toPath, const std::stop_token &stop) override
    {
        m_disk.copy(entered(item, stop), onDisk(toPath), stop);
    }
    void move(const FileItem &item, const QString &toPath, const std::stop_token &stop) override
    {
        m_disk.move(entered(item, stop), onDisk(toPath), stop);
    }
    std::optional<qint64> freeSpace(const QString &, const std::stop_token &) override { return space; }

protected:
    /// Called before each operation with its path; may wait or throw.
    virtual void enter(const QString & /*path*/, const std::stop_token & /*stop*/) {}

    QString onDisk(const QString &path) const { return m_root + path; }
    QString entered(const QString &path, const std::stop_token &stop)
    {
        enter(path, stop);
        return onDisk(path);
    }
    FileItem entered(FileItem item, const std::stop_token &stop)
    {
        item.path = entered(item.path, stop);
        return item;
    }

    /// Without a slash at its end: empty for the root of the disk itself.
    QString m_root;
    LocalFileService m_disk;
};

} // namespace moorix::test
