// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncChoice.h"

namespace moorix {

namespace {

SyncAction wantedAction(const SyncRow &row, SyncChoice choice)
{
    const QList<SyncAction> choices = row.choices();
    switch (choice) {
    case SyncChoice::localWins:
        return row.diff.local ? SyncAction::copyToRemote : SyncAction::removeRemote;
    case SyncChoice::remoteWins:
        return row.diff.remote ? SyncAction::copyToLocal : SyncAction::removeLocal;
    case SyncChoice::keepBoth:
        return SyncAction::keepBoth;
    case SyncChoice::skip:
        return SyncAction::leave;
    case SyncChoice::usual:
        return usualAction(row.diff.bucket);
    case SyncChoice::next:
        break;
    }
    return choices.at((choices.indexOf(row.action) + 1) % choices.size());
}

} // namespace

SyncAction actionFor(const SyncRow &row, SyncChoice choice)
{
    const SyncAction wanted = wantedAction(row, choice);
    return row.choices().contains(wanted) ? wanted : row.action;
}

} // namespace moorix
