// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace moorix {

/// One directory entry, wherever it comes from.
struct FileItem
{
    /// Last path component as shown.
    QString name;
    /// Absolute path on its own side; also the item's identity.
    QString path;
    /// For a symbolic link: whether the link itself was reported as a folder.
    bool isDirectory = false;
    bool isSymlink = false;
    /// Bytes; 0 where unknown and for local folders.
    qint64 size = 0;
    std::optional<QDateTime> modified;
    /// Nine characters, owner, group, others: "rwxr-xr-x". Absent where unknown.
    std::optional<QString> permissions;
    /// The owner's account name where the source reports one; local listings leave it absent.
    std::optional<QString> ownerName;
    /// A symbolic link that is known to lead to a folder. Local listings tell, servers do not.
    bool leadsToFolder = false;

    const QString &id() const { return path; }
    /// Listed among folders and entered like one.
    bool isShownAsFolder() const { return isDirectory || leadsToFolder; }
    /// Icon name for the kind of item (folder, link, or by file extension); presentation only.
    QString symbol() const;

    bool operator==(const FileItem &) const = default;
};

size_t qHash(const FileItem &item, size_t seed = 0) noexcept;

} // namespace moorix
