// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ArchiveCopy.h"

#include "backup/ArchiveCipher.h"
#include "base/Error.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/RemoteFileService.h"

#include <QFileInfo>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void download(RemoteFileService &service, const FileItem &archive, const QString &to,
              const ArchiveCopy::Progress &progress, const std::stop_token &stop)
{
    const auto available = LocalFileService().freeSpace(Format::parent(to), stop);
    if (available && *available < archive.size) {
        throw Error(u"Backup"_s, u"“%1” has %2 free, but the archive needs %3."_s.arg(Format::parent(to),
                                                                                      Format::byteCount(*available),
                                                                                      Format::byteCount(archive.size)));
    }
    RemoteTransferOptions options;
    options.progress = [&progress, total = archive.size](qint64 done) {
        if (progress)
            progress(done, total);
    };
    service.download(archive.path, to, options, stop);
    if (QFileInfo(to).size() != archive.size) {
        throw Error(u"Backup"_s, u"“%1” was not downloaded as a whole: %2 of %3 bytes came."_s.arg(archive.path)
                                     .arg(QFileInfo(to).size())
                                     .arg(archive.size));
    }
}

} // namespace

std::shared_ptr<const ArchiveCopy> ArchiveCopy::of(FileService &service, const QString &path, const Progress &progress,
                                                   const std::stop_token &stop)
{
    const std::shared_ptr<ArchiveCopy> copy(new ArchiveCopy(path));
    auto *const remote = dynamic_cast<RemoteFileService *>(&service);
    if (!remote)
        return copy;
    const auto item = service.stat(path, stop);
    if (!item)
        throw FileServiceError::notFound(path);
    if (item->isDirectory)
        throw Error(u"Backup"_s, u"“%1” is a folder, no archive."_s.arg(path));
    copy->m_staging = std::make_unique<BackupStaging>();
    copy->m_localPath = Format::join(copy->m_staging->path(), u"archive"_s);
    download(*remote, *item, copy->m_localPath, progress, stop);
    return copy;
}

void ArchiveCopy::work(const std::function<void(const QString &localPath)> &work) const
{
    const auto named = [this](const Error &error) { return QString(error.message()).replace(m_localPath, m_path); };
    try {
        work(m_localPath);
    } catch (const Cancelled &) {
        throw;
    } catch (const PassphraseError &error) {
        throw PassphraseError(error.domain(), named(error));
    } catch (const Error &error) {
        throw Error(error.domain(), named(error));
    }
}

} // namespace moorix
