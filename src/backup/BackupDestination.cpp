// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupDestination.h"

#include "backup/BackupNames.h"
#include "backup/BackupSources.h"
#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "transfers/TransferLeftovers.h"
#include "transfers/TransferNames.h"
#include "transfers/TransferRun.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// When the archive was made: by its date, or where the source tells none, by its name.
QDateTime ageOf(const FileItem &archive)
{
    if (archive.modified)
        return *archive.modified;
    constexpr qsizetype stampLength = 15;
    const qsizetype end = archive.isDirectory ? archive.name.size() : archive.name.lastIndexOf(u".zip"_s);
    return QDateTime::fromString(archive.name.mid(end - stampLength, stampLength), u"yyyyMMdd-HHmmss"_s);
}

} // namespace

QList<FileItem> archivesToPrune(QList<FileItem> entries, const BackupJob &job, const QString &delivered)
{
    if (job.keepVersions < 1)
        return {};
    entries.removeIf([&](const FileItem &entry) {
        return entry.isSymlink || entry.name == delivered ||
               !BackupNames::isArchiveOf(job.name, entry.name, entry.isDirectory);
    });
    // Servers tell times to the minute; within it the start in the name decides.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const FileItem &a, const FileItem &b) { return a.name < b.name; });
    std::stable_sort(entries.begin(), entries.end(),
                     [](const FileItem &a, const FileItem &b) { return ageOf(a) < ageOf(b); });
    // The delivered one is among those that stay, whatever its date.
    const qsizetype kept = job.keepVersions - (delivered.isEmpty() ? 0 : 1);
    return entries.mid(0, std::max<qsizetype>(entries.size() - kept, 0));
}

BackupDestination::BackupDestination(std::shared_ptr<FileService> service, QString folder, const QUuid &transferID)
    : m_service(std::move(service))
    , m_folder(std::move(folder))
    , m_transferID(transferID)
{
}

QString BackupDestination::pathOf(const QString &name) const
{
    return Format::join(m_folder, name);
}

QStringList BackupDestination::transfer(QList<FileItem> items, const QString &toFolder, const Progress &progress,
                                        const std::stop_token &stop) const
{
    TransferRequest request;
    request.source = std::make_shared<LocalFileService>();
    request.destination = m_service;
    request.items = std::move(items);
    request.targetFolder = toFolder;
    request.policy = toFolder == m_folder ? TransferConflictPolicy::skip : TransferConflictPolicy::rename;
    request.check = TransferCheck::contents;
    request.id = m_transferID;
    TransferRun::Callbacks callbacks;
    callbacks.progress = progress;
    const TransferOutcome outcome = TransferRun(request, std::move(callbacks)).run(stop);
    if (outcome.wasCancelled)
        throw Cancelled();
    if (!outcome.failures.isEmpty())
        throw Error(u"Backup"_s, outcome.failures.constFirst());
    if (outcome.counts.skipped > 0)
        throw Error(u"Backup"_s, u"An archive of this name is in “%1” already."_s.arg(toFolder));
    return outcome.notes;
}

void BackupDestination::removeLeftovers(const std::stop_token &stop) const
{
    TransferRequest request;
    request.destination = m_service;
    request.more = {{{}, m_folder}};
    request.id = m_transferID;
    transferLeftovers::remove(request, stop);
}

QStringList BackupDestination::deliver(const QString &archivePath, const Progress &progress,
                                       const std::stop_token &stop) const
{
    removeLeftovers(stop);
    const auto archive = LocalFileService().stat(archivePath, stop);
    if (!archive)
        throw Error(u"Backup"_s, u"“%1” has vanished."_s.arg(archivePath));
    const QString target = pathOf(archive->name);
    const bool wasThere = m_service->stat(target, stop).has_value();
    try {
        return transfer({*archive}, m_folder, progress, stop);
    } catch (const Cancelled &) {
        throw;
    } catch (const Error &) {
        // It may have got its name and differ from the original all the same: nobody must take it for a backup.
        if (!wasThere && m_service->stat(target, stop))
            m_service->remove(transferNames::itemAt(target), stop);
        throw;
    }
}

QStringList BackupDestination::deliverFolder(const QStringList &sources, const QString &name, const Progress &progress,
                                             const std::stop_token &stop) const
{
    removeLeftovers(stop);
    LocalFileService local;
    QList<FileItem> items;
    for (const QString &source : sources) {
        auto item = local.stat(BackupSources::ownPath(source), stop);
        if (!item)
            throw Error(u"Backup"_s, u"“%1” has vanished."_s.arg(source));
        item->name = Format::fileName(source);
        items.append(*item);
    }
    FileItem stage = transferNames::itemAt(transferNames::stagePath(pathOf(name), m_transferID, items.constFirst()));
    stage.isDirectory = true;
    m_service->createDirectory(stage.path, stop);
    try {
        const QStringList notes = transfer(items, stage.path, progress, stop);
        m_service->move(stage, pathOf(name), stop);
        return notes;
    } catch (const Error &error) {
        try {
            m_service->remove(stage, std::stop_token());
        } catch (const Error &) {
            // The next run removes it.
        }
        if (dynamic_cast<const Cancelled *>(&error))
            throw;
        // Nobody knows the folder by the name it has until it is whole.
        throw Error(error.domain(), QString(error.message()).replace(stage.path, pathOf(name)));
    }
}

void BackupDestination::requireDelivered(const QString &name, qint64 bytes, const std::stop_token &stop) const
{
    const auto item = m_service->stat(pathOf(name), stop);
    if (!item)
        throw Error(u"Backup"_s, u"“%1” is not there after it was copied."_s.arg(pathOf(name)));
    if (bytes >= 0 && item->size != bytes) {
        throw Error(u"Backup"_s, u"“%1” holds %2 bytes instead of %3."_s.arg(pathOf(name)).arg(item->size).arg(bytes));
    }
}

int BackupDestination::prune(const BackupJob &job, const QString &delivered, const std::stop_token &stop) const
{
    const QList<FileItem> old = archivesToPrune(m_service->list(m_folder, HiddenFiles::included, stop), job, delivered);
    int count = 0;
    std::optional<Error> problem;
    for (const FileItem &archive : old) {
        try {
            m_service->remove(archive, stop);
            ++count;
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            problem = problem.value_or(error);
        }
    }
    if (problem)
        throw Error(*problem);
    return count;
}

} // namespace moorix
