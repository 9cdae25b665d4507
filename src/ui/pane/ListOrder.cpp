// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/ListOrder.h"

#include "files/PaneModel.h"
#include "settings/SettingsStore.h"

namespace moorix::ListOrder {

namespace {

std::optional<FileSortKey> keyOf(PaneCommand command)
{
    switch (command) {
    case PaneCommand::sortByName:
        return FileSortKey::name;
    case PaneCommand::sortBySize:
        return FileSortKey::size;
    case PaneCommand::sortByDate:
        return FileSortKey::date;
    case PaneCommand::sortByKind:
        return FileSortKey::kind;
    default:
        return std::nullopt;
    }
}

} // namespace

bool isInForce(PaneCommand command, const PaneModel &pane)
{
    if (const std::optional<FileSortKey> key = keyOf(command))
        return pane.sortKey() == *key;
    return command == (pane.sortAscending() ? PaneCommand::sortAscending : PaneCommand::sortDescending);
}

bool run(PaneCommand command, PaneModel &pane, SettingsStore &settings)
{
    const std::optional<FileSortKey> key = keyOf(command);
    if (!key && command != PaneCommand::sortAscending && command != PaneCommand::sortDescending)
        return false;
    const bool isAscending =
        key ? *key != pane.sortKey() || !pane.sortAscending() : command == PaneCommand::sortAscending;
    if (key)
        pane.setSortKey(*key);
    pane.setSortAscending(isAscending);
    settings.sortKeyRaw.set(rawText(pane.sortKey()));
    settings.sortAscending.set(isAscending);
    return true;
}

} // namespace moorix::ListOrder
