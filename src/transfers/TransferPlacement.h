// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferCarrier.h"
#include "transfers/TransferPlan.h"

#include <QHash>
#include <QSet>

#include <functional>
#include <optional>

namespace moorix {

/// A folder written into, with what stands in it.
struct TransferTarget
{
    QString path;
    QHash<QString, FileItem> entries = {};
    /// Made by this transfer.
    bool isNew = false;
    /// Filled under a part name, by this run or an earlier one: whatever stands in it is this transfer's own.
    bool isStage = false;
    /// What an earlier run has left of items that this one has not come to yet, by name.
    QHash<QString, FileItem> parts = {};
    /// What of the names that go there may be one entry for the disk, folded.
    QSet<QString> twins = {};
};

/// Decides where each item goes, and asks where something stands there already. One thread only.
class TransferPlacement final
{
public:
    using Ask = std::function<ConflictAnswer(const TransferConflict &)>;
    /// Whether a folder holds nothing but what is in the source folder too.
    using IsBegun = std::function<bool(const FileItem &source, const QString &folder)>;

    enum class Kind { goes, isSkipped, isThere };
    struct Decision
    {
        Kind kind = Kind::isSkipped;
        TransferPlace place = {};
    };

    TransferPlacement(const TransferRequest &request, const TransferRoute &route, Ask ask, IsBegun isBegun);

    /// Whether what stands at the target is what an earlier run of this transfer has brought there: a folder, or a file
    /// of the same size and, as far as that is known, time.
    bool isArrival(const FileItem &source, const FileItem &existing) const;

    /// Throws when the item cannot go there, and Cancelled when that is the answer.
    Decision decide(const TransferNode &node, const TransferTarget &target);

private:
    std::optional<FileItem> standing(const QString &name, const TransferTarget &target) const;
    bool hasArrivedBefore(const FileItem &source, const FileItem &existing) const;
    Decision decideConflict(const TransferNode &node, const FileItem &item, const FileItem &existing,
                            const TransferTarget &target);
    Decision besides(const TransferNode &node, const FileItem &item, const TransferTarget &target);
    bool isOurs(const TransferNode &node, const FileItem &existing) const;
    ConflictAnswer::Choice choose(const TransferConflict &conflict);
    TransferPlace placeAt(const FileItem &item, const QString &name, const TransferTarget &target) const;
    void refuseOntoItself(const TransferNode &node, const TransferPlace &place) const;

    const TransferRequest &m_request;
    const TransferRoute &m_route;
    Ask m_ask;
    IsBegun m_isBegun;
    /// The answer for all further conflicts.
    std::optional<ConflictAnswer::Choice> m_forAll;
};

} // namespace moorix
