// SPDX-License-Identifier: GPL-3.0-or-later
// How a single file gets to its place whole, and how an original is given up.
#include "transfers/TransferRun.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"

namespace moorix {

using namespace Qt::StringLiterals;
using localTransfer::Existing;

namespace {

FileItem itemAt(const QString &path, const FileItem &like)
{
    FileItem item = like;
    item.path = path;
    item.name = Format::fileName(path);
    return item;
}

/// "rwxr-x---" as octal digits; nothing for another text.
std::optional<QString> octalDigits(const std::optional<QString> &permissions)
{
    if (!permissions || permissions->size() != 9)
        return std::nullopt;
    int mode = 0;
    for (const QChar letter : *permissions)
        mode = mode * 2 + (letter == u'-' ? 0 : 1);
    return QString::number(mode, 8).rightJustified(3, u'0');
}

} // namespace

void TransferRun::transferFile(const TransferNode &node, const Place &place)
{
    const FileItem &item = node.item;
    const FileItem part = itemAt(LocalDisk::partPath(place.path), item);
    const qint64 before = m_outcome.counts.bytesDone;
    const bool replaces = place.standing == Standing::replaced;
    try {
        const auto flush = m_request.isMove || replaces ? localTransfer::Flush::toDisk : localTransfer::Flush::no;
        m_route.copyFile(
            item, part.path, flush,
            [this, before](qint64 bytes) {
                m_outcome.counts.bytesDone = before + bytes;
                publish();
            },
            m_stop);
        if (!item.isSymlink)
            verify(item, part);
        if (!m_route.rename(part, place.path, replaces ? Existing::replace : Existing::refuse, m_stop))
            throw Error(u"Transfer"_s, u"its folder lies on another file system"_s);
    } catch (...) {
        m_outcome.counts.bytesDone = before;
        removePart(part);
        throw;
    }
    m_outcome.counts.bytesDone = before;
    addDone(node);
}

void TransferRun::verify(const FileItem &item, const FileItem &part) const
{
    const qint64 copied = m_route.sizeAtDestination(part, m_stop);
    // A copy may only count as whole, and its original as superfluous, by what the original is at this moment.
    qint64 expected = item.size;
    if (m_request.isMove || copied != expected)
        expected = m_route.sizeAtSource(item, m_stop);
    if (copied != expected) {
        throw Error(
            u"Transfer"_s,
            u"the copy has %1 bytes, the original %2; it may have changed meanwhile"_s.arg(copied).arg(expected));
    }
}

/// Cleans up even after a stop, hence the token of its own.
void TransferRun::removePart(const FileItem &part)
{
    const std::stop_token unstoppable;
    FileService &service = m_route.destination();
    try {
        if (!m_route.isLocalDestination() || service.stat(part.path, unstoppable))
            service.remove(part, unstoppable);
    } catch (const Error &error) {
        const auto *remote = dynamic_cast<const FileServiceError *>(&error);
        if (remote && remote->kind() == FileServiceError::Case::notFound)
            return;
        m_outcome.failures.append(
            u"The unfinished copy “%1” could not be removed: %2"_s.arg(part.path, error.message()));
    }
}

void TransferRun::copyTreeOnServer(const TransferNode &node, const Place &place)
{
    const FileItem part = itemAt(LocalDisk::partPath(place.path), node.item);
    try {
        m_route.destination().copy(node.item, part.path, m_stop);
        if (!m_route.rename(part, place.path, Existing::refuse, m_stop))
            throw Error(u"Transfer"_s, u"its folder lies on another file system"_s);
    } catch (...) {
        removePart(part);
        throw;
    }
    addDone(node);
}

/// Modes and times that a file system or a server does not take are left as they are: the content is what counts.
void TransferRun::applyFolderAttributes(const FileItem &folder, const QString &path) const
{
    if (const auto octal = octalDigits(folder.permissions)) {
        try {
            m_route.destination().setPermissions(path, *octal, Recursive::no, m_stop);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            if (isConnectionLost(error))
                throw;
        }
    }
    if (m_route.isLocalDestination() && folder.modified)
        localTransfer::setModified(path, *folder.modified);
}

/// The originals go in one step and last: only when all of them have arrived, and only when nothing has joined them or
/// changed since they were read.
void TransferRun::removeSource(const TransferNode &node)
{
    try {
        const auto present = m_route.source().stat(node.item.path, m_stop);
        if (!present)
            return;
        TransferNode now{node.item, {}, false, false};
        now.item.size = present->size;
        // One file and a whole listing of a server may be dated in different time zones.
        if (!m_route.isServerSource())
            now.item.modified = present->modified;
        bool isUnchanged = true;
        const TransferScan scan(m_request.source,
                                [&isUnchanged](const FileItem &, const QString &) { isUnchanged = false; });
        scan.fill(now, m_stop);
        if (!isUnchanged || !holdsNothingElse(now, node)) {
            m_outcome.failures.append(
                u"“%1” was copied, but the original stays because it has changed meanwhile."_s.arg(
                    Format::display(node.item.name)));
            return;
        }
        m_route.source().remove(node.item, m_stop);
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        m_outcome.failures.append(u"“%1” was copied, but the original could not be removed: %2"_s.arg(
            Format::display(node.item.name), error.message()));
    }
}

} // namespace moorix
