// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ArchiveExtraction.h"

#include "backup/ZipArchive.h"
#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "files/LocalCopy.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"
#include "transfers/LocalTransfer.h"
#include "transfers/TransferNames.h"

#include <QHash>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Why a path of an archive must not be made below a folder.
std::optional<QString> objection(const QString &path)
{
    if (path.startsWith(u'/'))
        return u"it is an absolute path"_s;
    const QStringList names = path.split(u'/');
    for (const QString &name : names) {
        if (const auto reason = transferNames::objection(name, transferNames::NameSource::server))
            return reason;
    }
    return std::nullopt;
}

QString withoutSlashes(QString path)
{
    while (path.endsWith(u'/'))
        path.chop(1);
    return path;
}

timespec timeOf(const QDateTime &date)
{
    return {date.toSecsSinceEpoch(), 0};
}

FileItem itemOf(const ZipEntry &entry)
{
    FileItem item = transferNames::itemAt(entry.path);
    item.size = entry.size;
    item.modified = entry.modified;
    return item;
}

} // namespace

ArchiveExtraction::ArchiveExtraction(const ZipArchive &archive, QString toFolder, Callbacks callbacks)
    : m_archive(archive)
    , m_folder(std::move(toFolder))
    , m_callbacks(std::move(callbacks))
{
}

QList<ArchiveExtraction::Piece> ArchiveExtraction::plan(const QStringList &paths)
{
    QList<Piece> pieces;
    const QList<ZipEntry> &entries = m_archive.entries();
    if (paths.isEmpty()) {
        for (qsizetype index = 0; index < entries.size(); ++index)
            pieces.append({index, entries.at(index).path});
        return pieces;
    }
    QMultiHash<QStringView, qsizetype> wanted;
    QStringList cleaned;
    for (const QString &path : paths)
        cleaned << withoutSlashes(path);
    for (qsizetype i = 0; i < cleaned.size(); ++i)
        wanted.insert(cleaned.at(i), i);
    std::vector<QList<Piece>> found(std::size_t(cleaned.size()));
    for (qsizetype index = 0; index < entries.size(); ++index) {
        const QString &entry = entries.at(index).path;
        // It may be wanted itself, or any folder above it.
        for (qsizetype end = entry.size(); end > 0; end = entry.lastIndexOf(u'/', end - 1)) {
            const QStringView above = QStringView(entry).first(end);
            for (auto place = wanted.constFind(above); place != wanted.cend() && place.key() == above; ++place)
                found.at(std::size_t(*place)).append({index, entry.mid(above.lastIndexOf(u'/') + 1)});
        }
    }
    for (qsizetype i = 0; i < cleaned.size(); ++i) {
        if (found.at(std::size_t(i)).isEmpty())
            throw Error(u"Backup"_s, u"“%1” is not in the archive."_s.arg(Format::display(cleaned.at(i))));
        pieces << found.at(std::size_t(i));
    }
    return pieces;
}

void ArchiveExtraction::requireRoom(const QList<Piece> &pieces, const std::stop_token &stop) const
{
    if (!LocalFileService().stat(m_folder + u"/."_s, stop))
        throw Error(u"Backup"_s, u"The folder “%1” is not there."_s.arg(m_folder));
    const auto available = LocalFileService().freeSpace(m_folder, stop);
    if (available && *available < m_total && !pieces.isEmpty()) {
        throw Error(u"Backup"_s, u"“%1” has %2 free, but %3 are needed. Nothing was restored."_s.arg(
                                     m_folder, Format::byteCount(*available), Format::byteCount(m_total)));
    }
}

RestoreOutcome ArchiveExtraction::run(const QStringList &paths, const std::stop_token &stop)
{
    const QList<Piece> pieces = plan(paths);
    for (const Piece &piece : pieces)
        m_total += m_archive.entries().at(piece.index).size;
    requireRoom(pieces, stop);
    try {
        for (const Piece &piece : pieces) {
            LocalDisk::throwIfStopped(stop);
            try {
                restore(piece, stop);
            } catch (const Cancelled &) {
                throw;
            } catch (const Error &error) {
                m_outcome.failures.append(u"“%1” was not restored: %2"_s.arg(
                    Format::display(m_archive.entries().at(piece.index).path), error.message()));
            }
        }
    } catch (const Cancelled &) {
        m_outcome.wasCancelled = true;
    }
    finishFolders();
    return m_outcome;
}

void ArchiveExtraction::restore(const Piece &piece, const std::stop_token &stop)
{
    const ZipEntry &entry = m_archive.entries().at(piece.index);
    if (const auto reason = objection(piece.target))
        throw Error(u"Backup"_s, *reason);
    if (entry.isLink)
        throw Error(u"Backup"_s, u"it is a symbolic link, which could lead anywhere."_s);
    if (entry.isFolder) {
        const bool isNew = !LocalDisk::statusOf(Format::join(m_folder, piece.target));
        makeFolders(piece.target + u"/."_s);
        if (isNew)
            m_made.append({Format::join(m_folder, piece.target), piece.index});
        return;
    }
    makeFolders(piece.target);
    bool replaces = false;
    const auto path = placeFor(piece, replaces);
    if (!path) {
        ++m_outcome.skipped;
        return;
    }
    writeFile(piece, *path, replaces, stop);
    ++m_outcome.files;
    m_outcome.bytes += entry.size;
}

