// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferRequest.h"

#include <QStringList>

namespace moorix {

/// How far a transfer has come.
struct TransferCounts
{
    QString currentName;
    qint64 bytesDone = 0;
    qint64 bytesTotal = 0;
    /// Of `bytesDone`, those that need not travel: they were there already, or were moved in one step.
    qint64 bytesFound = 0;
    qint64 filesDone = 0;
    qint64 filesTotal = 0;
    qint64 skipped = 0;
    /// Why nothing moves: the lost link, in the server's words. Empty while all is well.
    QString waitingFor;
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
    /// The way that was taken, and what else is worth knowing: "3 files went on where they had stopped".
    QStringList notes;
    /// What has not arrived and was not skipped: what another try is about.
    QList<TransferPiece> remaining;
};

} // namespace moorix
