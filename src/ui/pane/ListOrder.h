// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/pane/PaneCommand.h"

namespace moorix {

class PaneModel;
class SettingsStore;

/// The commands that put a file list in order. What was chosen last is the order in which new lists begin. Main thread.
namespace ListOrder {

/// In the order of menus: keys, then directions.
inline constexpr PaneCommand commands[] = {PaneCommand::sortByName,    PaneCommand::sortBySize,
                                           PaneCommand::sortByDate,    PaneCommand::sortByKind,
                                           PaneCommand::sortAscending, PaneCommand::sortDescending};

/// Whether this is how the list is ordered; false for any other command.
bool isInForce(PaneCommand command, const PaneModel &pane);
/// The key that is in force already turns the direction round, another one begins ascending. Returns false, and does
/// nothing, for any other command.
bool run(PaneCommand command, PaneModel &pane, SettingsStore &settings);

} // namespace ListOrder

} // namespace moorix