/// The folders that `target` lies in. Each is looked at itself: a link would lead out of the chosen folder.
void ArchiveExtraction::makeFolders(const QString &target)
{
    for (qsizetype slash = target.indexOf(u'/'); slash >= 0; slash = target.indexOf(u'/', slash + 1)) {
        const QString path = Format::join(m_folder, target.left(slash));
        if (m_known.contains(path))
            continue;
        const auto status = LocalDisk::statusOf(path);
        if (!status && ::mkdir(LocalDisk::native(path).constData(), 0777) != 0)
            throw Error(u"Backup"_s, u"the folder “%1” could not be made: %2"_s.arg(path, systemErrorText(errno)));
        if (status && !LocalDisk::item({}, path, *status).isDirectory)
            throw Error(u"Backup"_s, u"“%1” is no folder"_s.arg(path));
        m_known.insert(path);
    }
}

std::optional<QString> ArchiveExtraction::placeFor(const Piece &piece, bool &replaces)
{
    using Choice = ConflictAnswer::Choice;
    const QString path = Format::join(m_folder, piece.target);
    const auto status = LocalDisk::statusOf(path);
    if (!status)
        return path;
    const ZipEntry &entry = m_archive.entries().at(piece.index);
    const TransferConflict conflict{itemOf(entry), LocalDisk::item(Format::fileName(path), path, *status)};
    auto choice = m_forAll ? m_forAll : choiceOf(m_callbacks.policy);
    auto meant = choice ? settled(*choice, conflict) : std::nullopt;
    while (!meant) {
        const ConflictAnswer answer = m_callbacks.ask ? m_callbacks.ask(conflict) : ConflictAnswer{Choice::skip, true};
        if (answer.forAll)
            m_forAll = answer.choice;
        meant = settled(answer.choice, conflict);
    }
    switch (*meant) {
    case Choice::cancel:
        throw Cancelled();
    case Choice::skip:
        return std::nullopt;
    case Choice::rename: {
        const QString folder = Format::parent(path);
        return Format::join(folder,
                            transferNames::freeName(transferNames::itemAt(path), [&folder](const QString &name) {
                                return LocalDisk::statusOf(Format::join(folder, name)) != nullptr;
                            }));
    }
    default:
        if (conflict.existing.isDirectory)
            throw Error(u"Backup"_s, u"a folder of this name is there"_s);
        replaces = true;
        return path;
    }
}

void ArchiveExtraction::writeFile(const Piece &piece, const QString &path, bool replaces, const std::stop_token &stop)
{
    const ZipEntry &entry = m_archive.entries().at(piece.index);
    const QString partPath = LocalDisk::partPath(path);
    const QByteArray part = LocalDisk::native(partPath);
    FileDescriptor file(::open(part.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    const auto requireWritten = [&path](int errorNumber) {
        if (errorNumber != 0)
            throw Error(u"Backup"_s, u"“%1” could not be written: %2"_s.arg(path, systemErrorText(errorNumber)));
    };
    requireWritten(file.isOpen() ? 0 : errno);
    // Does nothing once the part has got its name.
    const std::shared_ptr<void> remover(nullptr, [&part](void *) { ::unlink(part.constData()); });
    qint64 done = m_outcome.bytes;
    m_archive.read(
        piece.index,
        [&](QByteArrayView bytes) {
            requireWritten(LocalDisk::writeAll(file.value(), bytes.data(), bytes.size()));
            done += bytes.size();
            if (m_callbacks.progress)
                m_callbacks.progress(entry.path, done, m_total);
        },
        stop);
    if (entry.mode)
        ::fchmod(file.value(), *entry.mode);
    if (entry.modified) {
        const timespec times[2] = {timeOf(*entry.modified), timeOf(*entry.modified)};
        ::futimens(file.value(), times);
    }
    requireWritten(file.close() == 0 ? 0 : errno);
    const auto existing = replaces ? localTransfer::Existing::replace : localTransfer::Existing::refuse;
    if (!localTransfer::rename(partPath, path, existing))
        throw Error(u"Backup"_s, u"“%1” could not be renamed"_s.arg(path));
}

/// Last, and the deepest first: a mode may forbid filling a folder, and filling changes its time.
void ArchiveExtraction::finishFolders() const
{
    for (auto made = m_made.crbegin(); made != m_made.crend(); ++made) {
        const ZipEntry &entry = m_archive.entries().at(made->second);
        const QByteArray path = LocalDisk::native(made->first);
        if (entry.mode)
            ::chmod(path.constData(), *entry.mode);
        if (entry.modified) {
            const timespec times[2] = {timeOf(*entry.modified), timeOf(*entry.modified)};
            ::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW);
        }
    }
    const FileDescriptor folder(::open(LocalDisk::native(m_folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        ::syncfs(folder.value());
}

} // namespace moorix
