// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferPlan.h"

#include "files/FileNames.h"
#include "transfers/TransferLink.h"

#include <QHash>

#include <algorithm>

namespace moorix {

qint64 TransferNode::fileCount() const
{
    if (!isFolder() || !isScanned)
        return 1;
    qint64 count = 0;
    for (const TransferNode &child : children)
        count += child.fileCount();
    return count;
}

qint64 TransferNode::byteCount() const
{
    if (!isFolder())
        return item.isSymlink ? 0 : item.size;
    qint64 bytes = 0;
    for (const TransferNode &child : children)
        bytes += child.byteCount();
    return bytes;
}

TransferScan::TransferScan(Lister list, transferNames::NameSource from,
                           std::function<void(const FileItem &, const QString &)> objected, TreeLister listTree)
    : m_list(std::move(list))
    , m_listTree(std::move(listTree))
    , m_from(from)
    , m_objected(std::move(objected))
{
}

bool TransferScan::isAccepted(const FileItem &item) const
{
    const auto reason = transferNames::objection(item.name, m_from);
    if (reason)
        m_objected(item, *reason);
    return !reason;
}

void TransferScan::fill(TransferNode &node) const
{
    std::optional<ListedTree> tree;
    // The tree is read with its first folder: where that fails, both have failed alike.
    const auto list = [&](const QString &path) {
        if (m_listTree && path == node.item.path)
            tree = m_listTree(path);
        return tree ? tree->entries(path) : m_list(path);
    };
    fillBy(list, node);
}

void TransferScan::fillBy(const Lister &list, TransferNode &node) const
{
    node.isScanned = true;
    if (!node.isFolder())
        return;
    QList<FileItem> entries;
    try {
        entries = list(node.item.path);
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            throw;
        node.isIncomplete = true;
        node.isUnread = true;
        m_objected(node.item, error.message());
        return;
    }
    node.children.reserve(size_t(entries.size()));
    for (FileItem &entry : entries) {
        if (!isAccepted(entry)) {
            node.isIncomplete = true;
            continue;
        }
        TransferNode &child = node.children.emplace_back(TransferNode{std::move(entry)});
        fillBy(list, child);
        node.isIncomplete = node.isIncomplete || child.isIncomplete;
    }
}

QSet<QString> twinNames(const TransferNode &folder)
{
    QSet<QString> names;
    QSet<QString> twins;
    for (const TransferNode &child : folder.children) {
        const QString name = FileNames::folded(child.item.name);
        if (names.contains(name))
            twins.insert(name);
        names.insert(name);
    }
    return twins;
}

bool hasTwins(const TransferNode &folder)
{
    return !twinNames(folder).isEmpty() || std::any_of(folder.children.cbegin(), folder.children.cend(), hasTwins);
}

bool holdsNothingElse(const TransferNode &present, const TransferNode &planned)
{
    if (present.isFolder() != planned.isFolder() || present.item.isSymlink != planned.item.isSymlink)
        return false;
    if (!present.isFolder())
        return present.item.size == planned.item.size && present.item.modified == planned.item.modified;
    QHash<QString, const TransferNode *> known;
    for (const TransferNode &child : planned.children)
        known.insert(child.item.name, &child);
    return std::all_of(present.children.cbegin(), present.children.cend(), [&known](const TransferNode &child) {
        const TransferNode *expected = known.value(child.item.name);
        return expected && holdsNothingElse(child, *expected);
    });
}

void addRemaining(const TransferNode &node, const QString &targetFolder, QList<TransferPiece> &pieces)
{
    using Fate = TransferNode::Fate;
    if (node.fate == Fate::arrived || node.fate == Fate::moved || node.fate == Fate::skipped)
        return;
    if (node.fate == Fate::entered && !node.isUnread) {
        for (const TransferNode &child : node.children)
            addRemaining(child, node.placedAt, pieces);
        return;
    }
    // Most go where the one before them goes, and there may be as many folders as files.
    const auto place = std::find_if(pieces.rbegin(), pieces.rend(), [&targetFolder](const TransferPiece &piece) {
        return piece.targetFolder == targetFolder;
    });
    if (place == pieces.rend())
        pieces.append({{node.item}, targetFolder});
    else
        place->items.append(node.item);
}

} // namespace moorix
