// SPDX-License-Identifier: GPL-3.0-or-later
// What is done once all of an item has arrived, and how an original is given up.
#include "transfers/TransferRun.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "transfers/TarPacker.h"
#include "transfers/TransferChecksums.h"

#include <QHash>
#include <QSet>

#include <algorithm>

#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;

/// The last one out closes the door: whichever lane it is, the folders get their modes and times. Returns whether the
/// original is to be given up.
bool TransferRun::release(Item &item)
{
    if (--item.pending > 0 || m_callbacks.control->isStopped())
        return false;
    try {
        finishFolders(item);
        return m_request.isMove && !item.isIncomplete && m_request.check == TransferCheck::size &&
               item.node.fate != TransferNode::Fate::moved;
    } catch (const Cancelled &) {
    } catch (const Error &error) {
        endForLostLink(error);
    }
    return false;
}

/// Originals go last: only when all of an item has arrived, only when nothing has joined it or changed since it was
/// read, and only after the copies have reached the disk, as far as it is this machine's.
void TransferRun::giveUp(const std::vector<Item *> &items)
{
    const std::optional<QString> problem = flush(items);
    std::vector<Item *> files;
    for (Item *item : items) {
        item->isThrough = true;
        if (problem)
            tellOfOriginal(*item, u"stays: "_s + *problem);
        else if (!item->node.isFolder() && m_bundles.mayTakeStepsAtSource())
            files.push_back(item);
        else
            removeSource(*item);
    }
    if (!files.empty())
        removeTogether(files);
}

/// Modes and times that a file system or a server does not take are left as they are: the content is what counts.
/// Where a stage has not got its name, a folder of that name is somebody else's, with all that is in it.
void TransferRun::finishFolders(Item &item)
{
    nameStages(item);
    const auto isOurs = [&item](const QString &path) {
        return std::none_of(item.stages.cbegin(), item.stages.cend(), [&path](const Stage &stage) {
            return !stage.isNamed && (path == stage.place.path || path.startsWith(stage.place.path + u'/'));
        });
    };
    std::vector<RemoteStep> steps;
    for (auto folder = item.newFolders.crbegin(); folder != item.newFolders.crend(); ++folder) {
        const auto &[original, path] = *folder;
        if (!isOurs(path))
            continue;
        const auto octal = Format::octalMode(original.permissions);
        if (!m_bundles.mayTakeSteps())
            applyFolderAttributes(original, path);
        else if (octal)
            steps.push_back({RemoteStep::Kind::setMode, path, {}, *octal});
    }
    if (!steps.empty())
        m_bundles.takeSteps(steps);
}

/// What has not arrived was removed, so that each file in a stage is whole.
void TransferRun::nameStages(Item &item)
{
    std::vector<RemoteStep> steps;
    std::vector<Stage *> renamed;
    for (Stage &stage : item.stages) {
        if (m_bundles.hasLeftHalves() || item.hasUnclearStage) {
            fail(item, stage,
                 u"it waits as “%1” because an unfinished copy in it could not be removed"_s.arg(stage.part.name));
        } else if (m_bundles.mayTakeSteps()) {
            renamed.push_back(&stage);
            steps.push_back({RemoteStep::Kind::renameFolder, stage.part.path, stage.place.path});
        } else {
            nameStage(item, stage);
        }
    }
    if (steps.empty())
        return;
    m_bundles.takeSteps(steps);
    for (std::size_t i = 0; i < renamed.size(); ++i) {
        renamed.at(i)->isNamed = steps.at(i).state == RemoteStep::State::done;
        if (!renamed.at(i)->isNamed)
            fail(item, *renamed.at(i), u"it could not take its name: %1"_s.arg(steps.at(i).failure));
    }
}

void TransferRun::nameStage(Item &item, Stage &stage)
{
    try {
        m_parts.giveName(stage.part, stage.place);
        stage.isNamed = true;
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &error) {
        if (isConnectionLost(error))
            throw;
        fail(item, stage, error.message());
    }
}

void TransferRun::fail(Item &item, const Stage &stage, const QString &reason)
{
    item.isIncomplete = true;
    report(stage.node->item, reason);
}

