// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferLeftovers.h"

#include "files/FileService.h"
#include "transfers/TransferNames.h"

#include <algorithm>
#include <functional>

namespace moorix {

namespace {

/// `isOurs` tells which folders this transfer may have filled.
void sweep(const TransferRequest &request, const QString &folder, const std::function<bool(const FileItem &)> &isOurs,
           const std::stop_token &stop)
{
    const QList<FileItem> entries = request.destination->list(folder, HiddenFiles::included, stop);
    for (const FileItem &entry : entries) {
        if (transferNames::isPart(entry.name, request.id))
            request.destination->remove(entry, stop);
        else if (entry.isDirectory && !entry.isSymlink && isOurs(entry))
            sweep(
                request, entry.path, [](const FileItem &) { return true; }, stop);
    }
}

} // namespace

void transferLeftovers::remove(const TransferRequest &request, const std::stop_token &stop)
{
    for (const TransferPiece &piece : request.pieces()) {
        const auto isItem = [&](const FileItem &entry) {
            return entry.name == request.newName ||
                   std::any_of(piece.items.cbegin(), piece.items.cend(),
                               [&entry](const FileItem &item) { return item.name == entry.name; });
        };
        sweep(request, piece.targetFolder, isItem, stop);
    }
}

} // namespace moorix
