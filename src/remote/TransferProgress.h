// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <functional>

/// How far a transfer of a client has come, which without a terminal does not tell itself.
namespace moorix::TransferProgress {

/// A callback for SFTPBatch::whileRunning that reports the growing local file; null without `report`.
std::function<void(qint64)> ofDownload(const QString &localPath, const std::function<void(qint64)> &report);

/// The same for an upload, by the client's place in the local file; less what may still be on its way, which is little
/// where the client keeps to `bytesPerSecond` (0: to nothing).
std::function<void(qint64)> ofUpload(const QString &localPath, const std::function<void(qint64)> &report,
                                     qint64 bytesPerSecond);

/// Where process `processId` stands in the local file it has open, 0 when it has not.
qint64 positionIn(const QString &localPath, qint64 processId);

/// A callback for a child whose connection may hang: calls `giveUp`, which throws, once `position` has not changed for
/// `patience`.
std::function<void(qint64)> endingStandstill(const std::function<qint64(qint64 processId)> &position,
                                             std::chrono::milliseconds patience, const std::function<void()> &giveUp);

} // namespace moorix::TransferProgress
