// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "transfers/TransferConflict.h"

#include <QList>
#include <QUuid>

#include <memory>

namespace moorix {

class FileService;

/// Items that go into one existing folder.
struct TransferPiece
{
    QList<FileItem> items;
    QString targetFolder;
};

/// How a copy is compared with its original. `contents` reads both sides once more where that is possible.
enum class TransferCheck { size, contents };

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
    TransferCheck check = TransferCheck::size;
    /// Further items with folders of their own, as when what failed in the depth of a tree is tried again.
    QList<TransferPiece> more = {};
    /// Goes on with a transfer that was broken off: what is there with the same size and time has arrived.
    bool isContinuation = false;
    /// A local source that is another than its item says by the time its copy is whole does not arrive.
    bool requiresUnchanged = false;
    /// Somebody waits for it: it goes beside others while the speed of transfers is limited.
    bool isUrgent = false;
    /// Names the part files, so that a later run of the same transfer finds them. Given by the engine.
    QUuid id = {};

    QList<TransferPiece> pieces() const;
    /// The copies would lie in the folder of their originals, and under the same names.
    bool isCopyInPlace() const;
    /// They are where they would be moved to.
    bool isMoveInPlace() const;
    /// "Copying 3 items to /var/www".
    QString title() const;
};

} // namespace moorix