/// When the user has stopped the transfer, whole files stay as in any other folder, unless there may be others. What
/// the link was lost for, another try goes on with.
void TransferRun::settleStages(Item &item)
{
    for (Stage &stage : item.stages) {
        if (stage.isNamed)
            continue;
        const TransferControl &control = *m_callbacks.control;
        try {
            // Even after a stop, hence the token of its own.
            if (control.isStopped() && !control.keepsParts() && !m_bundles.hasLeftHalves()) {
                if (stage.isFromBefore)
                    m_parts.clear(stage.part, {});
                else
                    stage.isNamed = m_route.rename(stage.part, stage.place.path, localTransfer::Existing::refuse, {});
            }
            if (stage.isNamed)
                continue;
        } catch (const Error &error) {
            m_tally.fail(u"The unfinished copy “%1” stays: %2"_s.arg(stage.part.path, error.message()));
        }
        stage.node->fate = TransferNode::Fate::open;
        item.isIncomplete = true;
    }
}

void TransferRun::applyFolderAttributes(const FileItem &folder, const QString &path)
{
    if (const auto octal = Format::octalMode(folder.permissions)) {
        try {
            m_link.repeat([&](const std::stop_token &stop, bool) {
                m_route.destination().setPermissions(path, *octal, Recursive::no, stop);
            });
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

/// Reads both sides once more, each in one go.
void TransferRun::checkContents()
{
    QStringList originals;
    QStringList copies;
    for (const Arrived &arrived : m_arrived) {
        if (arrived.file.isSymlink)
            continue;
        originals << arrived.file.path;
        copies << arrived.path;
    }
    const auto sums = [this](FileService &service, const QStringList &paths) {
        return m_link.repeat(
            [&](const std::stop_token &stop, bool) { return transferChecksums::of(service, paths, stop); });
    };
    const auto copied = sums(m_route.destination(), copies);
    const auto original = copied ? sums(m_route.source(), originals) : std::nullopt;
    m_tally.note(original ? u"Contents compared by SHA-256."_s
                          : u"Only sizes were compared: the server cannot compute checksums."_s);
    for (const Arrived &arrived : m_arrived) {
        if (!original || arrived.file.isSymlink ||
            transferChecksums::areSame(*original, arrived.file.path, *copied, arrived.path))
            continue;
        arrived.item->isIncomplete = true;
        m_tally.fail(u"The copy of “%1” differs from the original."_s.arg(Format::display(arrived.file.name)));
    }
    std::vector<Item *> through;
    for (std::deque<Item> &piece : m_pieces) {
        for (Item &item : piece) {
            // What could not be begun is still pending.
            const bool isThere = item.pending == 0 && !item.isIncomplete;
            if (m_request.isMove && isThere && item.node.fate != TransferNode::Fate::moved)
                through.push_back(&item);
        }
    }
    giveUp(through);
}

void TransferRun::removeSource(Item &item)
{
    const TransferNode &node = item.node;
    try {
        const auto present = m_link.repeat(
            [&](const std::stop_token &stop, bool) { return m_route.source().stat(node.item.path, stop); });
        if (!present)
            return;
        if (!isUnchanged(node, *present)) {
            tellOfOriginal(item, u"stays because it has changed meanwhile."_s);
            return;
        }
        if (node.isFolder() && !m_route.isServerSource()) {
            if (!removeCopied(item.node))
                tellOfOriginal(item, u"stays where it has changed meanwhile."_s);
            return;
        }
        if (node.isFolder() && m_bundles.mayRemoveByStepsAtSource()) {
            removeCopiedAtServer(item);
            return;
        }
        m_link.repeat([&](const std::stop_token &stop, bool isFirst) {
            if (isFirst || m_route.source().stat(node.item.path, stop))
                m_route.source().remove(node.item, stop);
        });
    } catch (const Cancelled &) {
        item.isThrough = false;
    } catch (const Error &error) {
        tellOfOriginal(item, u"could not be removed: "_s + error.message());
    }
}

/// What joins a local folder, or changes in it, while the rest of it goes, stays.
bool TransferRun::removeCopied(TransferNode &folder) const
{
    QHash<QString, const FileItem *> copied{{folder.item.path, &folder.item}};
    for (const TreeEntry &entry : entriesOf(folder))
        copied.insert(entry.node->item.path, &entry.node->item);
    const auto isAsCopied = [&copied](const QString &path) {
        const FileItem *known = copied.value(path);
        const auto status = known ? LocalDisk::statusOf(path) : nullptr;
        if (!status)
            return false;
        const FileItem now = LocalDisk::item(known->name, path, *status);
        const bool isFolder = now.isDirectory && !now.isSymlink;
        return isFolder || (now.size == known->size && now.modified == known->modified);
    };
    return LocalDisk::removeTree(folder.item.path, isAsCopied, m_callbacks.control->token());
}

/// As above. A server with a shell needs one command for the whole folder instead.
void TransferRun::removeCopiedAtServer(Item &item)
{
    // So that a stop or a lost connection costs little.
    constexpr std::size_t mostAtOnce = 500;
    const std::vector<TreeEntry> entries = entriesOf(item.node);
    std::vector<RemoteStep> all;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        const bool isFolder = entry->node->isFolder();
        all.push_back({isFolder ? RemoteStep::Kind::removeFolder : RemoteStep::Kind::remove, entry->node->item.path});
    }
    all.push_back({RemoteStep::Kind::removeFolder, item.node.item.path});
    for (auto next = all.begin(); next != all.end();) {
        const auto end = next + std::min<std::ptrdiff_t>(mostAtOnce, all.end() - next);
        std::vector<RemoteStep> steps(next, end);
        next = end;
        m_bundles.takeSteps(steps);
        const auto failed = std::ranges::find(steps, RemoteStep::State::failed, &RemoteStep::state);
        if (failed != steps.end()) {
            tellOfOriginal(item,
                           u"could not be removed: “%1”: %2"_s.arg(Format::display(failed->path), failed->failure));
            return;
        }
    }
}

/// Files of a server, with one listing of each folder and one run: asking for each alone would read its folder as
/// often.
void TransferRun::removeTogether(const std::vector<Item *> &items)
{
    QHash<QString, QHash<QString, FileItem>> present;
    std::vector<RemoteStep> steps;
    std::vector<const Item *> going;
    try {
        for (Item *item : items) {
            const FileItem &file = item->node.item;
            const QString folder = Format::parent(file.path);
            if (!present.contains(folder))
                present.insert(folder, sourceEntries(folder));
            const auto there = present[folder].constFind(file.path);
            if (there == present[folder].cend())
                continue;
            if (isUnchanged(item->node, *there)) {
                steps.push_back({RemoteStep::Kind::remove, file.path});
                going.push_back(item);
            } else {
                tellOfOriginal(*item, u"stays because it has changed meanwhile."_s);
            }
        }
        if (!steps.empty())
            m_bundles.takeSteps(steps);
    } catch (const Cancelled &) {
        for (Item *item : items)
            item->isThrough = false;
        return;
    } catch (const Error &error) {
        for (const Item *item : items)
            tellOfOriginal(*item, u"could not be removed: "_s + error.message());
        return;
    }
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps.at(i).state == RemoteStep::State::failed)
            tellOfOriginal(*going.at(i), u"could not be removed: "_s + steps.at(i).failure);
    }
}

