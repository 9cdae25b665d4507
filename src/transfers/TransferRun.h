// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferBundles.h"
#include "transfers/TransferLanes.h"
#include "transfers/TransferOutcome.h"
#include "transfers/TransferPlacement.h"
#include "transfers/TransferStream.h"

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>

namespace moorix {

/// Carries out one request. The calling thread, which must be a worker or own no window, reads the trees and decides;
/// the files travel on lanes of their own.
class TransferRun final
{
public:
    struct Callbacks
    {
        /// At most about ten times a second, on any of the run's threads.
        std::function<void(const TransferCounts &)> progress;
        /// Called on the calling thread when the policy is `ask`; may wait for the user. Throws Cancelled when it is
        /// stopped.
        std::function<ConflictAnswer(const TransferConflict &, const std::stop_token &)> ask;
        /// Shared by all runs of the program; without one, this run copies three files at once.
        std::shared_ptr<TransferGate> gate = nullptr;
        /// For pausing the run and for keeping its part files.
        std::shared_ptr<TransferControl> control = nullptr;
        TransferLink::Delays reconnectDelays = TransferLink::usualDelays();
        /// What of a source folder is to be copied, for whoever has read the tree already; asked instead of the source.
        std::function<QList<FileItem>(const QString &folder)> entriesOf = nullptr;
        /// Answers conflicts without waiting for anybody, instead of `ask`; on the calling thread.
        std::function<ConflictAnswer::Choice(const TransferConflict &)> decide = nullptr;
        /// Told of each item that does not arrive, with the reason; on any of the run's threads.
        std::function<void(const FileItem &source, const QString &reason)> failed = nullptr;
    };

    TransferRun(TransferRequest request, Callbacks callbacks);

    /// Does all of it; called once. Failures of single items are in the outcome; nothing is thrown.
    TransferOutcome run(const std::stop_token &stop);

private:
    /// A new folder that is filled under a part name until all of its item has come.
    struct Stage
    {
        TransferNode *node;
        FileItem part;
        TransferPlace place;
        /// An earlier try has filled it, and folders in it may not have been looked at yet.
        bool isFromBefore = false;
        bool isNamed = false;
    };
    /// One of the request's items with all that lies in it.
    struct Item
    {
        TransferNode node;
        QString targetFolder;
        /// Files on their way, and one for the reading of the tree.
        std::atomic<int> pending = 1;
        std::atomic<bool> isIncomplete = false;
        /// Folders that were made, and what they are copies of.
        std::vector<std::pair<FileItem, QString>> newFolders;
        std::vector<Stage> stages;
        /// What an earlier try has left unfinished in a stage may still be there.
        bool hasUnclearStage = false;
        /// Its original has been given up, or it has been told why not.
        bool isThrough = false;
    };
    /// Files that wait for others to travel with, and the items they belong to.
    struct Bundle
    {
        std::vector<TransferBundles::Entry> entries = {};
        std::vector<Item *> items = {};
        qint64 bytes = 0;
    };
    struct Arrived
    {
        Item *item;
        FileItem file;
        QString path;
    };

    TransferScan sourceScan(std::function<void(const FileItem &item, const QString &reason)> objected);
    void tellRest(const std::stop_token &answered);
    void transferAll();
    void transferPiece(const TransferPiece &piece);
    void lookAgain(std::deque<Item> &items, const TransferTarget &target);
    void passOverMoved(Item &item, const TransferTarget &target);
    bool isBegun(const FileItem &source, const QString &folder);
    bool hasChanged(const FileItem &known, const FileItem &present) const;
    void plan(std::deque<Item> &items);
    void fill(TransferNode &node);
    std::optional<std::future<std::optional<qint64>>> askForSpace(const QString &folder);
    void checkSpace(const std::deque<Item> &items, const TransferTarget &target, std::optional<qint64> available);
    TransferTarget openTarget(const QString &path);
    void removeLeftParts(const TransferTarget &target);
    QHash<QString, FileItem> sourceEntries(const QString &folder);
    void dispatch(TransferNode &node, TransferTarget &target, Item &item);
    void send(TransferNode &node, const TransferPlace &place, TransferTarget &target, Item &item);
    void enterFolder(TransferNode &node, const TransferPlace &place, const TransferTarget &target, Item &item);
    TransferTarget openStage(TransferNode &node, const TransferPlace &place, bool mayBeThere, Item &item);
    FileItem stageOf(const TransferNode &node, const TransferPlace &place) const;
    TransferTarget openAgain(const TransferNode &node, const QString &path, Item &item);
    void clear(const TransferNode &node, TransferTarget &stage);
    QString finalPath(const Item &item, const QString &path);
    void finishFolders(Item &item);
    void nameStages(Item &item);
    void nameStage(Item &item, Stage &stage);
    void fail(Item &item, const Stage &stage, const QString &reason);
    void settleStages(Item &item);
    TransferStream::Result streamFolder(TransferNode &node, const TransferPlace &place, Item &item);
    void sendRest(TransferNode &node, Item &item);
    void makeFolder(const QString &path, const FileItem &original);
    void sendFile(TransferNode &node, const TransferPlace &place, Item &item);
    void bundle(TransferNode &node, const TransferPlace &place, Item &item);
    qint64 bundleSize() const;
    void sendBundle();
    void carryBundle(Bundle &bundle);
    void addTask(Item &item, TransferNode &node, std::function<void()> task);

    bool release(Item &item);
    void giveUp(const std::vector<Item *> &items);
    std::optional<QString> flush(const std::vector<Item *> &items) const;
    void removeTogether(const std::vector<Item *> &items);
    void tellOfOriginal(const Item &item, const QString &fate);
    void tellOfOriginalsLeft();
    void applyFolderAttributes(const FileItem &folder, const QString &path);
    void checkContents();
    void removeSource(Item &item);
    bool removeCopied(TransferNode &folder) const;
    void removeCopiedAtServer(Item &item);
    bool isUnchanged(const TransferNode &node, const FileItem &present);

    void arrive(TransferNode &node);
    void noteArrived(Item &item, const TransferNode &node, const QString &path);
    bool settle(Item &item, const TransferNode &node);
    void report(const FileItem &item, const QString &reason);
    void endForLostLink(const Error &error);

    TransferRequest m_request;
    Callbacks m_callbacks;
    TransferTally m_tally;
    TransferRoute m_route;
    TransferLink m_link;
    TransferScan m_scan;
    TransferPlacement m_placement;
    TransferParts m_parts;
    TransferCarrier m_carrier;
    TransferBundles m_bundles;
    TransferStream m_stream;
    Bundle m_bundle;
    /// Items never move in memory: the lanes hold on to them.
    std::deque<std::deque<Item>> m_pieces;
    /// Guards what the lanes note of items, and the stages of those.
    std::mutex m_arrivedMutex;
    std::vector<Arrived> m_arrived;
    std::atomic<bool> m_isLost = false;
    TransferLanes m_lanes;
};

} // namespace moorix
