// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupArchive.h"

#include "backup/BackupStaging.h"
#include "backup/SealedFile.h"
#include "base/Error.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"
#include "files/RemoteFileService.h"
#include "transfers/TransferNames.h"

#include <QFile>
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

void download(RemoteFileService &service, const FileItem &archive, const QString &to,
              const BackupArchive::Progress &progress, const std::stop_token &stop)
{
    const auto available = LocalFileService().freeSpace(Format::parent(to), stop);
    if (available && *available < archive.size) {
        throw Error(u"Backup"_s, u"“%1” has %2 free, but the archive needs %3."_s.arg(Format::parent(to),
                                                                                      Format::byteCount(*available),
                                                                                      Format::byteCount(archive.size)));
    }
    RemoteTransferOptions options;
    options.progress = partOf(progress, archive.size);
    service.download(archive.path, to, options, stop);
    if (QFileInfo(to).size() != archive.size) {
        throw Error(u"Backup"_s, u"“%1” was not downloaded as a whole: %2 of %3 bytes came."_s.arg(archive.path)
                                     .arg(QFileInfo(to).size())
                                     .arg(archive.size));
    }
}

} // namespace

BackupArchive::BackupArchive(const QString &path)
    : m_isEncrypted(false)
    , m_zip(path)
{
}

BackupArchive::BackupArchive(const QString &path, const QString &passphrase)
    : m_isEncrypted(true)
    , m_zip(std::make_unique<SealedReader>(path, ArchiveCipher(passphrase)), path)
{
}

BackupArchive::~BackupArchive() = default;

bool BackupArchive::isEncrypted(const QString &path)
{
    LocalDisk::requireFile(path);
    return LocalFileService().readHead(path, ArchiveCipher::magicBytes, std::stop_token()) == "MRX1";
}

std::shared_ptr<BackupArchive> BackupArchive::open(const QString &path, const std::optional<QString> &passphrase,
                                                   const Progress &progress, const std::stop_token &stop)
{
    if (!isEncrypted(path))
        return std::shared_ptr<BackupArchive>(new BackupArchive(path));
    if (!passphrase || passphrase->isEmpty())
        throw PassphraseError(u"Backup"_s, u"“%1” is encrypted; it opens with its passphrase only."_s.arg(path));
    ArchiveCipher(*passphrase).verify(path, partOf(progress, QFileInfo(path).size()), stop);
    return std::shared_ptr<BackupArchive>(new BackupArchive(path, *passphrase));
}

std::shared_ptr<BackupArchive> BackupArchive::fetch(FileService &service, const QString &path,
                                                    const std::optional<QString> &passphrase, const Progress &progress,
                                                    const std::stop_token &stop)
{
    auto *const remote = dynamic_cast<RemoteFileService *>(&service);
    if (!remote)
        return open(path, passphrase, progress, stop);
    const auto item = service.stat(path, stop);
    if (!item)
        throw FileServiceError::notFound(path);
    if (item->isDirectory)
        throw Error(u"Backup"_s, u"“%1” is a folder, no archive."_s.arg(path));
    auto staging = std::make_unique<BackupStaging>();
    const QString local = Format::join(staging->path(), u"archive"_s);
    download(*remote, *item, local, progress, stop);
    auto archive = open(local, passphrase, {}, stop);
    archive->m_staging = std::move(staging);
    return archive;
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
