// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FolderTally.h"

#include "base/Error.h"
#include "files/FileService.h"

namespace moorix {

void countInto(FolderTally &tally, FileService &service, const QList<FileItem> &items, const std::stop_token &stop)
{
    // A list of what is still to do: trees can be deeper than a stack.
    QList<FileItem> waiting = items;
    while (!waiting.isEmpty()) {
        if (stop.stop_requested())
            throw Cancelled();
        const FileItem item = waiting.takeLast();
        if (!item.isDirectory || item.isSymlink) {
            ++tally.files;
            tally.bytes += item.size;
            continue;
        }
        ++tally.folders;
        try {
            waiting += service.list(item.path, HiddenFiles::included, stop);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &) {
            ++tally.unreadable;
        }
    }
}

} // namespace moorix
