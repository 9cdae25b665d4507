// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupRun.h"

#include "backup/ArchiveCipher.h"
#include "backup/BackupDestination.h"
#include "backup/BackupNames.h"
#include "backup/BackupPresence.h"
#include "backup/BackupSources.h"
#include "backup/BackupStaging.h"
#include "backup/ZipArchive.h"
#include "backup/ZipStep.h"
#include "base/Clock.h"
#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"
#include "platform/AppPaths.h"
#include "servers/KeychainStore.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const QString &sentence)
{
    throw Error(u"Backup"_s, sentence);
}

/// What is in an archive beside the content, for each entry.
constexpr qint64 bytesPerEntry = 512;

void requireRoom(const QString &folder, qint64 needed, const std::stop_token &stop)
{
    const auto available = LocalFileService().freeSpace(folder, stop);
    if (available && *available < needed) {
        fail(u"The temporary folder “%1” has %2 free, but the archive may need %3. Another one can be set by TMPDIR."_s
                 .arg(folder, Format::byteCount(*available), Format::byteCount(needed)));
    }
}

/// The tool passes over a source that has vanished meanwhile, and calls that a success.
void requireAll(const QStringList &sources, const QList<ZipEntry> &entries)
{
    for (const QString &source : sources) {
        const auto isOfSource = [&source](const ZipEntry &entry) {
            return BackupNames::isWithin(u'/' + entry.path, source);
        };
        if (std::none_of(entries.cbegin(), entries.cend(), isOfSource))
            fail(u"zip failed: nothing of “%1” is in the archive."_s.arg(source));
    }
}

} // namespace

QString BackupOutcome::status() const
{
    if (wasCancelled)
        return u"Cancelled"_s;
    return failure.isEmpty() ? u"Completed"_s : failure;
}

BackupRun::BackupRun(BackupJob job, Environment environment, Surroundings surroundings, Report report)
    : m_job(std::move(job))
    , m_environment(std::move(environment))
    , m_surroundings(std::move(surroundings))
    , m_report(std::move(report))
{
}

void BackupRun::report(const QString &text, qint64 done, qint64 total)
{
    if (m_report)
        m_report({text, done, total});
}

BackupOutcome BackupRun::run(const QDateTime &start, const std::stop_token &stop)
{
    m_outcome.started = start;
    report(u"Starting “%1”…"_s.arg(m_job.name));
    try {
        perform(stop);
    } catch (const Cancelled &) {
        m_outcome.wasCancelled = true;
    } catch (const std::exception &error) {
        m_outcome.failure = QString::fromUtf8(error.what());
    }
    m_outcome.wasCancelled = m_outcome.wasCancelled || (!m_outcome.failure.isEmpty() && stop.stop_requested());
    m_outcome.ended = systemNow();
    return m_outcome;
}

void BackupRun::requireConfigured() const
{
    if (m_job.sourcePaths.isEmpty())
        fail(u"No sources configured"_s);
    if (m_job.destinationPath.isEmpty())
        fail(u"No destination set"_s);
    if (m_job.destinationServerID && !m_surroundings.serverName)
        fail(u"Backup server not found"_s);
}

QString BackupRun::passphrase()
{
    if (!m_job.encrypt)
        return {};
    const KeychainStore::Reading reading = m_environment.keychain->read(m_job.id, SecretKind::passphrase);
    if (!reading.value || reading.value->isEmpty()) {
        if (!reading.problem.isEmpty())
            m_outcome.notes.append(reading.problem);
        fail(u"Encryption passphrase unavailable — backup not run"_s);
    }
    return *reading.value;
}

QString BackupRun::deliveryText() const
{
    return m_surroundings.serverName ? u"Uploading to %1…"_s.arg(*m_surroundings.serverName) : u"Copying…"_s;
}

std::shared_ptr<FileService> BackupRun::openDestination(const std::stop_token &stop)
{
    if (m_job.destinationServerID)
        return m_environment.openServer(*m_job.destinationServerID, stop);
    const QFileInfo folder(m_job.destinationPath);
    if (!m_job.destinationPath.startsWith(u'/') || !folder.isDir())
        fail(u"The destination folder “%1” is not there."_s.arg(m_job.destinationPath));
    m_outcome.mountPoint = backupPresence::mountPointOf(m_job.destinationPath);
    return std::make_shared<LocalFileService>();
}

