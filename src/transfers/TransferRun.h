// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferConflict.h"
#include "transfers/TransferPlan.h"
#include "transfers/TransferRequest.h"
#include "transfers/TransferRoute.h"

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QStringList>

#include <functional>
#include <stop_token>

namespace moorix {

/// How far a transfer has come.
struct TransferCounts
{
    QString currentName;
    qint64 bytesDone = 0;
    qint64 bytesTotal = 0;
    qint64 filesDone = 0;
    qint64 filesTotal = 0;
    qint64 skipped = 0;
};

/// What became of a transfer.
struct TransferOutcome
{
    TransferCounts counts;
    /// One sentence per item that did not arrive, and per original that had to stay.
    QStringList failures;
    bool wasCancelled = false;
    QStringList changedSourceFolders;
    QStringList changedTargetFolders;
};

/// Carries out one request on the calling thread, which must be a worker or own no window.
class TransferRun final
{
public:
    struct Callbacks
    {
        /// At most about ten times a second.
        std::function<void(const TransferCounts &)> progress;
        /// Called when the policy is `ask`; may wait for the user. Throws Cancelled when it is stopped.
        std::function<ConflictAnswer(const TransferConflict &, const std::stop_token &)> ask;
    };

    TransferRun(TransferRequest request, Callbacks callbacks);

    /// Does all of it; called once. Failures of single items are in the outcome; nothing is thrown.
    TransferOutcome run(const std::stop_token &stop);

private:
    /// A folder written into, with what stands in it.
    struct Target
    {
        QString path;
        QHash<QString, FileItem> entries;
    };
    enum class Standing { nothing, replaced, merged };
    struct Place
    {
        QString path;
        Standing standing = Standing::nothing;
    };
    enum class Result { arrived, incomplete };

    void transferAll();
    std::vector<TransferNode> plan();
    void checkSpace(const std::vector<TransferNode> &nodes, const Target &target) const;
    Target openTarget(const QString &path) const;
    Result transfer(TransferNode &node, Target &target);
    std::optional<Place> choosePlace(const TransferNode &node, const Target &target);
    ConflictAnswer::Choice choose(const FileItem &item, const FileItem &existing);
    void refuseOntoItself(const TransferNode &node, const Place &place) const;
    bool moveInOneStep(const TransferNode &node, const Place &place);
    void transferFile(const TransferNode &node, const Place &place);
    Result transferFolder(TransferNode &node, const Place &place);
    void copyTreeOnServer(const TransferNode &node, const Place &place);
    void applyFolderAttributes(const FileItem &folder, const QString &path) const;
    void verify(const FileItem &item, const FileItem &part) const;
    void removePart(const FileItem &part);
    void removeSource(const TransferNode &node);
    void fill(TransferNode &node);

    void addDone(const TransferNode &node);
    void report(const FileItem &item, const QString &reason);
    void publish(bool always = false);

    TransferRequest m_request;
    Callbacks m_callbacks;
    TransferRoute m_route;
    TransferScan m_scan;
    std::stop_token m_stop;
    TransferOutcome m_outcome;
    TransferConflictPolicy m_policy;
    QSet<QString> m_changedTargets;
    QElapsedTimer m_sincePublished;
};

} // namespace moorix
