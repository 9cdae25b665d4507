// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferRun.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "transfers/TransferNames.h"

#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;
using localTransfer::Existing;

TransferRun::TransferRun(TransferRequest request, Callbacks callbacks)
    : m_request(std::move(request))
    , m_callbacks(std::move(callbacks))
    , m_route(m_request.source, m_request.destination)
    , m_scan(m_request.source, [this](const FileItem &item, const QString &reason) { report(item, reason); })
    , m_policy(m_request.policy)
{
}

TransferOutcome TransferRun::run(const std::stop_token &stop)
{
    m_stop = stop;
    try {
        transferAll();
    } catch (const Cancelled &) {
        m_outcome.wasCancelled = true;
    } catch (const Error &error) {
        m_outcome.failures.append(error.message());
    }
    publish(true);
    m_outcome.changedTargetFolders = m_changedTargets.values();
    if (m_request.isMove) {
        QSet<QString> folders;
        for (const FileItem &item : std::as_const(m_request.items))
            folders.insert(Format::parent(item.path));
        m_outcome.changedSourceFolders = folders.values();
    }
    return m_outcome;
}

void TransferRun::transferAll()
{
    Target target = openTarget(m_request.targetFolder);
    std::vector<TransferNode> nodes = plan();
    checkSpace(nodes, target);
    for (TransferNode &node : nodes) {
        if (transfer(node, target) == Result::arrived && m_request.isMove)
            removeSource(node);
    }
}

/// Trees are read beforehand, which tells their size and keeps a copy from meeting itself. A rename or a copy made by
/// a server takes a folder as a whole, so those are not read unless it comes to merging.
std::vector<TransferNode> TransferRun::plan()
{
    using transferNames::NameSource;
    const bool takesFoldersWhole = m_route.isWithinOneServer() || (m_request.isMove && m_route.isWithinOnePlace());
    const NameSource from = m_route.isServerSource() ? NameSource::server : NameSource::localDisk;
    std::vector<TransferNode> nodes;
    for (const FileItem &item : std::as_const(m_request.items)) {
        if (const auto reason = transferNames::objection(item.name, from)) {
            report(item, *reason);
            continue;
        }
        TransferNode &node = nodes.emplace_back(TransferNode{item, {}, false, false});
        if (!takesFoldersWhole)
            m_scan.fill(node, m_stop);
        m_outcome.counts.filesTotal += node.fileCount();
        m_outcome.counts.bytesTotal += node.byteCount();
        publish();
    }
    return nodes;
}

void TransferRun::fill(TransferNode &node)
{
    if (node.isScanned)
        return;
    const qint64 counted = node.fileCount();
    m_scan.fill(node, m_stop);
    m_outcome.counts.filesTotal += node.fileCount() - counted;
    m_outcome.counts.bytesTotal += node.byteCount();
}

void TransferRun::checkSpace(const std::vector<TransferNode> &nodes, const Target &target) const
{
    if (m_request.isMove && m_route.isWithinOnePlace())
        return;
    // What stands there already may be skipped or merged, so only the rest is sure to need room.
    qint64 needed = 0;
    for (const TransferNode &node : nodes) {
        if (!target.entries.contains(node.item.name))
            needed += node.byteCount();
    }
    const auto available = m_route.destination().freeSpace(target.path, m_stop);
    if (available && *available < needed) {
        throw Error(u"Transfer"_s, u"“%1” has %2 free, but %3 are needed. Nothing was copied."_s.arg(
                                       target.path, Format::byteCount(*available), Format::byteCount(needed)));
    }
}

TransferRun::Target TransferRun::openTarget(const QString &path) const
{
    Target target{path, {}};
    const QList<FileItem> entries = m_route.destination().list(path, HiddenFiles::included, m_stop);
    target.entries.reserve(entries.size());
    for (const FileItem &entry : entries)
        target.entries.insert(entry.name, entry);
    return target;
}

TransferRun::Result TransferRun::transfer(TransferNode &node, Target &target)
{
    if (m_stop.stop_requested())
        throw Cancelled();
    m_outcome.counts.currentName = node.item.name;
    publish();
    try {
        const auto place = choosePlace(node, target);
        if (!place) {
            m_outcome.counts.skipped += node.fileCount();
            return Result::incomplete;
        }
        m_changedTargets.insert(target.path);
        Result result = Result::arrived;
        if (m_request.isMove && moveInOneStep(node, *place))
            addDone(node);
        else if (node.isFolder())
            result = transferFolder(node, *place);
        else
            transferFile(node, *place);
        FileItem arrived = node.item;
        arrived.path = place->path;
        arrived.name = Format::fileName(place->path);
        target.entries.insert(arrived.name, arrived);
        return result;
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            throw;
        report(node.item, error.message());
        return Result::incomplete;
    }
}

