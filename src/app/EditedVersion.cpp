// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EditedVersion.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "files/RemoteFileService.h"
#include "transfers/TransferChecksums.h"
#include "transfers/TransferLeftovers.h"
#include "transfers/TransferNames.h"
#include "transfers/TransferRun.h"

#include <QFile>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// More than this is read once more from the server only where its time has changed too.
constexpr qint64 cheapBytes = 8'000'000;

QByteArray localChecksum(const QString &path, const std::stop_token &stop)
{
    LocalFileService disk;
    return transferChecksums::of(disk, {path}, stop).value_or(QHash<QString, QByteArray>()).value(path);
}

/// Other programs can open only what has a name in Unicode, and only such a file can be watched.
QString localName(QString name)
{
    if (!NativePath::isUnicode(name))
        std::ranges::replace_if(
            name, [](QChar unit) { return unit.isSurrogate(); }, QChar(u'_'));
    return name;
}

/// The file as it stands there, or nothing.
std::optional<FileItem> standing(RemoteFileService &server, const EditedRecord &record, const std::stop_token &stop)
{
    try {
        FileItem item = transferNames::itemAt(record.path);
        item.permissions = record.permissions;
        return server.followLink(item, stop);
    } catch (const FileServiceError &error) {
        if (error.kind() == FileServiceError::Case::notFound)
            return std::nullopt;
        throw;
    }
}

/// What the server's file holds, computed there or, where the server cannot, from a copy of it.
QByteArray checksumThere(RemoteFileService &server, const EditedCopy &copy, const EditedRecord &record,
                         const std::stop_token &stop)
{
    if (const auto sums = transferChecksums::of(server, {record.path}, stop)) {
        if (const QByteArray sum = sums->value(record.path); !sum.isEmpty())
            return sum;
    }
    const QString path = copy.travelPath(record) + u".there"_s;
    const std::shared_ptr<void> removal(nullptr, [&path](void *) { QFile::remove(path); });
    server.download(record.path, path, {}, stop);
    return localChecksum(path, stop);
}

enum class Standing { known, ours, foreign };

struct Version
{
    qint64 size = 0;
    QByteArray checksum;
};

/// Sizes and times of listings tell a change, but not that there was none: servers tell times to the minute.
Standing compare(RemoteFileService &server, const EditedCopy &copy, const EditedRecord &record, const FileItem &there,
                 const Version &ours, const std::stop_token &stop)
{
    const bool hasKnownSize = there.size == record.size;
    if (there.isDirectory || (!hasKnownSize && there.size != ours.size))
        return Standing::foreign;
    if (hasKnownSize && there.size > cheapBytes && there.modified && there.modified == record.modified)
        return Standing::known;
    const QByteArray sum = checksumThere(server, copy, record, stop);
    if (sum == record.checksum)
        return Standing::known;
    return sum == ours.checksum ? Standing::ours : Standing::foreign;
}

/// Takes the copy as it is at this moment, so that another save does not change it on its way.
FileItem snapshot(FileService &disk, const EditedCopy &copy, const EditedRecord &record, const std::stop_token &stop)
{
    const QString path = copy.travelPath(record);
    if (disk.stat(path, stop))
        LocalDisk::removeTree(path, stop);
    localTransfer::copyFile(
        copy.filePath(record), path, localTransfer::Start::fresh, localTransfer::Flush::no, [](qint64) {}, stop);
    disk.setPermissions(path, Format::octalMode(record.permissions).value_or(u"644"_s), Recursive::no, stop);
    const auto item = disk.stat(path, stop);
    if (!item)
        throw FileServiceError::notFound(path);
    return *item;
}

void run(const TransferRequest &request, const TransferRun::Callbacks &callbacks, const std::stop_token &stop)
{
    const TransferOutcome outcome = TransferRun(request, callbacks).run(stop);
    if (stop.stop_requested())
        throw Cancelled();
    if (!outcome.failures.isEmpty())
        throw Error(u"Editing"_s, outcome.failures.join(u'\n'));
}

/// "NAME 2.ext" and so on, beside the server's file.
QString freeName(FileService &server, const QString &path, const std::stop_token &stop)
{
    const QList<FileItem> entries = server.list(Format::parent(path), HiddenFiles::included, stop);
    return transferNames::freeName(transferNames::itemAt(path), [&entries](const QString &name) {
        return std::any_of(entries.cbegin(), entries.cend(),
                           [&name](const FileItem &entry) { return entry.name == name; });
    });
}

/// Puts the version over what stands at the record's path.
void carryUp(const editedVersion::Sending &sending, const EditedCopy &copy, const FileItem &version,
             const EditedRecord &record, const std::stop_token &stop)
{
    TransferRequest request;
    request.source = sending.disk;
    request.destination = sending.server;
    request.items = {version};
    request.targetFolder = Format::parent(record.path);
    request.newName = Format::fileName(record.path);
    request.policy = sending.guard == editedVersion::Guard::nothing ? TransferConflictPolicy::ask
                                                                    : TransferConflictPolicy::overwrite;
    request.isUrgent = true;
    request.id = copy.id();
    TransferRun::Callbacks callbacks;
    callbacks.progress = [&sending](const TransferCounts &counts) {
        sending.progress(counts.bytesDone, counts.bytesTotal);
    };
    callbacks.ask = [](const TransferConflict &conflict, const std::stop_token &) -> ConflictAnswer {
        throw Error(u"Editing"_s, u"“%1” is there meanwhile"_s.arg(Format::display(conflict.existing.path)));
    };
    callbacks.reconnectDelays = sending.reconnectDelays;
    run(request, callbacks, stop);
    if (sending.mayHaveLeftovers)
        transferLeftovers::remove(request, stop);
}

} // namespace

