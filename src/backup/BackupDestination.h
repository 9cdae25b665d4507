// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"
#include "transfers/TransferOutcome.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace moorix {

class FileService;
struct FileItem;

/// The folder a job's archives go to, local or on a server. Blocking; worker threads. Throws an Error.
class BackupDestination final
{
public:
    using Progress = std::function<void(const TransferCounts &)>;

    /// `transferID` names part files; the same for all runs of this job on this machine, so that a run finds and
    /// removes what one that was killed has left.
    BackupDestination(std::shared_ptr<FileService> service, QString folder, const QUuid &transferID);

    /// Copies a local archive into the folder under its own name, by way of a part file whose size is checked, and
    /// compares the contents where the server can. A copy that differs is removed again. Returns what is worth noting.
    QStringList deliver(const QString &archivePath, const Progress &progress, const std::stop_token &stop) const;
    /// Copies the sources, links as links, into a new folder of this name, which appears once all of it is there.
    QStringList deliverFolder(const QStringList &sources, const QString &name, const Progress &progress,
                              const std::stop_token &stop) const;
    /// Throws unless an archive of this name is there, and for a file of this size; negative for a folder.
    void requireDelivered(const QString &name, qint64 bytes, const std::stop_token &stop) const;
    /// Removes the oldest archives of the job until `keepVersions` are left, never the one just delivered. Tries them
    /// all before it throws for one that stays. Returns how many went.
    int prune(const BackupJob &job, const QString &delivered, const std::stop_token &stop) const;

private:
    QStringList transfer(QList<FileItem> items, const QString &toFolder, const Progress &progress,
                         const std::stop_token &stop) const;
    void removeLeftovers(const std::stop_token &stop) const;
    QString pathOf(const QString &name) const;

    std::shared_ptr<FileService> m_service;
    QString m_folder;
    QUuid m_transferID;
};

/// The archives of a job among these entries that have to go so that `keepVersions` stay, the oldest first.
QList<FileItem> archivesToPrune(QList<FileItem> entries, const BackupJob &job, const QString &delivered);

} // namespace moorix
