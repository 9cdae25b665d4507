// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct TransferStatus;
struct TransferTotals;

/// What the window says about transfers.
namespace TransferText {

/// "hero.jpg — 3.1 of 4.6 MB · 2.4 MB/s · 12 s left", with what is known so far.
QString progress(const TransferStatus &transfer);
/// "12 s left", "3 min left", "2 h 5 min left"; empty when nothing can be said.
QString timeLeft(qint64 bytesLeft, double bytesPerSecond);
/// How an ended or waiting transfer stands: "21 files, 4.6 MB", "2 skipped", "Cancelled".
QString outcome(const TransferStatus &transfer);
/// All open transfers in one line; empty when there are fewer than two.
QString totals(const TransferTotals &totals);
/// Of 1000; -1 while the total is unknown.
int permille(const TransferStatus &transfer);

} // namespace TransferText

} // namespace moorix
