// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace moorix {

/// One entry of a tar archive.
struct TarEntry
{
    enum class Kind {
        file,
        folder,
        symbolicLink,
        /// Hard links, devices, sparse files and whatever else is of no use here.
        other
    };

    Kind kind = Kind::file;
    /// The bytes of its name, as the archive has them: they may lead anywhere.
    QByteArray path;
    qint64 size = 0;
    /// Seconds since 1970.
    qint64 modified = 0;
    /// The lowest nine bits.
    unsigned mode = 0644;
    QByteArray linkTarget = {};
};

/// Writing archives in the format every tar of the last decades reads (POSIX ustar with pax records). Any thread.
namespace tarFormat {

constexpr qsizetype blockBytes = 512;

/// What stands before an entry's content.
QByteArray header(const TarEntry &entry);
/// What stands behind the content of `size` bytes, so that the next header begins on a block.
QByteArray padding(qint64 size);
/// The end of an archive.
QByteArray end();

} // namespace tarFormat

} // namespace moorix
