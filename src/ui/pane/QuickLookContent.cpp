// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/QuickLookContent.h"

#include "base/Error.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/RemoteFileService.h"
#include "platform/PrivateFile.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImageReader>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

using Kind = QuickLookContent::Kind;

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

QuickLookContent message(const QString &text)
{
    return {Kind::message, text, {}, {}};
}

/// Nothing when the bytes are no picture of a known format.
std::optional<QuickLookContent> pictureFrom(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    if (!reader.canRead())
        return std::nullopt;
    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() > QuickLookContents::maxPixels) {
        return message(
            tr("This picture has %L1 × %L2 pixels, more than quick look shows.").arg(size.width()).arg(size.height()));
    }
    // Screens are smaller than photographs: a scaled picture is read faster and keeps less memory.
    if (const QSize screen(2560, 1600); size.width() > screen.width() || size.height() > screen.height())
        reader.setScaledSize(size.scaled(screen, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.isNull())
        return std::nullopt;
    const QSize known = size.isValid() ? size : image.size();
    return QuickLookContent{
        Kind::image, {}, std::move(image), tr("%L1 × %L2 pixels").arg(known.width()).arg(known.height())};
}

QString hexLine(const QByteArray &bytes, qsizetype offset)
{
    QString digits;
    QString characters;
    for (qsizetype i = offset; i < offset + 16; ++i) {
        if (i < bytes.size()) {
            const auto byte = uchar(bytes.at(i));
            digits += QString::number(byte, 16).rightJustified(2, u'0') + u' ';
            characters += byte >= 0x20 && byte < 0x7f ? QChar(char16_t(byte)) : QChar(u'·');
        } else {
            digits += u"   "_s;
        }
        if (i % 8 == 7)
            digits += u' ';
    }
    return QString::number(offset, 16).rightJustified(8, u'0') + u"  "_s + digits + characters;
}

QuickLookContent hexOf(const QByteArray &bytes)
{
    const QByteArray head = bytes.left(QuickLookContents::maxHexBytes);
    QStringList lines;
    for (qsizetype offset = 0; offset < head.size(); offset += 16)
        lines.append(hexLine(head, offset));
    const bool isCut = head.size() < bytes.size();
    return {Kind::hex, lines.join(u'\n'), {}, isCut ? tr("The first %L1 bytes").arg(head.size()) : QString()};
}

/// The first part of a text, ending with a whole character.
QByteArray textHead(const QByteArray &bytes)
{
    if (bytes.size() <= QuickLookContents::maxTextBytes)
        return bytes;
    qsizetype end = QuickLookContents::maxTextBytes;
    const qsizetype lowest = end - 4;
    while (end > lowest && (uchar(bytes.at(end)) & 0xC0) == 0x80)
        --end;
    return bytes.left(end);
}

QuickLookContent textOf(const QByteArray &bytes, QStringConverter::Encoding encoding)
{
    const QByteArray head = textHead(bytes);
    QStringDecoder decoder(encoding);
    QString text = decoder.decode(head);
    if (decoder.hasError())
        text = QString::fromLatin1(head);
    const bool isCut = head.size() < bytes.size();
    return {Kind::text, text, {}, isCut ? tr("The first %1").arg(Format::byteCount(head.size())) : QString()};
}

/// Fetches until the beginning has safely arrived, then gives the rest up.
QByteArray downloadHead(RemoteFileService &server, const QString &path, qint64 bytes, const std::stop_token &stop)
{
    const PrivateFile part(u"moorix-"_s);
    std::stop_source enough;
    const std::stop_callback forward(stop, [&enough] { enough.request_stop(); });
    RemoteTransferOptions options;
    options.progress = [&enough](qint64 received) {
        if (received >= QuickLookContents::headTransferBytes)
            enough.request_stop();
    };
    try {
        server.download(path, part.path(), options, enough.get_token());
    } catch (const Cancelled &) {
        if (stop.stop_requested())
            throw;
    }
    return LocalFileService().readHead(part.path(), bytes, stop);
}

/// The beginning of a file; nothing where the service reads files only as a whole.
std::optional<QByteArray> headOf(FileService &service, const QString &path, qint64 bytes, const std::stop_token &stop)
{
    if (auto *disk = dynamic_cast<LocalFileService *>(&service))
        return disk->readHead(path, bytes, stop);
    if (auto *server = dynamic_cast<RemoteFileService *>(&service))
        return downloadHead(*server, path, bytes, stop);
    return std::nullopt;
}

bool isPicture(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    return reader.canRead();
}

} // namespace

QuickLookContent QuickLookContents::fromBytes(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return message(QCoreApplication::translate("moorix", "The file is empty."));
    if (const auto picture = pictureFrom(bytes))
        return *picture;
    // Texts in two-byte encodings are full of zeros; their mark at the beginning tells them from other files.
    const auto marked = QStringConverter::encodingForData(bytes);
    if (!marked && bytes.left(8192).contains('\0'))
        return hexOf(bytes);
    return textOf(bytes, marked.value_or(QStringConverter::Utf8));
}

QuickLookContent QuickLookContents::load(FileService &service, const FileItem &item, qint64 maxBytes,
                                         const std::stop_token &stop)
{
    const FileItem target = item.isSymlink ? service.followLink(item, stop) : item;
    if (target.isDirectory)
        return message(QCoreApplication::translate("moorix", "“%1” is a folder.").arg(Format::display(item.name)));
    if (target.size <= maxBytes)
        return fromBytes(service.read(target.path, stop));
    // A little more than is shown tells that there is more.
    const std::optional<QByteArray> head = headOf(service, target.path, maxTextBytes + 4, stop);
    if (head && !isPicture(*head))
        return fromBytes(*head);
    const QString sentence =
        head ? QCoreApplication::translate("moorix", "“%1” has %2. Quick look shows pictures up to %3.")
             : QCoreApplication::translate("moorix", "“%1” has %2. Quick look shows files up to %3.");
    return message(
        sentence.arg(Format::display(item.name), Format::byteCount(target.size), Format::byteCount(maxBytes)));
}

} // namespace moorix