std::optional<TransferRun::Place> TransferRun::choosePlace(const TransferNode &node, const Target &target)
{
    const bool isRenamed = !m_request.newName.isEmpty() && target.path == m_request.targetFolder;
    FileItem item = node.item;
    if (isRenamed)
        item.name = m_request.newName;
    const Place direct{Format::join(target.path, item.name), Standing::nothing};
    const auto existing = target.entries.constFind(item.name);
    const bool picksNewName = m_policy == TransferConflictPolicy::rename && !m_request.isMove;
    if (existing == target.entries.cend() || !picksNewName)
        refuseOntoItself(node, direct);
    if (existing == target.entries.cend())
        return direct;

    const bool existingIsFolder = existing->isDirectory && !existing->isSymlink;
    if (node.isFolder() && existingIsFolder && m_policy != TransferConflictPolicy::rename)
        return Place{direct.path, Standing::merged};
    switch (choose(item, *existing)) {
    case ConflictAnswer::Choice::skip:
        return std::nullopt;
    case ConflictAnswer::Choice::rename: {
        const QString name = transferNames::freeName(
            item, [&target](const QString &candidate) { return target.entries.contains(candidate); });
        const Place renamed{Format::join(target.path, name), Standing::nothing};
        refuseOntoItself(node, renamed);
        return renamed;
    }
    case ConflictAnswer::Choice::overwrite:
        if (node.isFolder())
            throw Error(u"Transfer"_s, u"a file of this name is there, and a folder does not replace a file"_s);
        if (existingIsFolder)
            throw Error(u"Transfer"_s, u"a folder of this name is there, and a file does not replace a folder"_s);
        return Place{direct.path, Standing::replaced};
    case ConflictAnswer::Choice::cancel:
        break;
    }
    throw Cancelled();
}

ConflictAnswer::Choice TransferRun::choose(const FileItem &item, const FileItem &existing)
{
    using Choice = ConflictAnswer::Choice;
    switch (m_policy) {
    case TransferConflictPolicy::skip:
        return Choice::skip;
    case TransferConflictPolicy::overwrite:
        return Choice::overwrite;
    case TransferConflictPolicy::rename:
        return Choice::rename;
    case TransferConflictPolicy::ask:
        break;
    }
    const ConflictAnswer answer = m_callbacks.ask({item, existing}, m_stop);
    if (answer.forAll && answer.choice == Choice::skip)
        m_policy = TransferConflictPolicy::skip;
    else if (answer.forAll && answer.choice == Choice::overwrite)
        m_policy = TransferConflictPolicy::overwrite;
    else if (answer.forAll && answer.choice == Choice::rename)
        m_policy = TransferConflictPolicy::rename;
    return answer.choice;
}

void TransferRun::refuseOntoItself(const TransferNode &node, const Place &place) const
{
    if (m_route.isSame(node.item.path, place.path)) {
        throw Error(u"Transfer"_s,
                    m_request.isMove ? u"it is in this folder already"_s : u"it cannot be copied onto itself"_s);
    }
    if (node.isFolder() && m_route.isInside(Format::parent(place.path), node.item.path))
        throw Error(u"Transfer"_s, u"a folder cannot go into itself"_s);
}

bool TransferRun::moveInOneStep(const TransferNode &node, const Place &place)
{
    if (!m_route.isWithinOnePlace() || place.standing == Standing::merged)
        return false;
    const Existing existing = place.standing == Standing::replaced ? Existing::replace : Existing::refuse;
    return m_route.rename(node.item, place.path, existing, m_stop);
}

TransferRun::Result TransferRun::transferFolder(TransferNode &node, const Place &place)
{
    if (m_route.isWithinOneServer() && place.standing == Standing::nothing && !node.isScanned) {
        copyTreeOnServer(node, place);
        return Result::arrived;
    }
    fill(node);
    const bool isNew = place.standing == Standing::nothing;
    if (isNew)
        m_route.destination().createDirectory(place.path, m_stop);
    Target inner = isNew ? Target{place.path, {}} : openTarget(place.path);
    Result result = node.isIncomplete ? Result::incomplete : Result::arrived;
    for (TransferNode &child : node.children) {
        if (transfer(child, inner) == Result::incomplete)
            result = Result::incomplete;
    }
    if (isNew)
        applyFolderAttributes(node.item, place.path);
    return result;
}

void TransferRun::addDone(const TransferNode &node)
{
    m_outcome.counts.filesDone += node.fileCount();
    m_outcome.counts.bytesDone += node.byteCount();
    publish();
}

void TransferRun::report(const FileItem &item, const QString &reason)
{
    const QString verb = m_request.isMove ? u"moved"_s : u"copied"_s;
    m_outcome.failures.append(u"“%1” was not %2: %3"_s.arg(Format::display(item.name), verb, reason));
}

void TransferRun::publish(bool always)
{
    constexpr qint64 intervalMsecs = 100;
    if (!always && m_sincePublished.isValid() && m_sincePublished.elapsed() < intervalMsecs)
        return;
    m_sincePublished.start();
    if (m_callbacks.progress)
        m_callbacks.progress(m_outcome.counts);
}

} // namespace moorix
