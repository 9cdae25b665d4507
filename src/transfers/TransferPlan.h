// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/ListedTree.h"
#include "transfers/TransferNames.h"
#include "transfers/TransferRequest.h"

#include <QSet>

#include <functional>
#include <optional>
#include <vector>

namespace moorix {

/// One entry to copy, and for a folder all that lies in it.
struct TransferNode
{
    FileItem item;
    std::vector<TransferNode> children = {};
    /// The children were read; always true for files.
    bool isScanned = false;
    /// Something in the folder could not be read or must not be copied: what arrives is not all of it.
    bool isIncomplete = false;
    /// The folder itself could not be read.
    bool isUnread = false;

    enum class Fate {
        /// Has not arrived (yet).
        open,
        arrived,
        /// By a rename: nothing of it is left at its old place.
        moved,
        skipped,
        /// A folder that stands at `placedAt`, whatever became of its children.
        entered
    };
    Fate fate = Fate::open;
    QString placedAt = {};

    bool isFolder() const { return item.isDirectory && !item.isSymlink; }
    /// Files and links in the tree; a folder whose children were not read counts as one.
    qint64 fileCount() const;
    qint64 byteCount() const;
};

/// Reads the trees that a transfer copies. Worker threads.
class TransferScan final
{
public:
    /// Lists a folder, hidden files included.
    using Lister = std::function<QList<FileItem>(const QString &path)>;
    /// Lists all folders below one, and that one, at once; nothing where that gains nothing.
    using TreeLister = std::function<std::optional<ListedTree>(const QString &path)>;

    /// `objected` is told of each entry that is left out, with the reason.
    TransferScan(Lister list, transferNames::NameSource from,
                 std::function<void(const FileItem &item, const QString &reason)> objected, TreeLister listTree = {});

    /// Reads what lies under `node`. A folder that cannot be read is left out; a connection that fails throws.
    void fill(TransferNode &node) const;

private:
    void fillBy(const Lister &list, TransferNode &node) const;
    bool isAccepted(const FileItem &item) const;

    Lister m_list;
    TreeLister m_listTree;
    transferNames::NameSource m_from;
    std::function<void(const FileItem &, const QString &)> m_objected;
};

/// The folded names that several entries of a folder share: a disk that ignores case takes one of them for the other.
QSet<QString> twinNames(const TransferNode &folder);
/// Whether the folder or one below it has any.
bool hasTwins(const TransferNode &folder);

/// Whether `present` holds nothing that is not, unchanged, in `planned`.
bool holdsNothingElse(const TransferNode &present, const TransferNode &planned);

/// Adds what of a tree has not arrived and was not skipped. `targetFolder` is where the node goes.
void addRemaining(const TransferNode &node, const QString &targetFolder, QList<TransferPiece> &pieces);

} // namespace moorix
