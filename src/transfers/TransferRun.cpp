// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferRun.h"

#include "base/Error.h"
#include "base/Json.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "transfers/TransferNames.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;
using transferNames::NameSource;

namespace {

TransferRequest withId(TransferRequest request)
{
    if (request.id.isNull())
        request.id = newUuid();
    return request;
}

TransferRun::Callbacks complete(TransferRun::Callbacks callbacks)
{
    constexpr int usualFilesAtOnce = 3;
    if (!callbacks.gate)
        callbacks.gate = std::make_shared<TransferGate>(usualFilesAtOnce);
    if (!callbacks.control)
        callbacks.control = std::make_shared<TransferControl>();
    return callbacks;
}

NameSource nameSource(const TransferRoute &route)
{
    return route.isServerSource() ? NameSource::server : NameSource::localDisk;
}

} // namespace

TransferRun::TransferRun(TransferRequest request, Callbacks callbacks)
    : m_request(withId(std::move(request)))
    , m_callbacks(complete(std::move(callbacks)))
    , m_tally(m_callbacks.progress)
    , m_route(m_request.source, m_request.destination)
    , m_link(*m_callbacks.control, m_tally, m_callbacks.reconnectDelays)
    , m_scan(sourceScan([this](const FileItem &item, const QString &reason) { report(item, reason); }))
    , m_placement(
          m_request, m_route,
          [this](const TransferConflict &conflict) {
              if (m_callbacks.decide)
                  return ConflictAnswer{m_callbacks.decide(conflict)};
              // Who has to think is not what the files decided on already wait for.
              sendBundle();
              m_tally.publish(true);
              const std::jthread teller([this](const std::stop_token &answered) { tellRest(answered); });
              return m_callbacks.ask(conflict, m_callbacks.control->token());
          },
          [this](const FileItem &source, const QString &folder) { return isBegun(source, folder); })
    , m_parts(m_route, m_link, m_tally)
    , m_carrier(m_request, m_route, m_link, *m_callbacks.gate, m_tally)
    , m_bundles(m_request, m_route, m_link, *m_callbacks.gate, m_tally)
    , m_stream(m_request, m_route, m_link, *m_callbacks.gate, m_tally)
{
}

TransferScan TransferRun::sourceScan(std::function<void(const FileItem &, const QString &)> objected)
{
    if (m_callbacks.entriesOf)
        return TransferScan(m_callbacks.entriesOf, nameSource(m_route), std::move(objected));
    const auto list = [this](const QString &path) {
        return m_link.repeat([&](const std::stop_token &stop, bool) {
            return m_route.source().list(path, HiddenFiles::included, stop);
        });
    };
    const auto listTree = [this](const QString &path) {
        return m_link.repeat([&](const std::stop_token &stop, bool) { return m_route.sourceTree(path, stop); });
    };
    return TransferScan(list, nameSource(m_route), std::move(objected), listTree);
}

TransferOutcome TransferRun::run(const std::stop_token &stop)
{
    TransferControl &control = *m_callbacks.control;
    const std::stop_callback passOn(stop, [&control] { control.stop(TransferControl::Parts::removed); });
    bool wasCancelled = false;
    try {
        transferAll();
    } catch (const Cancelled &) {
        control.stop(TransferControl::Parts::removed);
        wasCancelled = !m_isLost;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            endForLostLink(error);
        else
            m_tally.fail(error.message());
    }
    m_lanes.finish();
    for (std::deque<Item> &piece : m_pieces) {
        for (Item &item : piece)
            settleStages(item);
    }
    if (m_isLost && m_request.isMove)
        tellOfOriginalsLeft();
    m_tally.publish(true);
    TransferOutcome outcome = m_tally.outcome();
    outcome.wasCancelled = wasCancelled || (control.isStopped() && !m_isLost);
    const QList<TransferPiece> pieces = m_request.pieces();
    QSet<QString> sourceFolders;
    for (qsizetype index = 0; index < pieces.size(); ++index) {
        for (const FileItem &item : pieces.at(index).items)
            sourceFolders.insert(Format::parent(item.path));
        if (std::size_t(index) >= m_pieces.size())
            outcome.remaining.append(pieces.at(index));
        else
            for (const Item &item : m_pieces.at(std::size_t(index)))
                addRemaining(item.node, pieces.at(index).targetFolder, outcome.remaining);
    }
    if (m_request.isMove)
        outcome.changedSourceFolders = sourceFolders.values();
    return outcome;
}

