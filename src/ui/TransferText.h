// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferEngine.h"

#include <QString>

#include <chrono>

class QDateTime;

namespace moorix {

/// What the window says about transfers.
namespace TransferText {

/// "Copying 3 items to /var/www on web-01", "Copying “a.txt” to /home/anna, from web-01".
QString title(const TransferStatus &transfer, const TransferEngine &engine);
/// Both ends with their folders, a line each.
QString ends(const QUuid &transfer, const TransferEngine &engine);
/// "“a.txt” already exists on web-01 in /var/www", of the conflict that waits.
QString question(const TransferConflict &conflict, const TransferEngine &engine);
/// "3.1 MB of 4.6 MB · 2.4 MB/s · 12 s left · file 2 of 3", with what is known so far.
QString progress(const TransferStatus &transfer);
/// "12 s left", "3 min left", "2 h 5 min left"; empty when nothing can be said.
QString timeLeft(qint64 bytesLeft, double bytesPerSecond);
/// "4 s", "3 min 20 s", "2 h 5 min".
QString duration(std::chrono::milliseconds time);
/// When something ended: the time of day, with the date unless that is today's.
QString moment(const QDateTime &time);
/// How a transfer stands, beside its title: its progress and the file under way, "Waiting", "3 files · 12 MB · 4 s ·
/// 3 MB/s · 2 skipped".
QString outcome(const TransferStatus &transfer);
/// All open transfers in one line; empty when there are fewer than two.
QString totals(const TransferTotals &totals);
/// Of 1000; -1 while the total is unknown.
int permille(const TransferStatus &transfer);

} // namespace TransferText

} // namespace moorix
