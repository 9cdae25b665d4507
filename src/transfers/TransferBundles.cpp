// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferBundles.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "transfers/BundleArchive.h"
#include "transfers/TransferNames.h"

#include <QHash>
#include <QSet>

#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;
using Fate = TransferNode::Fate;

namespace {

/// Those that have not come to their places, but may have been begun.
std::vector<RemoteCopy> unnamed(const std::vector<TransferBundles::Entry> &entries,
                                const std::vector<RemoteCopy> &copies)
{
    std::vector<RemoteCopy> rest;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries.at(i).node->fate != Fate::arrived && entries.at(i).failure.isEmpty())
            rest.push_back(copies.at(i));
    }
    return rest;
}

std::vector<RemoteCopy> stillOpen(const std::vector<RemoteCopy> &copies)
{
    std::vector<RemoteCopy> rest;
    for (const RemoteCopy &copy : copies) {
        if (copy.state == RemoteCopy::State::open)
            rest.push_back(copy);
    }
    return rest;
}

} // namespace

bool TransferBundles::suits(const TransferNode &file, const TransferPlace &place) const
{
    // Larger files are better off where each can go on by itself after a break.
    constexpr qint64 largestBytes = 256 * 1024;
    return !m_isRefused && m_route.isServerSource() != m_route.isServerDestination() && server().takesMany() &&
           !file.item.isSymlink && file.item.size <= largestBytes && !place.isContinued;
}

int TransferBundles::lanes() const
{
    return m_gate.lanesForSmall(lanesAtServer());
}

/// As archives few of them fill the line.
int TransferBundles::lanesAtServer() const
{
    const bool mayBeArchives = !m_isArchiveRefused && server().mayTakeArchives();
    return mayBeArchives ? TransferGate::mostPerServer : server().lanesForMany();
}

bool TransferBundles::suitsStage(const TransferNode &folder) const
{
    constexpr qint64 fewestFiles = 8;
    return !m_isRefused && mayTakeSteps() && (m_isArchiveRefused || !server().mayTakeArchives()) &&
           folder.fileCount() >= fewestFiles && !hasTwins(folder);
}

bool TransferBundles::carry(std::vector<Entry> &entries)
{
    std::vector<RemoteCopy> copies;
    Progress progress;
    bool hasParts = false;
    for (Entry &entry : entries) {
        const FileItem &file = entry.node->item;
        const QString &path = entry.place.path;
        copies.push_back(
            {file.path, entry.place.isStaged ? path : transferNames::partPath(path, m_request.id, file), file.size});
        try {
            m_route.requireAddressable(file.path, copies.back().to);
        } catch (const Error &error) {
            copies.back().state = RemoteCopy::State::failed;
            copies.back().failure = entry.failure = error.message();
        }
        progress.emplace_back(m_tally, file.name);
        hasParts = hasParts || entry.place.hasPart;
    }
    bool isArchive = false;
    try {
        isArchive = copyAcrossBreaks(copies, progress, hasParts);
        giveNames(entries, copies);
    } catch (const Error &error) {
        const TransferControl &control = m_link.control();
        if (control.isStopped() ? !control.keepsParts() : !isConnectionLost(error))
            removeParts(unnamed(entries, copies));
        if (control.isStopped() || isConnectionLost(error))
            throw;
        m_tally.note(u"File by file: %1"_s.arg(error.message().section(u'\n', 0, 0)));
        m_isRefused = true;
        return false;
    }
    removeParts(unnamed(entries, copies));
    qint64 arrived = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries.at(i).node->fate == Fate::arrived) {
            progress.at(i).arrive(copies.at(i).copiedBytes);
            ++arrived;
        } else {
            entries.at(i).failure = copies.at(i).failure;
        }
    }
    if (arrived > 0)
        noteWay(arrived, isArchive);
    return true;
}

