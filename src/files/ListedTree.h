// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <chrono>
#include <functional>
#include <stop_token>

namespace moorix {

class FileService;

/// What the modification times are worth that a service tells of its entries. Never later than the true ones.
struct ListedTimes
{
    enum class Precision {
        seconds,
        /// Minutes, but of entries older than about half a year, and of some from the future, the day alone.
        minutesOrDays
    };
    Precision precision = Precision::seconds;
    /// Where the day alone is known, its midnight in this zone is shown: the client's or UTC.
    Qt::TimeSpec zone = Qt::LocalTime;

    /// The true time is before the shown one and this together. What really changed at midnight counts as a day.
    std::chrono::seconds slack(const QDateTime &shown) const;

    bool operator==(const ListedTimes &) const = default;
};

/// Told of the entries found so far, as often as there are more: on worker threads, but on one at a time. Fewer than
/// before where a server turns out to need another way.
using TreeProgress = std::function<void(qint64 entries)>;

/// A folder and all below it, hidden entries too, never through links.
struct ListedTree
{
    /// What each folder holds that could be read, empty ones too, by its path.
    QHash<QString, QList<FileItem>> folders;
    /// The folders that could not be read, with the sentence why. What lies below them is in neither.
    QHash<QString, QString> unread;
    ListedTimes times;

    /// Throws operationFailed with its sentence for a folder that could not be read, or is none of the tree.
    QList<FileItem> entries(const QString &folder) const;
    bool knows(const QString &folder) const { return folders.contains(folder) || unread.contains(folder); }

    /// Reads a tree by listing its folders one by one. Throws what listing `folder` itself throws, and whatever is
    /// wrong with the connection.
    static ListedTree byFolders(FileService &service, const QString &folder, const TreeProgress &onProgress,
                                const std::stop_token &stop);
    /// Those among a folder's entries that a tree goes on below.
    static QStringList subfolders(const QList<FileItem> &items);
};

} // namespace moorix
