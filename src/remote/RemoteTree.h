// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileServiceError.h"
#include "files/ListedTree.h"

#include <functional>
#include <optional>
#include <span>

namespace moorix {

class RemoteFileService;

/// One of many folders that are listed together, and what has become of it; neither of the two while it is open.
struct ListedFolder
{
    QString path;
    std::optional<QList<FileItem>> items = {};
    std::optional<FileServiceError> failure = {};

    bool isOpen() const { return !items && !failure; }
    /// Does something that settles this folder; takes its failure unless the connection is what failed.
    template <class Work>
    void settle(Work work)
    {
        try {
            work();
        } catch (const FileServiceError &error) {
            if (error.isOfConnection())
                throw;
            items.reset();
            failure = error;
        }
    }
};

/// How one server is asked for many folders.
struct FolderReader
{
    /// Lists these in one run and leaves none open; `atOnce` such runs are under way. Throws only what ends all of it.
    std::function<void(std::span<ListedFolder> folders, int atOnce, const std::stop_token &stop)> list;
    /// How many runs at once so many folders deserve.
    std::function<int(qsizetype folders)> runsFor;
    /// Fewer are not worth a run of their own.
    qsizetype fewestInARun = 1;
    /// More would not be heard of for too long.
    qsizetype mostInARun = 100;
};

/// Folder trees on a server.
namespace RemoteTree {

/// Everything below `folder` as a flat list, each folder after its contents; never through links. The folder itself is
/// not part of it. Throws what listing throws, also for any folder below that cannot be read.
QList<FileItem> deepestFirst(RemoteFileService &service, const QString &folder, const std::stop_token &stop);

/// Adds these folders and all below them to a tree, level by level, many folders to a run and several runs at once.
/// What it holds already is not read again. Throws what is wrong with the connection; the tree is then of no use.
void readLevels(const QStringList &folders, const FolderReader &reader, ListedTree &tree,
                const TreeProgress &onProgress, const std::stop_token &stop);

} // namespace RemoteTree

} // namespace moorix
