// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/ArchiveCopy.h"
#include "backup/ZipArchive.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace moorix {

class FileService;

/// An archive that is looked into, checked or restored from, encrypted or not. An encrypted one is never written to
/// the disk in the clear. Blocking; worker threads, one at a time.
class BackupArchive final
{
public:
    using Progress = ArchiveCopy::Progress;

    /// An encrypted archive is opened only if its tag fits. Throws an Error when it cannot be opened, a PassphraseError
    /// when it is encrypted and there is no passphrase, or one that does not fit. The copy is kept as long as it is.
    static std::shared_ptr<BackupArchive> open(std::shared_ptr<const ArchiveCopy> copy,
                                               const std::optional<QString> &passphrase, const Progress &progress,
                                               const std::stop_token &stop);
    /// The same for an archive wherever it is.
    static std::shared_ptr<BackupArchive> fetch(FileService &service, const QString &path,
                                                const std::optional<QString> &passphrase, const Progress &progress,
                                                const std::stop_token &stop);
    /// The same for a local one.
    static std::shared_ptr<BackupArchive> open(const QString &path, const std::optional<QString> &passphrase,
                                               const Progress &progress, const std::stop_token &stop);
    /// Whether a local file begins as encrypted archives do. Throws when it cannot be read.
    static bool isEncrypted(const QString &path);

    ~BackupArchive();
    Q_DISABLE_COPY_MOVE(BackupArchive)

    const ZipArchive &content() const { return m_zip; }
    const QList<ZipEntry> &entries() const { return m_zip.entries(); }
    bool isEncrypted() const { return m_isEncrypted; }
    /// Reads everything that is in it; throws for the first entry that is damaged. Returns what was checked, as a
    /// sentence.
    QString verify(const Progress &progress, const std::stop_token &stop) const;

private:
    explicit BackupArchive(std::shared_ptr<const ArchiveCopy> copy);
    BackupArchive(std::shared_ptr<const ArchiveCopy> copy, const QString &passphrase);

    std::shared_ptr<const ArchiveCopy> m_copy;
    bool m_isEncrypted;
    ZipArchive m_zip;
};

} // namespace moorix