/// What was written may be lost with the power until then. Returns why it could not be brought to the disk.
std::optional<QString> TransferRun::flush(const std::vector<Item *> &items) const
{
    QSet<QString> folders;
    if (m_route.isLocalDestination()) {
        for (const Item *item : items)
            folders.insert(item->targetFolder);
    }
    try {
        for (const QString &folder : std::as_const(folders))
            localTransfer::flush(folder);
        return std::nullopt;
    } catch (const Error &error) {
        return error.message();
    }
}

void TransferRun::tellOfOriginal(const Item &item, const QString &fate)
{
    m_tally.fail(u"“%1” was copied, but the original %2"_s.arg(Format::display(item.node.item.name), fate));
}

/// Of what is complete, but came through when the link was lost already.
void TransferRun::tellOfOriginalsLeft()
{
    for (const std::deque<Item> &piece : m_pieces) {
        for (const Item &item : piece) {
            const bool isThrough = item.isThrough || item.node.fate == TransferNode::Fate::moved;
            if (item.pending == 0 && !item.isIncomplete && !isThrough)
                tellOfOriginal(item, u"stays, as the connection was lost."_s);
        }
    }
}

bool TransferRun::isUnchanged(const TransferNode &node, const FileItem &present)
{
    TransferNode now{node.item};
    now.item.size = present.size;
    // The two may come from ways to list a server that differ in what they tell of a time.
    if (!m_route.isServerSource())
        now.item.modified = present.modified;
    else if (!node.isFolder() && hasChanged(node.item, present))
        return false;
    bool isUnchanged = true;
    sourceScan([&isUnchanged](const FileItem &, const QString &) { isUnchanged = false; }).fill(now);
    return isUnchanged && holdsNothingElse(now, node);
}

} // namespace moorix