void TransferBundles::noteWay(qint64 files, bool isArchive)
{
    const QString done = m_route.isServerDestination() ? u"Sent"_s : u"Received"_s;
    const QString way = isArchive ? u"in streams"_s : u"in bundles"_s;
    m_tally.noteMore(files, {}, u"%1 %2 of up to %3: "_s.arg(done, way).arg(mostFiles) + u"%1 files."_s);
}

bool TransferBundles::copyAcrossBreaks(std::vector<RemoteCopy> &copies, Progress &progress, bool hasParts)
{
    TransferLink::Tries tries(m_link);
    TransferControl &control = m_link.control();
    const auto advanced = [&](std::size_t index) {
        tries.restored();
        progress.at(index).moveTo(copies.at(index).bytes);
    };
    while (true) {
        control.waitWhilePaused();
        try {
            const std::stop_token stop = control.untilPause();
            const TransferGate::Place place = m_gate.enterForSmall(&server(), lanesAtServer(), stop, speed());
            // What an earlier try has written may not be written to again: it may have its mode already.
            if (std::exchange(hasParts, true))
                clearParts(stillOpen(copies), stop);
            const bool isArchive = copyAsArchive(copies, advanced, stop);
            // All of them, or what the archive has left out.
            if (m_route.isServerDestination())
                server().uploadAll(copies, advanced, stop);
            else
                server().downloadAll(copies, advanced, stop);
            return isArchive;
        } catch (const Cancelled &) {
            if (control.isStopped())
                throw;
        } catch (const Error &error) {
            tries.wait(error);
        }
        for (std::size_t i = 0; i < copies.size(); ++i) {
            if (copies.at(i).state == RemoteCopy::State::open)
                progress.at(i).moveTo(0);
        }
    }
}

bool TransferBundles::copyAsArchive(std::vector<RemoteCopy> &copies, const RemoteFileService::Advanced &advanced,
                                    const std::stop_token &stop)
{
    constexpr std::size_t fewestFiles = 8;
    if (m_isArchiveRefused || !server().mayTakeArchives() || stillOpen(copies).size() < fewestFiles)
        return false;
    try {
        const auto copy = m_route.isServerDestination() ? bundleArchive::upload : bundleArchive::download;
        const bool isTaken = copy(server(), copies, advanced, stop);
        m_isArchiveRefused = !isTaken;
        return isTaken;
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            throw;
        m_isArchiveRefused = true;
        m_tally.note(u"Not as one stream: %1"_s.arg(error.message().section(u'\n', 0, 0)));
        clearParts(stillOpen(copies), stop);
    }
    return false;
}

/// A copy may only count as whole, and its original as superfluous, by what the original is at this moment.
void TransferBundles::verify(const FileItem &file, RemoteCopy &copy)
{
    if (copy.state != RemoteCopy::State::arrived)
        return;
    qint64 expected = copy.bytes;
    if (copy.copiedBytes != expected || (m_request.isMove && !m_route.isServerSource())) {
        expected = m_link.repeat([&](const std::stop_token &stop, bool) { return m_route.sizeAtSource(file, stop); });
    }
    if (copy.copiedBytes == expected) {
        requireUnchanged(file);
        return;
    }
    copy.state = RemoteCopy::State::failed;
    copy.failure =
        u"the copy has %1 bytes, the original %2; it may have changed meanwhile"_s.arg(copy.copiedBytes).arg(expected);
}

/// Asked once for each pair of folders.
void TransferBundles::requireOtherFolder(const RemoteCopy &copy, QSet<QString> &otherPlaces) const
{
    const QString folders = Format::parent(copy.from) + u'\n' + Format::parent(copy.to);
    if (otherPlaces.contains(folders))
        return;
    requireOtherPlace(transferNames::itemAt(copy.from), copy.to);
    otherPlaces.insert(folders);
}

