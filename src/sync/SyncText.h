// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncRun.h"

/// What a sync says, in the window, on the command line and in the history. Any thread.
namespace moorix::SyncText {

/// "New on the server".
QString bucket(SyncBucket bucket);
/// What is about to be done: "Copy to the server".
QString action(SyncAction action);
/// What became of a row, or is left: "copied to the server", "skipped: it has changed meanwhile".
QString result(const SyncRow &row);
/// "copying to the server, 3 of 20 files".
QString progress(const SyncProgress &progress);
/// "3 done, 1 conflict left".
QString summary(const SyncOutcome &outcome);
/// "2 to the server, 1 to this computer, 1 conflict"; "Both sides are alike." when there is nothing.
QString summary(const SyncPlan &plan);

} // namespace moorix::SyncText
