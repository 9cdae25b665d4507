// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/TextFile.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LocalFileService.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace moorix::textFile {

namespace {

QByteArray checksumOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

/// The file itself, whatever links lead to it; nothing where it is gone.
std::optional<FileItem> found(FileService &service, const QString &path, const std::stop_token &stop)
{
    std::optional<FileItem> item = service.stat(path, stop);
    if (item && item->isSymlink) {
        // A link that leads nowhere is a file that is gone.
        try {
            item = service.followLink(*item, stop);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &) {
            return std::nullopt;
        }
    }
    return item;
}

std::optional<DecodedText> decoded(const QByteArray &bytes, std::optional<TextEncoding> encoding)
{
    if (!encoding)
        return decodedText(bytes);
    auto text = decodedTextAs(bytes, *encoding);
    return text ? std::optional(DecodedText{*std::move(text), *encoding}) : std::nullopt;
}

/// A file may claim to be empty, or grow without end while it is read.
QByteArray bytesOf(FileService &service, const QString &path, const std::stop_token &stop)
{
    auto *disk = dynamic_cast<LocalFileService *>(&service);
    return disk ? disk->readHead(path, maxBytes + 1, stop) : service.read(path, stop);
}

} // namespace

Reading load(FileService &service, const QString &path, std::optional<TextEncoding> encoding,
             const std::stop_token &stop)
{
    Reading reading;
    const auto item = found(service, path, stop);
    if (item && item->isDirectory)
        throw Error(u"Editor"_s, u"“%1” is a folder."_s.arg(Format::display(path)));
    reading.size = item ? item->size : 0;
    if (reading.size > maxBytes) {
        reading.obstacle = Obstacle::tooLarge;
        return reading;
    }
    const QByteArray bytes = bytesOf(service, path, stop);
    if (bytes.size() > maxBytes) {
        reading.size = bytes.size();
        reading.obstacle = Obstacle::tooLarge;
        return reading;
    }
    const auto text = decoded(bytes, encoding);
    if (!text) {
        reading.obstacle = Obstacle::noText;
        return reading;
    }
    LoadedText &loaded = reading.loaded;
    loaded.text = text->text.toUtf8();
    loaded.encoding = text->encoding;
    loaded.lineEnds = LineEnds::of(loaded.text);
    loaded.longestLine = longestLine(loaded.text);
    // The time from before it was read: what is written meanwhile has another one.
    loaded.version = {bytes.size(), item ? item->modified : std::nullopt, checksumOf(bytes)};
    return reading;
}

WriteProtection protectionOf(const QString &path)
{
    const QByteArray file = LocalDisk::native(path);
    struct stat status = {};
    if (::stat(file.constData(), &status) != 0)
        return {};
    if (::access(file.constData(), W_OK) != 0)
        return {u"It cannot be changed: %1."_s.arg(systemErrorText(errno)), false};
    const QString folder = Format::parent(QFileInfo(path).isSymLink() ? QFileInfo(path).canonicalFilePath() : path);
    if (::access(LocalDisk::native(folder).constData(), W_OK) != 0) {
        return {u"It cannot be replaced, because nothing can be written into “%1”: %2."_s.arg(Format::display(folder),
                                                                                              systemErrorText(errno)),
                false};
    }
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        return {u"It is write-protected."_s, true};
    return {};
}

bool isWrittenOver(const QString &path)
{
    struct stat status = {};
    return ::stat(LocalDisk::native(path).constData(), &status) == 0 && status.st_nlink > 1;
}

Standing standing(FileService &service, const QString &path, const FileVersion &known, const std::stop_token &stop)
{
    const auto item = found(service, path, stop);
    if (!item)
        return Standing::gone;
    if (item->size != known.size)
        return Standing::changed;
    return checksumOf(service.read(path, stop)) == known.checksum ? Standing::same : Standing::changed;
}

Saving save(FileService &service, const QString &path, const QByteArray &bytes, const std::optional<FileVersion> &known,
            const std::stop_token &stop)
{
    FileVersion version{bytes.size(), std::nullopt, checksumOf(bytes)};
    bool isThere = false;
    if (known) {
        const Standing now = standing(service, path, *known, stop);
        // Somebody may have written the very same, or an earlier try whose success was not heard of.
        isThere = now == Standing::changed && standing(service, path, version, stop) == Standing::same;
        if (now != Standing::same && !isThere)
            return {now, *known};
    }
    if (!isThere)
        service.write(bytes, path, stop);
    const auto item = found(service, path, stop);
    if (!item || item->size != bytes.size()) {
        throw Error(u"Editor"_s, u"“%1” was written, but now holds %2 instead of %3."_s.arg(
                                     Format::display(path), Format::byteCount(item ? item->size : 0),
                                     Format::byteCount(bytes.size())));
    }
    version.modified = item->modified;
    return {Standing::same, version};
}

std::optional<Unencodable> firstUnencodable(const QString &text, TextEncoding encoding)
{
    int line = 1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair = text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        const QString character = text.mid(i, isPair ? 2 : 1);
        if (text[i].unicode() > 0x7F && !encodedText(character, encoding))
            return Unencodable{character, line};
        const bool isLineEnd = text[i] == u'\n' || (text[i] == u'\r' && text.mid(i + 1, 1) != u"\n"_s);
        line += isLineEnd ? 1 : 0;
        i += isPair ? 1 : 0;
    }
    return std::nullopt;
}

} // namespace moorix::textFile
