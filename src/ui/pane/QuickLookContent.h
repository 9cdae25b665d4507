// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QImage>

#include <stop_token>

namespace moorix {

class FileService;

/// What quick look shows of one entry.
struct QuickLookContent
{
    enum class Kind { message, text, image, hex };

    Kind kind = Kind::message;
    /// The text, the hex dump, or why there is nothing to see.
    QString text;
    QImage image;
    /// Something to know about what is shown ("The first 1.0 MB", "4000 × 3000 pixels"); may be empty.
    QString remark;
};

namespace QuickLookContents {

/// A service reads files as a whole; of larger ones only the beginning is fetched, which is enough for a text.
constexpr qint64 maxBytesLocal = 64 * 1024 * 1024;
constexpr qint64 maxBytesRemote = 16 * 1024 * 1024;
constexpr qsizetype maxTextBytes = 1024 * 1024;
/// How much of a server's file has to arrive before its beginning is taken: clients ask for several parts at once and
/// need not get them in order.
constexpr qint64 headTransferBytes = 4 * 1024 * 1024;
constexpr qsizetype maxHexBytes = 4096;
constexpr qint64 maxPixels = 120'000'000;

/// Reads and prepares; blocks, on a worker. Follows a link. Throws what the service throws.
QuickLookContent load(FileService &service, const FileItem &item, qint64 maxBytes, const std::stop_token &stop);
/// The same from bytes in hand.
QuickLookContent fromBytes(const QByteArray &bytes);

} // namespace QuickLookContents

} // namespace moorix
