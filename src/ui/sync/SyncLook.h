// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncChoice.h"
#include "sync/SyncSession.h"
#include "ui/Theme.h"

/// How syncs are shown: their names, and the signs and words of their rows. This computer stands on the left, the
/// server on the right. Main thread.
namespace moorix::SyncLook {

/// "site ↔ web-01", or the name that the user gave it.
QString title(const SyncPair &pair, const std::optional<ServerConnection> &server);
/// "/home/ada/site ↔ web-01:/var/www"
QString folders(const SyncPair &pair, const std::optional<ServerConnection> &server);
/// When a pair was synced last, and what came of it: "Synced today 14:05"; "Never synced here".
QString lastRun(const std::optional<SyncLogEntry> &run);

/// The freedesktop name of the sign of what is to be done, and its colour.
std::pair<QString, Theme::Color> directionSign(const SyncRow &row);
/// The same for assistive tools.
QString directionText(const SyncRow &row);
/// What will happen to a row and why, or once it `hasEnded`, what became of it.
QString happening(const SyncRow &row, bool hasEnded);
Theme::Color happeningColor(const SyncRow &row);
/// A clause as a sentence of its own: with a capital, without a full stop.
QString sentence(const QString &clause);
/// "Copy to the server" for one row, and for several of different kinds what the choice means for all.
QString choiceText(SyncChoice choice, const SyncRow *only);

} // namespace moorix::SyncLook
