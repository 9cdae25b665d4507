// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/RemoteTree.h"

#include <algorithm>

namespace moorix::RemoteTree {

QList<FileItem> deepestFirst(FileService &service, const QString &folder, const std::stop_token &stop)
{
    QList<FileItem> found;
    QStringList open{folder};
    while (!open.isEmpty()) {
        for (const FileItem &item : service.list(open.takeLast(), HiddenFiles::included, stop)) {
            found << item;
            if (item.isDirectory && !item.isSymlink)
                open << item.path;
        }
    }
    // Folders were found before what they hold.
    std::reverse(found.begin(), found.end());
    return found;
}

} // namespace moorix::RemoteTree
