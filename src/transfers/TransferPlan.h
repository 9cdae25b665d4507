// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace moorix {

class FileService;

/// One entry to copy, and for a folder all that lies in it.
struct TransferNode
{
    FileItem item;
    std::vector<TransferNode> children;
    /// The children were read; always true for files.
    bool isScanned = false;
    /// Something in the folder could not be read or must not be copied: what arrives is not all of it.
    bool isIncomplete = false;

    bool isFolder() const { return item.isDirectory && !item.isSymlink; }
    /// Files and links in the tree; a folder whose children were not read counts as one.
    qint64 fileCount() const;
    qint64 byteCount() const;
};

/// Reads the trees that a transfer copies. Worker threads.
class TransferScan final
{
public:
    /// `objected` is told of each entry that is left out, with the reason.
    TransferScan(std::shared_ptr<FileService> service,
                 std::function<void(const FileItem &item, const QString &reason)> objected);

    /// Reads what lies under `node`. A folder that cannot be read is left out; a connection that fails throws.
    void fill(TransferNode &node, const std::stop_token &stop) const;

private:
    bool isAccepted(const FileItem &item) const;

    std::shared_ptr<FileService> m_service;
    std::function<void(const FileItem &, const QString &)> m_objected;
    bool m_isServer;
};

/// Whether `present` holds nothing that is not, unchanged, in `planned`.
bool holdsNothingElse(const TransferNode &present, const TransferNode &planned);

/// Whether the error says that the server as a whole is out of reach, so that the next file will not do better.
bool isConnectionLost(const std::exception &error);

} // namespace moorix