/// Only to those that are whole.
void TransferBundles::giveNames(std::vector<Entry> &entries, std::vector<RemoteCopy> &copies)
{
    QSet<QString> otherPlaces;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        try {
            verify(entries.at(i).node->item, copies.at(i));
            if (copies.at(i).state == RemoteCopy::State::arrived && entries.at(i).place.replacesForeign())
                requireOtherFolder(copies.at(i), otherPlaces);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            if (isConnectionLost(error))
                throw;
            copies.at(i).state = RemoteCopy::State::failed;
            copies.at(i).failure = error.message();
        }
    }
    if (m_route.isServerDestination()) {
        giveNamesOnServer(entries, copies);
        return;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        RemoteCopy &copy = copies.at(i);
        if (copy.state != RemoteCopy::State::arrived)
            continue;
        try {
            m_route.applyListedMode(entries.at(i).node->item, copy.to);
            if (!entries.at(i).place.isStaged)
                m_parts.giveName(transferNames::itemAt(copy.to), entries.at(i).place);
            entries.at(i).node->fate = Fate::arrived;
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            copy.failure = error.message();
        }
    }
}

void TransferBundles::giveNamesOnServer(std::vector<Entry> &entries, std::vector<RemoteCopy> &copies)
{
    std::vector<RemoteStep> steps;
    std::vector<std::size_t> indices;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (copies.at(i).state != RemoteCopy::State::arrived)
            continue;
        const TransferPlace &place = entries.at(i).place;
        if (place.isStaged) {
            entries.at(i).node->fate = Fate::arrived;
            continue;
        }
        // In a folder of this transfer nobody else puts anything.
        const bool replaces = place.standing == TransferPlace::Standing::replaced || place.isInNewFolder;
        steps.push_back({replaces ? RemoteStep::Kind::replace : RemoteStep::Kind::rename, copies.at(i).to, place.path});
        indices.push_back(i);
    }
    if (!steps.empty())
        takeSteps(steps);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps.at(i).state == RemoteStep::State::done)
            entries.at(indices.at(i)).node->fate = Fate::arrived;
        else
            copies.at(indices.at(i)).failure = u"its copy could not take its name: %1"_s.arg(steps.at(i).failure);
    }
}

void TransferBundles::takeSteps(std::vector<RemoteStep> &steps)
{
    m_link.repeat([&](const std::stop_token &stop, bool isFirst) {
        if (!isFirst)
            findTaken(steps, stop);
        server().takeSteps(steps, stop);
    });
}

/// The link may have broken between a step and the word of it.
void TransferBundles::findTaken(std::vector<RemoteStep> &steps, const std::stop_token &stop)
{
    QHash<QString, QSet<QString>> there;
    for (RemoteStep &step : steps) {
        if (step.state != RemoteStep::State::open || !step.isRename())
            continue;
        const QString folder = Format::parent(step.path);
        if (!there.contains(folder)) {
            QSet<QString> &paths = there[folder];
            for (const FileItem &item : server().list(folder, HiddenFiles::included, stop))
                paths.insert(item.path);
        }
        if (!there[folder].contains(step.path) && there[folder].contains(step.toPath))
            step.state = RemoteStep::State::done;
    }
}

void TransferBundles::clearParts(const std::vector<RemoteCopy> &copies, const std::stop_token &stop)
{
    std::vector<RemoteStep> steps;
    for (const RemoteCopy &copy : copies) {
        if (m_route.isLocalDestination())
            m_parts.remove(transferNames::itemAt(copy.to));
        else
            steps.push_back({RemoteStep::Kind::remove, copy.to});
    }
    if (!steps.empty())
        server().takeSteps(steps, stop);
    for (const RemoteStep &step : steps) {
        if (step.state == RemoteStep::State::failed)
            failToRemove(step.path, step.failure);
    }
}

/// Cleans up even after a stop, hence the token of its own.
void TransferBundles::removeParts(const std::vector<RemoteCopy> &copies)
{
    try {
        clearParts(copies, std::stop_token());
    } catch (const Error &error) {
        failToRemove(copies.front().to, error.message());
    }
}

void TransferBundles::failToRemove(const QString &path, const QString &reason)
{
    m_hasLeftHalves = true;
    m_tally.fail(u"The unfinished copy “%1” could not be removed: %2"_s.arg(path, reason));
}

} // namespace moorix
