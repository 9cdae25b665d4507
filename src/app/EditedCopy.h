// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QDateTime>
#include <QUuid>

#include <memory>
#include <optional>
#include <vector>

namespace moorix {

/// What a copy of a server's file is a copy of: the file as it was when the two were last alike.
struct EditedRecord
{
    QUuid server;
    /// For sentences, also once the server has left the library.
    QString serverName;
    QString path;
    /// `path` is a symbolic link, and the server does not tell where it leads.
    bool isLink = false;
    /// The copy's own name, which stays when it is uploaded under another one. Always Unicode.
    QString name;
    std::optional<QString> permissions;
    qint64 size = 0;
    /// As exactly as the server tells.
    std::optional<QDateTime> modified;
    /// SHA-256 of the contents.
    QByteArray checksum;

    bool operator==(const EditedRecord &) const = default;
};

/// The folder of one copy: only this user can enter it, it outlives the program, and only one program uses it at a
/// time. It holds the copy in a folder of its own, where other programs may leave what they like, and its record.
/// Blocking; worker threads, and one at a time.
class EditedCopy final
{
public:
    /// Makes a folder for a new copy below `root`. Throws an Error when that fails.
    static std::shared_ptr<EditedCopy> make(const QString &root);
    /// All folders below `root` that no running program uses: of programs that ended with changes left, or crashed.
    static std::vector<std::shared_ptr<EditedCopy>> takeOver(const QString &root);
    ~EditedCopy() = default;
    Q_DISABLE_COPY_MOVE(EditedCopy)

    const QUuid &id() const { return m_id; }
    const QString &folder() const { return m_folder; }
    /// Where the copy lies, and what else the programs that edit it put beside it.
    QString editedFolder() const;
    QString filePath(const EditedRecord &record) const;
    /// Where a version of the copy lies while it travels.
    QString travelPath(const EditedRecord &record) const;

    /// Nothing when there is none. Throws an Error when it cannot be read or decoded.
    std::optional<EditedRecord> load() const;
    void save(const EditedRecord &record) const;
    /// Removes the folder with all that is in it.
    void remove() const;

private:
    EditedCopy(const QUuid &id, QString folder, FileDescriptor lock);
    static std::shared_ptr<EditedCopy> open(const QUuid &id, const QString &folder);

    QUuid m_id;
    QString m_folder;
    /// The folder itself, locked as long as the object lives.
    FileDescriptor m_lock;
};

} // namespace moorix
