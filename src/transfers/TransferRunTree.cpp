// SPDX-License-Identifier: GPL-3.0-or-later
// How the entries of a tree get on their way, one after the other.
#include "transfers/TransferRun.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "transfers/TransferNames.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;
using Fate = TransferNode::Fate;
using Standing = TransferPlace::Standing;

void TransferRun::dispatch(TransferNode &node, TransferTarget &target, Item &item)
{
    m_callbacks.control->waitWhilePaused();
    try {
        const auto [kind, place] = m_placement.decide(node, target);
        if (kind == TransferPlacement::Kind::isSkipped) {
            node.fate = Fate::skipped;
            m_tally.addSkipped(node.fileCount(), node.byteCount());
            item.isIncomplete = true;
        } else if (kind == TransferPlacement::Kind::isThere) {
            arrive(node);
        } else {
            m_tally.noteChanged(finalPath(item, target.path));
            send(node, place, target, item);
        }
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            throw;
        item.isIncomplete = true;
        report(node.item, error.message());
    }
}

void TransferRun::send(TransferNode &node, const TransferPlace &place, TransferTarget &target, Item &item)
{
    // Taken from now on, whatever becomes of it.
    FileItem arriving = transferNames::itemAt(place.path, node.item);
    if (m_request.isMove && m_carrier.moveInOneStep(node.item, place)) {
        arrive(node);
        node.fate = Fate::moved;
    } else if (node.isFolder()) {
        enterFolder(node, place, target, item);
    } else if (m_bundles.suits(node, place)) {
        bundle(node, place, item);
    } else {
        sendFile(node, place, item);
    }
    target.entries.insert(arriving.name, std::move(arriving));
}

void TransferRun::enterFolder(TransferNode &node, const TransferPlace &place, const TransferTarget &target, Item &item)
{
    const bool isNew = place.standing == Standing::nothing;
    if (m_route.isWithinOneServer() && isNew && !node.isScanned) {
        addTask(item, node, [this, &node, place] {
            m_carrier.copyTreeOnServer(node.item, place);
            arrive(node);
        });
        return;
    }
    fill(node);
    const FileItem stage = stageOf(node, place);
    const bool isBegun = target.entries.contains(stage.name);
    auto streamed = TransferStream::Result::refused;
    if (isNew && !isBegun)
        streamed = streamFolder(node, place, item);
    if (streamed == TransferStream::Result::carried)
        return;
    const bool brokeOff = streamed == TransferStream::Result::brokenOff;
    TransferTarget inner{place.path, {}, true};
    if (isNew && !target.isStage && (isBegun || brokeOff || m_bundles.suitsStage(node)))
        inner = openStage(node, place, isBegun || brokeOff, item);
    else if (isNew)
        makeFolder(place.path);
    else
        inner = target.isStage ? openAgain(node, place.path, item) : openTarget(place.path);
    // What an earlier run had begun, before somebody else made the folder.
    if (!isNew && isBegun)
        m_parts.remove(stage);
    inner.isStage = inner.isStage || target.isStage;
    node.placedAt = finalPath(item, place.path);
    node.fate = Fate::entered;
    if (isNew || target.isStage)
        item.newFolders.emplace_back(node.item, node.placedAt);
    if (node.isIncomplete)
        item.isIncomplete = true;
    for (TransferNode &child : node.children)
        dispatch(child, inner, item);
}

FileItem TransferRun::stageOf(const TransferNode &node, const TransferPlace &place) const
{
    return transferNames::itemAt(transferNames::stagePath(place.path, m_request.id, node.item), node.item);
}