FileItem editedVersion::resolved(RemoteFileService &server, FileItem item, const std::stop_token &stop)
{
    constexpr int mostLinks = 16;
    for (int count = 0; item.isSymlink && count < mostLinks; ++count) {
        const auto target = server.linkTarget(item.path, stop);
        if (!target)
            return item;
        const QString path = target->startsWith(u'/') ? *target : Format::join(Format::parent(item.path), *target);
        const auto next = server.stat(path, stop);
        if (!next)
            throw FileServiceError::notFound(path);
        item = *next;
    }
    return item;
}

std::shared_ptr<EditedCopy> editedVersion::fetch(RemoteFileService &server, const FileItem &file, EditedRecord record,
                                                 const QString &root, const Progress &progress,
                                                 const std::stop_token &stop)
{
    if (const auto objection = transferNames::objection(file.name, transferNames::NameSource::server))
        throw Error(u"Editing"_s, u"“%1” cannot be opened: %2"_s.arg(Format::display(file.name), *objection));
    const FileItem real = resolved(server, file, stop);
    record.path = real.path;
    record.isLink = real.isSymlink;
    record.name = localName(file.name);
    record.permissions = real.isSymlink ? std::nullopt : real.permissions;
    std::shared_ptr<EditedCopy> copy = EditedCopy::make(root);
    try {
        const QString path = copy->filePath(record);
        RemoteTransferOptions options;
        options.keepsTimes = true;
        options.progress = progress;
        server.download(record.path, path, options, stop);
        LocalDisk::setMode(path, 0600);
        const auto there = standing(server, record, stop);
        record.size = LocalFileService().stat(path, stop).value_or(FileItem()).size;
        // A file that grew meanwhile counts as changed since.
        record.modified = there && there->size == record.size ? there->modified : std::nullopt;
        record.checksum = localChecksum(path, stop);
        copy->save(record);
    } catch (...) {
        copy->remove();
        throw;
    }
    return copy;
}

bool editedVersion::isUnchanged(RemoteFileService &server, const EditedCopy &copy, const EditedRecord &record,
                                const std::stop_token &stop)
{
    const auto there = standing(server, record, stop);
    return there && compare(server, copy, record, *there, {record.size, record.checksum}, stop) == Standing::known;
}

editedVersion::Outcome editedVersion::send(const Sending &sending, const EditedCopy &copy, EditedRecord &record,
                                           const std::stop_token &stop)
{
    const FileItem version = snapshot(*sending.disk, copy, record, stop);
    const QByteArray ours = localChecksum(version.path, stop);
    auto &server = dynamic_cast<RemoteFileService &>(*sending.server);
    bool isThere = false;
    if (sending.guard == Guard::nothing) {
        record.path = Format::join(Format::parent(record.path), freeName(server, record.path, stop));
        record.isLink = false;
    } else if (record.isLink) {
        throw Error(u"Editing"_s, u"it is a symbolic link, and the server does not tell where it leads"_s);
    } else if (sending.guard == Guard::known) {
        const auto there = standing(server, record, stop);
        if (!there)
            return Outcome::goneThere;
        const Standing standing = compare(server, copy, record, *there, {version.size, ours}, stop);
        if (standing == Standing::foreign)
            return Outcome::changedThere;
        // An upload whose success was not heard of any more.
        isThere = standing == Standing::ours;
    }
    if (!isThere)
        carryUp(sending, copy, version, record, stop);
    record.size = version.size;
    record.checksum = ours;
    const auto there = standing(server, record, stop);
    record.modified = there ? there->modified : std::nullopt;
    copy.save(record);
    return Outcome::sent;
}

void editedVersion::saveAs(const std::shared_ptr<FileService> &disk, const EditedCopy &copy, const EditedRecord &record,
                           const QString &toPath, const std::stop_token &stop)
{
    TransferRequest request;
    request.source = disk;
    request.destination = disk;
    request.items = {transferNames::itemAt(copy.filePath(record),
                                           disk->followLink(transferNames::itemAt(copy.filePath(record)), stop))};
    request.targetFolder = Format::parent(toPath);
    request.newName = Format::fileName(toPath);
    request.policy = TransferConflictPolicy::overwrite;
    run(request, {}, stop);
}

std::optional<QByteArray> editedVersion::checksum(const EditedCopy &copy, const EditedRecord &record,
                                                  const std::stop_token &stop)
{
    const QByteArray sum = localChecksum(copy.filePath(record), stop);
    return sum.isEmpty() ? std::nullopt : std::optional(sum);
}

} // namespace moorix
