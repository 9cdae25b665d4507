// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferPlan.h"

#include "files/FileServiceError.h"
#include "files/RemoteFileService.h"
#include "transfers/TransferNames.h"

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

TransferScan::TransferScan(std::shared_ptr<FileService> service,
                           std::function<void(const FileItem &, const QString &)> objected)
    : m_service(std::move(service))
    , m_objected(std::move(objected))
    , m_isServer(dynamic_cast<RemoteFileService *>(m_service.get()) != nullptr)
{
}

bool TransferScan::isAccepted(const FileItem &item) const
{
    using transferNames::NameSource;
    const auto reason = transferNames::objection(item.name, m_isServer ? NameSource::server : NameSource::localDisk);
    if (reason)
        m_objected(item, *reason);
    return !reason;
}

void TransferScan::fill(TransferNode &node, const std::stop_token &stop) const
{
    if (stop.stop_requested())
        throw Cancelled();
    node.isScanned = true;
    if (!node.isFolder())
        return;
    QList<FileItem> entries;
    try {
        entries = m_service->list(node.item.path, HiddenFiles::included, stop);
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            throw;
        node.isIncomplete = true;
        m_objected(node.item, error.message());
        return;
    }
    node.children.reserve(size_t(entries.size()));
    for (FileItem &entry : entries) {
        if (!isAccepted(entry)) {
            node.isIncomplete = true;
            continue;
        }
        TransferNode &child = node.children.emplace_back(TransferNode{std::move(entry), {}, false, false});
        fill(child, stop);
        node.isIncomplete = node.isIncomplete || child.isIncomplete;
    }
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

bool isConnectionLost(const std::exception &error)
{
    const auto *remote = dynamic_cast<const FileServiceError *>(&error);
    if (!remote)
        return false;
    using Case = FileServiceError::Case;
    return remote->kind() == Case::notConnected || remote->kind() == Case::connectionFailed ||
           remote->kind() == Case::authFailed;
}

} // namespace moorix