/// Renaming the folder once all is there costs less than renaming each of its files, and another try finds them.
TransferTarget TransferRun::openStage(TransferNode &node, const TransferPlace &place, bool mayBeThere, Item &item)
{
    const FileItem part = stageOf(node, place);
    const auto note = [&](bool isFromBefore) {
        const std::lock_guard lock(m_arrivedMutex);
        item.stages.push_back({&node, part, place, isFromBefore});
    };
    bool isThere = false;
    if (mayBeThere) {
        // Noted first: a stop while the server is asked, or cannot be, must find what is to be removed.
        note(true);
        isThere = m_link.repeat(
            [&](const std::stop_token &stop, bool) { return m_route.destination().stat(part.path, stop).has_value(); });
        if (!isThere) {
            const std::lock_guard lock(m_arrivedMutex);
            item.stages.pop_back();
        }
    }
    if (!isThere) {
        makeFolder(part.path);
        note(false);
    }
    TransferTarget stage = isThere ? openAgain(node, part.path, item) : TransferTarget{part.path, {}, true};
    stage.isStage = true;
    return stage;
}

/// Opens a folder of a stage that an earlier try has filled. Until all of those are clear, it cannot take its name.
TransferTarget TransferRun::openAgain(const TransferNode &node, const QString &path, Item &item)
{
    const bool wasUnclear = std::exchange(item.hasUnclearStage, true);
    TransferTarget target = openTarget(path);
    clear(node, target);
    item.hasUnclearStage = wasUnclear;
    return target;
}

/// Removes what is not whole, or is no longer planned: nothing else may be in the folder when it takes its name.
void TransferRun::clear(const TransferNode &node, TransferTarget &stage)
{
    QSet<QString> kept;
    for (const TransferNode &child : node.children) {
        const QString path = Format::join(stage.path, child.item.name);
        kept << Format::fileName(transferNames::partPath(path, m_request.id, child.item));
        const auto entry = stage.entries.constFind(child.item.name);
        if (entry != stage.entries.cend() && TransferPlacement::isArrival(child.item, *entry))
            kept << child.item.name;
    }
    std::vector<RemoteStep> steps;
    for (const FileItem &entry : QHash(stage.entries)) {
        if (kept.contains(entry.name))
            continue;
        const bool isFolder = entry.isDirectory && !entry.isSymlink;
        if (isFolder || !m_bundles.mayTakeSteps())
            m_link.repeat([&](const std::stop_token &stop, bool) { m_parts.clear(entry, stop); });
        else
            steps.push_back({RemoteStep::Kind::remove, entry.path});
        stage.entries.remove(entry.name);
    }
    if (!steps.empty())
        m_bundles.takeSteps(steps);
    for (const RemoteStep &step : steps) {
        if (step.state == RemoteStep::State::failed)
            throw Error(u"Transfer"_s, u"the unfinished “%1” could not be removed: %2"_s.arg(step.path, step.failure));
    }
}

/// Where something will be in the end that is written at `path`.
QString TransferRun::finalPath(const Item &item, const QString &path)
{
    const std::lock_guard lock(m_arrivedMutex);
    for (const Stage &stage : item.stages) {
        const QString &part = stage.part.path;
        if (path == part || path.startsWith(part + u'/'))
            return stage.place.path + path.mid(part.size());
    }
    return path;
}

/// Takes the folder in one stream where that is possible and faster.
TransferStream::Result TransferRun::streamFolder(TransferNode &node, const TransferPlace &place, Item &item)
{
    if (!m_stream.suits(node))
        return TransferStream::Result::refused;
    const TransferStream::Result result = m_stream.carry(node, place);
    if (result == TransferStream::Result::refused)
        m_bundles.refuseArchives();
    if (result != TransferStream::Result::carried)
        return result;
    if (node.isIncomplete)
        item.isIncomplete = true;
    sendRest(node, item);
    return result;
}

/// What a stream has left out goes file by file.
void TransferRun::sendRest(TransferNode &node, Item &item)
{
    TransferTarget inner{node.placedAt, {}, true};
    for (TransferNode &child : node.children) {
        if (child.fate == Fate::entered) {
            sendRest(child, item);
        } else if (child.fate == Fate::arrived) {
            noteArrived(item, child, Format::join(node.placedAt, child.item.name));
        } else {
            dispatch(child, inner, item);
        }
    }
}

