// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/ListedTree.h"

#include "files/FileService.h"
#include "files/FileServiceError.h"
#include "files/Format.h"

namespace moorix {

std::chrono::seconds ListedTimes::slack(const QDateTime &shown) const
{
    if (precision == Precision::seconds)
        return std::chrono::seconds(1);
    const QDate day = shown.toTimeSpec(zone).date();
    if (shown != day.startOfDay(zone))
        return std::chrono::minutes(1);
    return std::chrono::seconds(shown.secsTo(day.addDays(1).startOfDay(zone)));
}

QList<FileItem> ListedTree::entries(const QString &folder) const
{
    if (const auto found = folders.constFind(folder); found != folders.cend())
        return *found;
    throw FileServiceError::operationFailed(
        unread.value(folder, QStringLiteral("“%1” was not listed.").arg(Format::display(folder))));
}

QStringList ListedTree::subfolders(const QList<FileItem> &items)
{
    QStringList paths;
    for (const FileItem &item : items) {
        if (item.isDirectory && !item.isSymlink)
            paths << item.path;
    }
    return paths;
}

ListedTree ListedTree::byFolders(FileService &service, const QString &folder, const TreeProgress &onProgress,
                                 const std::stop_token &stop)
{
    ListedTree tree;
    qint64 entries = 0;
    QStringList open{folder};
    while (!open.isEmpty()) {
        const QString path = open.takeLast();
        if (tree.knows(path))
            continue;
        try {
            const QList<FileItem> items = service.list(path, HiddenFiles::included, stop);
            tree.folders.insert(path, items);
            open += subfolders(items);
            entries += items.size();
            if (onProgress)
                onProgress(entries);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            const auto *remote = dynamic_cast<const FileServiceError *>(&error);
            if (path == folder || (remote && remote->isOfConnection()))
                throw;
            tree.unread.insert(path, error.message());
        }
    }
    return tree;
}

} // namespace moorix
