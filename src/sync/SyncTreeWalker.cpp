// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncTreeWalker.h"

#include "base/Error.h"
#include "files/FileService.h"

#include <utility>
#include <vector>

namespace moorix {

void SyncTreeWalker::walk(const Lister &list, const QString &root, const Visitor &visit, const IsCancelled &isCancelled,
                          const OnProgress &onProgress)
{
    constexpr qint64 reportEvery = 25;
    qint64 count = 0;
    qint64 reported = 0;
    std::vector<std::pair<QString, QString>> folders{{root, QString()}};
    while (!folders.empty()) {
        const auto [path, relPath] = std::move(folders.back());
        folders.pop_back();
        if (isCancelled && isCancelled())
            throw Cancelled();
        const QList<FileItem> items = list(path);
        for (const FileItem &item : items) {
            const QString itemRelPath = relPath.isEmpty() ? item.name : relPath + u'/' + item.name;
            if (visit(itemRelPath, item) && item.isDirectory && !item.isSymlink)
                folders.emplace_back(item.path, itemRelPath);
            if (++count - reported >= reportEvery && onProgress)
                onProgress(reported = count);
        }
    }
    if (onProgress)
        onProgress(count);
}

SyncEntries SyncTreeWalker::walk(FileService &service, const QString &root, const IsCancelled &isCancelled,
                                 const OnProgress &onProgress)
{
    SyncEntries entries;
    const auto list = [&service](const QString &path) {
        return service.list(path, HiddenFiles::included, std::stop_token());
    };
    const auto record = [&entries](const QString &relPath, const FileItem &item) {
        entries.insert(relPath, {item.size, item.modified, item.isDirectory});
        return true;
    };
    walk(list, root, record, isCancelled, onProgress);
    return entries;
}

} // namespace moorix