void TransferRun::sendFile(TransferNode &node, const TransferPlace &place, Item &item)
{
    addTask(item, node, [this, &node, &item, place] {
        m_carrier.carry(node.item, place);
        node.fate = Fate::arrived;
        noteArrived(item, node, place.path);
    });
}

void TransferRun::bundle(TransferNode &node, const TransferPlace &place, Item &item)
{
    constexpr qint64 mostBytes = 4 * 1024 * 1024;
    ++item.pending;
    m_bundle.entries.push_back({&node, place});
    m_bundle.items.push_back(&item);
    m_bundle.bytes += node.item.size;
    if (qint64(m_bundle.entries.size()) >= bundleSize() || m_bundle.bytes >= mostBytes)
        sendBundle();
}

/// So many files that all lanes have about as much to do.
qint64 TransferRun::bundleSize() const
{
    constexpr qint64 fewest = 16;
    constexpr qint64 most = TransferBundles::mostFiles;
    const qint64 files = m_tally.filesTotal();
    const qint64 lanes = m_bundles.lanes();
    const qint64 rounds = std::max<qint64>(1, (files + lanes * most - 1) / (lanes * most));
    return std::clamp((files + lanes * rounds - 1) / (lanes * rounds), fewest, most);
}

void TransferRun::sendBundle()
{
    if (m_bundle.entries.empty())
        return;
    m_lanes.add([this, bundle = std::make_shared<Bundle>(std::exchange(m_bundle, {}))] {
        try {
            if (!m_callbacks.control->isStopped())
                carryBundle(*bundle);
        } catch (const Cancelled &) {
            // Their fates tell which of them have arrived.
        } catch (const Error &error) {
            endForLostLink(error);
        }
        for (std::size_t i = 0; i < bundle->entries.size(); ++i)
            settle(*bundle->items.at(i), *bundle->entries.at(i).node);
    });
}

void TransferRun::carryBundle(Bundle &bundle)
{
    const bool isCarried = m_bundles.carry(bundle.entries);
    for (std::size_t i = 0; i < bundle.entries.size(); ++i) {
        const TransferBundles::Entry &entry = bundle.entries.at(i);
        Item &item = *bundle.items.at(i);
        if (!isCarried) {
            sendFile(*entry.node, entry.place, item);
            release(item);
        } else if (entry.node->fate == Fate::arrived) {
            noteArrived(item, *entry.node, entry.place.path);
        } else {
            report(entry.node->item, entry.failure);
        }
    }
    if (!isCarried)
        bundle.entries.clear();
}

void TransferRun::makeFolder(const QString &path)
{
    m_link.repeat([&](const std::stop_token &stop, bool isFirst) {
        if (isFirst || !m_route.destination().stat(path, stop))
            m_route.destination().createDirectory(path, stop);
    });
}

void TransferRun::addTask(Item &item, TransferNode &node, std::function<void()> task)
{
    ++item.pending;
    m_lanes.add([this, &item, &node, task = std::move(task)] {
        try {
            if (!m_callbacks.control->isStopped())
                task();
        } catch (const Cancelled &) {
            item.isIncomplete = true;
        } catch (const Error &error) {
            item.isIncomplete = true;
            if (isConnectionLost(error))
                endForLostLink(error);
            else
                report(node.item, error.message());
        }
        settle(item, node);
    });
}

/// A file is done with, whatever became of it.
void TransferRun::settle(Item &item, const TransferNode &node)
{
    if (node.fate != Fate::arrived)
        item.isIncomplete = true;
    release(item);
}

void TransferRun::noteArrived(Item &item, const TransferNode &node, const QString &path)
{
    const QString arrivedAt = finalPath(item, path);
    const std::lock_guard lock(m_arrivedMutex);
    m_arrived.push_back({&item, node.item, arrivedAt});
}

void TransferRun::arrive(TransferNode &node)
{
    node.fate = Fate::arrived;
    m_tally.addFound(node.fileCount(), node.byteCount());
}

} // namespace moorix
