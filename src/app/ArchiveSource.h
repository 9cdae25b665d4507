// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupArchive.h"
#include "backup/BackupJob.h"
#include "backup/BackupRun.h"
#include "files/FileItem.h"

#include <QList>

namespace moorix {

class AppModel;
class KeychainStore;

/// Where an archive lies, and what opens it.
struct ArchivePlace
{
    /// Absent: on this computer.
    std::optional<QUuid> server;
    QString path;
    /// The job whose passphrase opens it, if it is known.
    QUuid job;

    QString name() const;
    bool isEncrypted() const;
};

/// Opens and lists archives wherever they are. What it captures is safe on workers; its functions block and are called
/// on workers only. They throw an Error.
class ArchiveSource final
{
public:
    explicit ArchiveSource(AppModel &model);

    /// What the destination of a job holds of its archives, the latest first.
    QList<FileItem> archivesOf(const BackupJob &job, const std::stop_token &stop) const;
    /// The archive as a local file, for any number of tries to open it. Throws a PassphraseError instead of fetching
    /// what cannot be opened: one that is encrypted by its name, with neither a passphrase given nor one in the
    /// keychain.
    std::shared_ptr<const ArchiveCopy> fetch(const ArchivePlace &place, const std::optional<QString> &passphrase,
                                             const BackupArchive::Progress &progress,
                                             const std::stop_token &stop) const;
    /// With the passphrase given, else with that of the keychain, if there is one.
    std::shared_ptr<BackupArchive> open(const ArchivePlace &place, const std::shared_ptr<const ArchiveCopy> &copy,
                                        const std::optional<QString> &passphrase,
                                        const BackupArchive::Progress &progress, const std::stop_token &stop) const;
    /// Writes an encrypted archive as a plain zip file, which must not exist.
    void decrypt(const ArchivePlace &place, const ArchiveCopy &copy, const QString &to,
                 const std::optional<QString> &passphrase, const BackupArchive::Progress &progress,
                 const std::stop_token &stop) const;

private:
    std::shared_ptr<FileService> service(const std::optional<QUuid> &server, const std::stop_token &stop) const;
    std::optional<QString> passphraseFor(const ArchivePlace &place, const std::optional<QString> &given) const;

    std::shared_ptr<FileService> m_localFiles;
    std::shared_ptr<KeychainStore> m_keychain;
    decltype(BackupRun::Environment::openServer) m_openServer;
};

} // namespace moorix
