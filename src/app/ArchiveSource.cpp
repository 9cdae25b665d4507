// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ArchiveSource.h"

#include "app/AppModel.h"
#include "app/BackupServices.h"
#include "app/ServerConnections.h"
#include "backup/ArchiveCipher.h"
#include "backup/BackupNames.h"
#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "servers/KeychainStore.h"
#include "servers/ServerStore.h"

#include <QFileInfo>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

PassphraseError locked(const ArchivePlace &place)
{
    return {u"Backup"_s, u"“%1” is encrypted; it opens with its passphrase only."_s.arg(place.name())};
}

} // namespace

QString ArchivePlace::name() const
{
    return Format::fileName(path);
}

bool ArchivePlace::isEncrypted() const
{
    return path.endsWith(u".enc"_s);
}

ArchiveSource::ArchiveSource(AppModel &model)
    : m_localFiles(model.localFiles())
    , m_keychain(model.keychain())
    , m_openServer(backupServerOpener(model.servers(), model.connections()))
{
}

std::shared_ptr<FileService> ArchiveSource::service(const std::optional<QUuid> &server,
                                                    const std::stop_token &stop) const
{
    return server ? m_openServer(*server, stop) : m_localFiles;
}

QList<FileItem> ArchiveSource::archivesOf(const BackupJob &job, const std::stop_token &stop) const
{
    QList<FileItem> items =
        service(job.destinationServerID, stop)->list(job.destinationPath, HiddenFiles::included, stop);
    items.removeIf([&job](const FileItem &item) {
        return item.isSymlink || !BackupNames::isArchiveOf(job.name, item.name, item.isDirectory);
    });
    // Their names hold the time of the run, to the second.
    std::ranges::sort(items, [](const FileItem &a, const FileItem &b) { return a.name > b.name; });
    return items;
}

std::optional<QString> ArchiveSource::passphraseFor(const ArchivePlace &place,
                                                    const std::optional<QString> &given) const
{
    if (given || place.job.isNull())
        return given;
    return m_keychain->get(place.job, SecretKind::passphrase);
}

std::shared_ptr<const ArchiveCopy> ArchiveSource::fetch(const ArchivePlace &place,
                                                        const std::optional<QString> &passphrase,
                                                        const BackupArchive::Progress &progress,
                                                        const std::stop_token &stop) const
{
    if (place.isEncrypted() && !passphraseFor(place, passphrase))
        throw locked(place);
    return ArchiveCopy::of(*service(place.server, stop), place.path, progress, stop);
}

std::shared_ptr<BackupArchive> ArchiveSource::open(const ArchivePlace &place,
                                                   const std::shared_ptr<const ArchiveCopy> &copy,
                                                   const std::optional<QString> &passphrase,
                                                   const BackupArchive::Progress &progress,
                                                   const std::stop_token &stop) const
{
    return BackupArchive::open(copy, passphraseFor(place, passphrase), progress, stop);
}

void ArchiveSource::decrypt(const ArchivePlace &place, const ArchiveCopy &copy, const QString &to,
                            const std::optional<QString> &passphrase, const BackupArchive::Progress &progress,
                            const std::stop_token &stop) const
{
    const auto known = passphraseFor(place, passphrase);
    if (!known)
        throw locked(place);
    copy.work([&](const QString &local) {
        const qint64 total = QFileInfo(local).size();
        ArchiveCipher(*known).open(
            local, to, [&progress, total](qint64 done) { progress(done, total); }, stop);
    });
}

} // namespace moorix
