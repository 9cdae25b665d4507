// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "sync/SyncEntry.h"

#include <QList>

#include <functional>
#include <stop_token>

namespace moorix {

class FileService;

/// Snapshots of whole trees. Blocking; worker threads.
namespace SyncTreeWalker {

using IsCancelled = std::function<bool()>;
/// Called on the walking thread with the number of entries found so far, once every 25 or more, and at the end.
using OnProgress = std::function<void(qint64 entries)>;
/// Lists one folder.
using Lister = std::function<QList<FileItem>(const QString &path)>;
/// Takes one entry with its relative path; returns whether a folder is to be entered.
using Visitor = std::function<bool(const QString &relPath, const FileItem &item)>;

/// Everything below `root`, an absolute path, that the service lists; links are entries, but never entered. Throws
/// what listing throws, and Cancelled when `isCancelled` says so before a folder is listed: half a tree is never
/// returned.
SyncEntries walk(FileService &service, const QString &root, const IsCancelled &isCancelled = {},
                 const OnProgress &onProgress = {});

/// The same walk with another way to list, and a say in what becomes of each entry.
void walk(const Lister &list, const QString &root, const Visitor &visit, const IsCancelled &isCancelled,
          const OnProgress &onProgress);

} // namespace SyncTreeWalker

} // namespace moorix
