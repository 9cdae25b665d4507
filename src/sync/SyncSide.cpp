// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncSide.h"

#include "base/Error.h"
#include "files/Format.h"
#include "files/NativePath.h"
#include "files/RemoteFileService.h"
#include "sync/SyncTreeWalker.h"
#include "transfers/TransferLink.h"
#include "transfers/TransferNames.h"

#include <QRegularExpression>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Why an entry of this name cannot be told apart from another, or cannot be written on the other side.
std::optional<QString> objection(const FileItem &item)
{
    if (Format::fileName(item.path) != item.name)
        return u"the server’s listing does not show its name exactly"_s;
    if (!NativePath::isUnicode(item.name) || item.name.contains(QChar::ReplacementCharacter))
        return u"its name is no readable text"_s;
    return transferNames::objection(item.name, transferNames::NameSource::server);
}

bool isPartFile(const QString &name)
{
    static const QRegularExpression pattern(u"^\\..*\\.moorix-[0-9A-F-]{36}\\.part$"_s,
                                            QRegularExpression::DotMatchesEverythingOption);
    return name.endsWith(u".part"_s) && pattern.match(name).hasMatch();
}

} // namespace

const QString SyncSide::ownFolder = u".moorix-sync"_s;

SyncSide::SyncSide(std::shared_ptr<FileService> service, QString root)
    : m_service(std::move(service))
    , m_root(root.size() > 1 && root.endsWith(u'/') ? root.chopped(1) : std::move(root))
{
}

bool SyncSide::isLocal() const
{
    return !dynamic_cast<const RemoteFileService *>(m_service.get());
}

QString SyncSide::path(const QString &relPath) const
{
    return relPath.isEmpty() ? m_root : Format::join(m_root, relPath);
}

QString SyncSide::relPath(const QString &path) const
{
    return path.mid(m_root == u"/" ? 1 : m_root.size() + 1);
}

/// Returns whether what lies in the entry is to be read.
bool SyncSide::visit(const QString &relPath, const FileItem &item, const SyncIgnore &ignore,
                     SyncSnapshot &snapshot) const
{
    if (item.isDirectory && item.name == ownFolder)
        return false;
    if (isPartFile(item.name)) {
        snapshot.parts.append(item.path);
        return false;
    }
    const bool isFolder = item.isDirectory && !item.isSymlink;
    if (ignore.matches(relPath, isFolder)) {
        snapshot.leftOut.insert(relPath, {SyncLeftOut::Why::ignored, u"it matches a pattern of this pair"_s});
        return false;
    }
    if (const auto reason = objection(item)) {
        snapshot.leftOut.insert(relPath, {SyncLeftOut::Why::name, *reason});
        return false;
    }
    if (item.isSymlink) {
        snapshot.leftOut.insert(relPath, {SyncLeftOut::Why::link, u"it is a symbolic link"_s});
        return false;
    }
    snapshot.entries.insert(
        relPath, {item.size, item.modified ? std::optional(item.modified->toUTC()) : std::nullopt, item.isDirectory});
    snapshot.items.insert(relPath, item);
    return true;
}

SyncSnapshot SyncSide::read(const SyncIgnore &ignore, const QString &marker,
                            const std::function<void(qint64)> &progress, const std::stop_token &stop) const
{
    SyncSnapshot snapshot;
    auto *server = dynamic_cast<RemoteFileService *>(m_service.get());
    std::optional<ListedTree> tree;
    const auto listOne = [&](const QString &path) {
        if (server && !tree) {
            tree = server->listTree(m_root, progress, stop);
            snapshot.times = tree->times;
        }
        return tree ? tree->entries(path) : m_service->list(path, HiddenFiles::included, stop);
    };
    const auto list = [&](const QString &path) -> QList<FileItem> {
        try {
            return listOne(path);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            if (isConnectionLost(error))
                throw;
            if (path == m_root && !m_service->stat(m_root, stop))
                snapshot.isThere = false;
            else if (path == m_root)
                throw;
            else
                snapshot.leftOut.insert(relPath(path), {SyncLeftOut::Why::unreadable, error.message()});
            return {};
        }
    };
    bool hasOwnFolder = false;
    const auto visitor = [&](const QString &relPath, const FileItem &item) {
        hasOwnFolder = hasOwnFolder || (relPath == ownFolder && item.isDirectory);
        return visit(relPath, item, ignore, snapshot);
    };
    SyncTreeWalker::walk(
        list, m_root, visitor, [&stop] { return stop.stop_requested(); }, progress);
    if (hasOwnFolder) {
        const QList<FileItem> own = list(path(ownFolder));
        for (const FileItem &item : own) {
            snapshot.hasMarker = snapshot.hasMarker || item.name == marker;
            if (isPartFile(item.name) && item.name.startsWith(u'.' + marker + u'.'))
                snapshot.markerParts.append(item.path);
        }
        snapshot.leftOut.remove(ownFolder);
    }
    return snapshot;
}

void withoutLeftOut(SyncEntries &entries, const QMap<QString, SyncLeftOut> &leftOut)
{
    for (auto left = leftOut.cbegin(); left != leftOut.cend(); ++left) {
        // What cannot be read is known itself; only what lies in it is not.
        if (left->why != SyncLeftOut::Why::unreadable)
            entries.remove(left.key());
        const QString inside = left.key() + u'/';
        auto entry = entries.lowerBound(inside);
        while (entry != entries.end() && entry.key().startsWith(inside))
            entry = entries.erase(entry);
    }
}

} // namespace moorix