/// While a question is open, nothing more may come that would tell how far the last file is.
void TransferRun::tellRest(const std::stop_token &answered)
{
    constexpr std::chrono::milliseconds interval(200);
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    while (!answered.stop_requested()) {
        never.wait_for(lock, answered, interval, [] { return false; });
        m_tally.publishRest();
    }
}

void TransferRun::transferAll()
{
    for (const TransferPiece &piece : m_request.pieces()) {
        try {
            transferPiece(piece);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            // The other folders may be there all the same.
            if (isConnectionLost(error))
                throw;
            m_tally.fail(error.message());
        }
    }
    m_lanes.finish();
    if (m_callbacks.control->isStopped())
        throw Cancelled();
    if (m_request.check == TransferCheck::contents)
        checkContents();
}

void TransferRun::transferPiece(const TransferPiece &piece)
{
    std::deque<Item> &items = m_pieces.emplace_back();
    for (const FileItem &item : piece.items) {
        items.emplace_back().node.item = item;
        items.back().targetFolder = piece.targetFolder;
    }
    // The server answers while it is asked for other things.
    auto space = askForSpace(piece.targetFolder);
    TransferTarget target = openTarget(piece.targetFolder);
    lookAgain(items, target);
    plan(items);
    if (space)
        checkSpace(items, target, space->get());
    std::vector<Item *> through;
    for (Item &item : items) {
        if (item.node.fate != TransferNode::Fate::moved &&
            !transferNames::objection(item.node.item.name, nameSource(m_route)))
            dispatch(item.node, target, item);
        if (release(item))
            through.push_back(&item);
    }
    sendBundle();
    removeLeftParts(target);
    giveUp(through);
}

/// What an earlier run has left of a file is the beginning of what the file was then.
void TransferRun::lookAgain(std::deque<Item> &items, const TransferTarget &target)
{
    if (!m_request.isContinuation)
        return;
    QHash<QString, QHash<QString, FileItem>> present;
    for (Item &item : items) {
        FileItem &original = item.node.item;
        const QString folder = Format::parent(original.path);
        if (!present.contains(folder))
            present.insert(folder, sourceEntries(folder));
        const auto there = present[folder].constFind(original.path);
        if (there == present[folder].cend())
            passOverMoved(item, target);
        else if (!item.node.isFolder() && hasChanged(original, *there))
            original = *there;
    }
}

/// A move that broke off may have given its original up already: it has arrived.
void TransferRun::passOverMoved(Item &item, const TransferTarget &target)
{
    const FileItem &original = item.node.item;
    const auto arrived = target.entries.constFind(m_request.newName.isEmpty() ? original.name : m_request.newName);
    if (!m_request.isMove || arrived == target.entries.cend() || !m_placement.isArrival(original, *arrived))
        return;
    m_tally.addTotal(item.node.fileCount(), item.node.byteCount());
    arrive(item.node);
    item.node.fate = TransferNode::Fate::moved;
}

/// As far as a listing tells, which may know the time less well than whoever read the tree.
bool TransferRun::hasChanged(const FileItem &known, const FileItem &present) const
{
    if (!m_route.isServerSource() || !known.modified || !present.modified)
        return known.size != present.size || known.modified != present.modified;
    constexpr std::chrono::seconds least(60);
    const std::chrono::milliseconds later(known.modified->msecsTo(*present.modified));
    return known.size != present.size || later >= least || -later >= std::max(least, m_route.sourceSlack(present));
}

/// Told by its contents, since nothing else says which of several folders a run has made.
bool TransferRun::isBegun(const FileItem &source, const QString &folder)
{
    const QHash<QString, FileItem> originals = sourceEntries(source.path);
    const TransferTarget there = openTarget(folder);
    return std::all_of(there.entries.cbegin(), there.entries.cend(), [&](const FileItem &entry) {
        const auto original = originals.constFind(Format::join(source.path, entry.name));
        return transferNames::isPart(entry.name, m_request.id) ||
               (original != originals.cend() && m_placement.isArrival(*original, entry));
    });
}

