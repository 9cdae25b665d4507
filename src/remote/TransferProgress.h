// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

/// How far a transfer of the `sftp` client has come; without a terminal the client itself does not tell.
namespace moorix::TransferProgress {

/// A callback for SFTPBatch::whileRunning that reports the growing local file; null without `report`.
std::function<void(qint64)> ofDownload(const QString &localPath, const std::function<void(qint64)> &report);

/// The same for an upload, by the client's place in the local file; less what may still be on its way.
std::function<void(qint64)> ofUpload(const QString &localPath, const std::function<void(qint64)> &report);

} // namespace moorix::TransferProgress
