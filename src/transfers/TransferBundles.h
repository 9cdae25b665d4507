// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/RemoteFileService.h"
#include "transfers/TransferPlan.h"
#include "transfers/TransferWay.h"

#include <QSet>

#include <atomic>
#include <deque>
#include <optional>

namespace moorix {

/// Brings many small files between the local disk and a server to their places together, as one archive where the
/// server has a shell, each as whole as if it travelled alone: over a part file, a check and a rename; across broken
/// links and pauses. Used by all lanes of one transfer at once.
class TransferBundles final : public TransferWay
{
public:
    struct Entry
    {
        TransferNode *node;
        TransferPlace place;
        /// Why it did not arrive, unless the node's fate says that it has.
        QString failure = {};
    };

    using TransferWay::TransferWay;

    static constexpr std::size_t mostFiles = 256;
    /// How many bundles may be under way at once.
    int lanes() const;

    /// From now on without archives, which the server has been found not to take.
    void refuseArchives() { m_isArchiveRefused = true; }
    /// Whether a new folder gains by being filled under a part name: its files then need none of their own. None does
    /// whose files a disk that ignores case would write one over the other.
    bool suitsStage(const TransferNode &folder) const;
    /// Whether an unfinished copy could not be removed; in a stage it bears the file's own name.
    bool hasLeftHalves() const { return m_hasLeftHalves; }
    bool mayTakeSteps() const
    {
        return m_route.isServerDestination() && !m_route.isServerSource() && server().takesMany();
    }
    bool mayTakeStepsAtSource() const { return m_route.isServerSource() && server().takesMany(); }
    bool mayRemoveByStepsAtSource() const { return mayTakeStepsAtSource() && !server().mayTakeArchives(); }
    /// Takes the steps on the server that the files go to or, of two servers, come from, across broken links. Throws
    /// when it is stopped or lost.
    void takeSteps(std::vector<RemoteStep> &steps);
    /// Whether the file gains by travelling with others.
    bool suits(const TransferNode &file, const TransferPlace &place) const;
    /// Carries them, once there is room for another lane. False when it could not be done this way; those that have not
    /// arrived have left nothing behind then. Throws when the transfer is stopped or the link is lost for good.
    bool carry(std::vector<Entry> &entries);

private:
    using Progress = std::deque<TransferTally::File>;

    int lanesAtServer() const;
    /// Whether most of them went as an archive.
    bool copyAcrossBreaks(std::vector<RemoteCopy> &copies, Progress &progress, bool hasParts);
    bool copyAsArchive(std::vector<RemoteCopy> &copies, const RemoteFileService::Advanced &advanced,
                       const std::stop_token &stop);
    void verify(const FileItem &file, RemoteCopy &copy);
    void requireOtherFolder(const RemoteCopy &copy, QSet<QString> &otherPlaces) const;
    void giveNames(std::vector<Entry> &entries, std::vector<RemoteCopy> &copies);
    void giveNamesOnServer(std::vector<Entry> &entries, std::vector<RemoteCopy> &copies);
    void findTaken(std::vector<RemoteStep> &steps, const std::stop_token &stop);
    void clearParts(const std::vector<RemoteCopy> &copies, const std::stop_token &stop);
    void noteWay(qint64 files, bool isArchive);
    void removeParts(const std::vector<RemoteCopy> &copies);
    void failToRemove(const QString &path, const QString &reason);

    /// Set once it could not be done.
    std::atomic<bool> m_isRefused = false;
    std::atomic<bool> m_hasLeftHalves = false;
    /// Set once an archive was not sent or received.
    std::atomic<bool> m_isArchiveRefused = false;
};

} // namespace moorix
