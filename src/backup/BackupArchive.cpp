// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupArchive.h"

#include "backup/SealedFile.h"
#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"

#include <QFileInfo>

#include <numeric>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

ArchiveCipher::Progress partOf(const BackupArchive::Progress &progress, qint64 total)
{
    return [progress, total](qint64 done) {
        if (progress)
            progress(done, total);
    };
}

} // namespace

BackupArchive::BackupArchive(std::shared_ptr<const ArchiveCopy> copy)
    : m_copy(std::move(copy))
    , m_isEncrypted(false)
    , m_zip(m_copy->localPath(), m_copy->path())
{
}

BackupArchive::BackupArchive(std::shared_ptr<const ArchiveCopy> copy, const QString &passphrase)
    : m_copy(std::move(copy))
    , m_isEncrypted(true)
    , m_zip(std::make_unique<SealedReader>(m_copy->localPath(), ArchiveCipher(passphrase)), m_copy->path())
{
}

BackupArchive::~BackupArchive() = default;

bool BackupArchive::isEncrypted(const QString &path)
{
    LocalDisk::requireFile(path);
    return LocalFileService().readHead(path, ArchiveCipher::magicBytes, std::stop_token()) == "MRX1";
}

std::shared_ptr<BackupArchive> BackupArchive::open(std::shared_ptr<const ArchiveCopy> copy,
                                                   const std::optional<QString> &passphrase, const Progress &progress,
                                                   const std::stop_token &stop)
{
    std::shared_ptr<BackupArchive> archive;
    copy->work([&](const QString &local) {
        if (!isEncrypted(local)) {
            archive.reset(new BackupArchive(copy));
            return;
        }
        if (!passphrase || passphrase->isEmpty())
            throw PassphraseError(u"Backup"_s, u"“%1” is encrypted; it opens with its passphrase only."_s.arg(local));
        ArchiveCipher(*passphrase).verify(local, partOf(progress, QFileInfo(local).size()), stop);
        archive.reset(new BackupArchive(copy, *passphrase));
    });
    return archive;
}

std::shared_ptr<BackupArchive> BackupArchive::fetch(FileService &service, const QString &path,
                                                    const std::optional<QString> &passphrase, const Progress &progress,
                                                    const std::stop_token &stop)
{
    return open(ArchiveCopy::of(service, path, progress, stop), passphrase, progress, stop);
}

std::shared_ptr<BackupArchive> BackupArchive::open(const QString &path, const std::optional<QString> &passphrase,
                                                   const Progress &progress, const std::stop_token &stop)
{
    LocalFileService disk;
    return fetch(disk, path, passphrase, progress, stop);
}

QString BackupArchive::verify(const Progress &progress, const std::stop_token &stop) const
{
    const qint64 total = std::accumulate(entries().cbegin(), entries().cend(), qint64(0),
                                         [](qint64 sum, const ZipEntry &entry) { return sum + entry.size; });
    m_zip.test(partOf(progress, total), stop);
    const QString what = u"All %1 entries, %2 in all, are whole."_s.arg(entries().size()).arg(Format::byteCount(total));
    return m_isEncrypted ? u"The passphrase fits, and the encrypted archive is genuine. "_s + what : what;
}

} // namespace moorix
