// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>

#include <atomic>
#include <memory>
#include <stop_token>

namespace moorix {

class FileService;

/// What entries and everything inside them amount to, readable by any thread while it grows.
struct FolderTally
{
    std::atomic<qint64> bytes = 0;
    std::atomic<qint64> files = 0;
    std::atomic<qint64> folders = 0;
    /// Folders that could not be listed; what they hold is not counted.
    std::atomic<qint64> unreadable = 0;
};

/// Counts `items` and all below them into `tally`; blocks, on a worker. Links count as themselves and are not followed.
void countInto(FolderTally &tally, FileService &service, const QList<FileItem> &items, const std::stop_token &stop);

} // namespace moorix