/// By their paths.
QHash<QString, FileItem> TransferRun::sourceEntries(const QString &folder)
{
    QHash<QString, FileItem> entries;
    const QList<FileItem> listed = m_link.repeat(
        [&](const std::stop_token &stop, bool) { return m_route.source().list(folder, HiddenFiles::included, stop); });
    for (const FileItem &entry : listed)
        entries.insert(entry.path, entry);
    return entries;
}

/// Trees are read beforehand, which tells their size and keeps a copy from meeting itself. A rename or a copy made by
/// a server takes a folder as a whole, so those are not read unless it comes to merging.
void TransferRun::plan(std::deque<Item> &items)
{
    const bool takesFoldersWhole = m_route.isWithinOneServer() || (m_request.isMove && m_route.isWithinOnePlace());
    for (Item &item : items) {
        if (item.node.fate == TransferNode::Fate::moved)
            continue;
        if (const auto reason = transferNames::objection(item.node.item.name, nameSource(m_route))) {
            report(item.node.item, *reason);
            item.isIncomplete = true;
            continue;
        }
        if (!takesFoldersWhole)
            m_scan.fill(item.node);
        m_tally.addTotal(item.node.fileCount(), item.node.byteCount());
    }
}

void TransferRun::fill(TransferNode &node)
{
    if (node.isScanned)
        return;
    const qint64 counted = node.fileCount();
    m_scan.fill(node);
    m_tally.addTotal(node.fileCount() - counted, node.byteCount());
}

std::optional<std::future<std::optional<qint64>>> TransferRun::askForSpace(const QString &folder)
{
    // What an earlier run has left there takes room already.
    if (m_request.isContinuation || (m_request.isMove && m_route.isWithinOnePlace()))
        return std::nullopt;
    return std::async(std::launch::async, [this, folder] {
        return m_link.repeat(
            [&](const std::stop_token &stop, bool) { return m_route.destination().freeSpace(folder, stop); });
    });
}

void TransferRun::checkSpace(const std::deque<Item> &items, const TransferTarget &target,
                             std::optional<qint64> available)
{
    // What stands there already may be skipped or merged, so only the rest is sure to need room.
    qint64 needed = 0;
    for (const Item &item : items) {
        if (!target.entries.contains(item.node.item.name))
            needed += item.node.byteCount();
    }
    if (available && *available < needed) {
        throw Error(u"Transfer"_s, u"“%1” has %2 free, but %3 are needed. Nothing was copied."_s.arg(
                                       target.path, Format::byteCount(*available), Format::byteCount(needed)));
    }
}

TransferTarget TransferRun::openTarget(const QString &path)
{
    const QList<FileItem> entries = m_link.repeat([&](const std::stop_token &stop, bool) {
        return m_route.destination().list(path, HiddenFiles::included, stop);
    });
    TransferTarget target{path};
    target.entries.reserve(entries.size());
    for (const FileItem &entry : entries) {
        target.entries.insert(entry.name, entry);
        if (m_request.isContinuation && transferNames::isPart(entry.name, m_request.id))
            target.parts.insert(entry.name, entry);
    }
    return target;
}

/// Of what has changed since or goes nowhere any more: nobody would go on with them.
void TransferRun::removeLeftParts(const TransferTarget &target)
{
    for (const FileItem &part : target.parts)
        m_parts.remove(part);
}

void TransferRun::report(const FileItem &item, const QString &reason)
{
    if (m_callbacks.failed)
        m_callbacks.failed(item, reason);
    const QString verb = m_request.isMove ? u"moved"_s : u"copied"_s;
    m_tally.fail(u"“%1” was not %2: %3"_s.arg(Format::display(item.name), verb, reason));
}

/// The next file would not do better. What has arrived of the files under way stays for another try.
void TransferRun::endForLostLink(const Error &error)
{
    if (m_isLost.exchange(true) || m_callbacks.control->isStopped())
        return;
    m_callbacks.control->stop(TransferControl::Parts::kept);
    m_tally.fail(error.message());
}

} // namespace moorix
