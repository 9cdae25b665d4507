// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "transfers/TransferConflict.h"

#include <QList>

#include <memory>

namespace moorix {

class FileService;

/// What to copy or move, from where to where. A service that is no RemoteFileService is the local disk.
struct TransferRequest
{
    std::shared_ptr<FileService> source;
    std::shared_ptr<FileService> destination;
    QList<FileItem> items;
    /// The existing folder the items go into.
    QString targetFolder;
    /// The sources are removed once their copies are verified.
    bool isMove = false;
    TransferConflictPolicy policy = TransferConflictPolicy::ask;
    /// The single item arrives under this name; empty keeps its own.
    QString newName = {};
};

} // namespace moorix