void BackupRun::perform(const std::stop_token &stop)
{
    requireConfigured();
    const QString passphrase = this->passphrase();
    if (!m_job.makesArchive()) {
        copySources(BackupDestination(openDestination(stop), m_job.destinationPath, m_surroundings.transferID), stop);
        return;
    }
    if (!m_job.destinationServerID)
        openDestination(stop);
    if (!m_job.destinationServerID && backupPresence::isAbsent(m_job.destinationPath, m_surroundings.mountPoint))
        m_outcome.notes.append(u"It went to the disk at “%1”, the one before to “%2”."_s.arg(
            m_outcome.mountPoint, m_surroundings.mountPoint));
    const BackupStaging staging;
    const QString archive = makeArchive(staging.path(), passphrase, stop);
    const qint64 bytes = QFileInfo(archive).size();
    report(deliveryText(), 0, bytes);
    const BackupDestination destination(openDestination(stop), m_job.destinationPath, m_surroundings.transferID);
    const auto progress = [this](const TransferCounts &counts) {
        report(deliveryText(), counts.bytesDone, counts.bytesTotal);
    };
    m_outcome.notes += destination.deliver(archive, progress, stop);
    const QString name = QFileInfo(archive).fileName();
    destination.requireDelivered(name, bytes, stop);
    m_outcome.archive = name;
    m_outcome.bytes = bytes;
    prune(destination, stop);
}

QString BackupRun::makeArchive(const QString &folder, const QString &passphrase, const std::stop_token &stop)
{
    for (const QString &source : std::as_const(m_job.sourcePaths)) {
        if (BackupNames::isWithin(folder, source))
            fail(u"The source “%1” holds the temporary folder “%2”, where the archive is made."_s.arg(source, folder));
    }
    const BackupSources sources = BackupSources::survey(m_job.sourcePaths, BackupSources::Links::followed, stop);
    const qint64 mostBytes = sources.bytes + sources.entries * bytesPerEntry;
    requireRoom(folder, m_job.encrypt ? 2 * mostBytes : mostBytes, stop);
    if (const QString note = sources.note(); !note.isEmpty())
        m_outcome.notes.append(note);

    const QString zipPath = Format::join(
        folder, BackupNames::archiveName(m_job.name, m_outcome.started.toLocalTime(), BackupNames::Kind::zip));
    report(u"Compressing…"_s);
    zip(m_job.sourcePaths, zipPath, *m_environment.processes, stop);
    // It may hold what only this user may read, and keeps its mode at the destination.
    QFile::setPermissions(zipPath, QFile::ReadOwner | QFile::WriteOwner);
    if (m_job.encrypt)
        ArchiveCipher::requireSealable(QFileInfo(zipPath).size());
    const ZipArchive archive(zipPath);
    requireAll(m_job.sourcePaths, archive.entries());
    const auto verified = [this, &sources](qint64 done) { report(u"Verifying…"_s, done, sources.bytes); };
    archive.test(verified, stop);
    m_outcome.notes.append(u"All %1 entries of the archive were read back."_s.arg(archive.entries().size()));
    return m_job.encrypt ? sealed(zipPath, passphrase, stop) : zipPath;
}

QString BackupRun::sealed(const QString &zipPath, const QString &passphrase, const std::stop_token &stop)
{
    const QString path = zipPath + u".enc"_s;
    const qint64 bytes = QFileInfo(zipPath).size();
    const ArchiveCipher cipher(passphrase);
    cipher.seal(
        zipPath, path, [&](qint64 done) { report(u"Encrypting…"_s, done, bytes); }, stop);
    cipher.verify(
        path, [&](qint64 done) { report(u"Verifying…"_s, done, bytes); }, stop);
    m_outcome.notes.append(u"The encrypted archive opens with the stored passphrase."_s);
    return path;
}

void BackupRun::copySources(const BackupDestination &destination, const std::stop_token &stop)
{
    const BackupSources sources = BackupSources::survey(m_job.sourcePaths, BackupSources::Links::kept, stop);
    report(deliveryText(), 0, sources.bytes);
    const QString name =
        BackupNames::archiveName(m_job.name, m_outcome.started.toLocalTime(), BackupNames::Kind::folder);
    const auto progress = [this](const TransferCounts &counts) {
        report(deliveryText(), counts.bytesDone, counts.bytesTotal);
    };
    m_outcome.notes += destination.deliverFolder(m_job.sourcePaths, name, progress, stop);
    destination.requireDelivered(name, -1, stop);
    m_outcome.archive = name;
    m_outcome.bytes = sources.bytes;
    prune(destination, stop);
}

void BackupRun::prune(const BackupDestination &destination, const std::stop_token &stop)
{
    const auto clashing = std::find_if(m_surroundings.allJobs.cbegin(), m_surroundings.allJobs.cend(),
                                       [this](const BackupJob &other) { return BackupNames::clash(m_job, other); });
    if (clashing != m_surroundings.allJobs.cend()) {
        m_outcome.notes.append(
            u"No older archive was removed: the job “%1” keeps archives of the same name in the same "
            "folder."_s.arg(clashing->name));
        return;
    }
    const int removed = destination.prune(m_job, m_outcome.archive, stop);
    if (removed > 0)
        m_outcome.notes.append(removed == 1 ? u"1 older archive was removed."_s
                                            : u"%1 older archives were removed."_s.arg(removed));
}

} // namespace moorix
