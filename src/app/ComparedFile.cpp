// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ComparedFile.h"

#include "editor/TextFile.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/RemoteFileService.h"

#include <QCryptographicHash>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using comparedFile::Guard;
using comparedFile::Outcome;
using comparedFile::Saving;

[[noreturn]] void refuse(const QString &text, TextEncoding encoding)
{
    qsizetype line = 1;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const qsizetype length = text.at(at).isHighSurrogate() && at + 1 < text.size() ? 2 : 1;
        const QString character = text.sliced(at, length);
        if (!encodedText(character, encoding))
            throw Error(u"Compare"_s, u"“%1” in line %2 cannot be written in the file's encoding, %3."_s.arg(
                                          Format::display(character), QString::number(line), nameOf(encoding)));
        line += character == u"\n"_s ? 1 : 0;
        at += length - 1;
    }
    throw Error(u"Compare"_s, u"The text cannot be written in the file's encoding, %1."_s.arg(nameOf(encoding)));
}

QByteArray bytesOf(const QString &text, TextEncoding encoding)
{
    auto bytes = encodedText(text, encoding);
    if (!bytes)
        refuse(text, encoding);
    return *std::move(bytes);
}

QByteArray checksumOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

Outcome saveHere(FileService &disk, const Saving &saving, const QByteArray &after, const std::stop_token &stop)
{
    std::optional<FileVersion> known;
    if (saving.guard == Guard::known) {
        const QByteArray before = bytesOf(saving.before, saving.encoding);
        known = FileVersion{before.size(), std::nullopt, checksumOf(before)};
    }
    switch (textFile::save(disk, saving.file.path, after, known, stop).standing) {
    case textFile::Standing::same:
        return Outcome::sent;
    case textFile::Standing::changed:
        return Outcome::changedThere;
    case textFile::Standing::gone:
        break;
    }
    return Outcome::goneThere;
}

/// What the server's file is taken to be, and where it really lies; nothing when it is gone.
std::optional<EditedRecord> recordOf(RemoteFileService &server, const Saving &saving, const std::stop_token &stop)
{
    EditedRecord record;
    record.server = saving.server;
    record.serverName = saving.serverName;
    record.name = saving.file.name;
    record.path = saving.file.path;
    record.permissions = saving.file.permissions;
    const QByteArray before = bytesOf(saving.before, saving.encoding);
    record.size = before.size();
    record.modified = saving.file.modified;
    record.checksum = checksumOf(before);
    const auto there = server.stat(saving.file.path, stop);
    if (!there)
        return saving.guard == Guard::anything ? std::optional(record) : std::nullopt;
    const FileItem real = editedVersion::resolved(server, *there, stop);
    record.path = real.path;
    record.isLink = real.isSymlink;
    if (!real.isSymlink)
        record.permissions = real.permissions;
    return record;
}

Outcome saveThere(RemoteFileService &server, const Saving &saving, const QByteArray &after, const std::stop_token &stop)
{
    using namespace std::chrono_literals;
    std::optional<EditedRecord> record = recordOf(server, saving, stop);
    if (!record)
        return Outcome::goneThere;
    comparedFile::Leftover &leftover = *saving.leftover;
    if (!leftover.copy)
        leftover.copy = EditedCopy::make(saving.root);
    const auto disk = std::make_shared<LocalFileService>();
    // Should the program be killed from here on, its next start offers what is there as an edited file.
    leftover.copy->save(*record);
    disk->write(after, leftover.copy->filePath(*record), stop);
    const editedVersion::Sending sending{disk,     saving.service,       saving.guard, leftover.mayBeThere,
                                         {1s, 3s}, [](qint64, qint64) {}};
    leftover.mayBeThere = true;
    const Outcome outcome = editedVersion::send(sending, *leftover.copy, *record, stop);
    if (outcome == Outcome::sent) {
        leftover.copy->remove();
        leftover.copy.reset();
        leftover.mayBeThere = false;
    }
    return outcome;
}

} // namespace

comparedFile::Leftover::~Leftover()
{
    if (copy)
        copy->remove();
}

Outcome comparedFile::save(const Saving &saving, const std::stop_token &stop)
{
    const QByteArray after = bytesOf(saving.after, saving.encoding);
    if (auto *server = dynamic_cast<RemoteFileService *>(saving.service.get()))
        return saveThere(*server, saving, after, stop);
    LocalFileService disk;
    return saveHere(disk, saving, after, stop);
}

} // namespace moorix
