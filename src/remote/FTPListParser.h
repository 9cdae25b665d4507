// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>

#include <chrono>

namespace moorix {

class RemoteCharset;

/// What an FTP server printed about one folder.
struct FTPListing
{
    /// The entries in their order, without "." and "..".
    QList<FileItem> items;
    /// Of the plain files whose times are told to the minute, the last changed ones, latest first; three at most.
    QList<FileItem> timed;
    /// Lines that could be entries, and how many of them were read.
    qsizetype lines = 0;
    qsizetype understood = 0;

    /// Lines came, but none that means anything here.
    bool isForeign() const { return lines > 0 && understood == 0; }
};

/// Reads the three forms in which FTP servers list a folder: the lines of a Unix `ls -l` (LIST), those of MS-DOS (LIST
/// of IIS) and machine-readable facts (MLSD). Each line is tried for each form. Never fails: what is no entry is left
/// out, and so are names that would lead elsewhere: empty, ".", "..", with a slash or a NUL.
namespace FTPListParser {

/// `folder` is the listed folder's path. The server's clock shows the time in UTC and `ahead` together, which its dates
/// are taken for, except in facts; one without a year is the last such date before a day after `now`, which is in UTC.
/// Where the day alone is known, it begins at midnight UTC.
FTPListing parse(const QByteArray &text, const QString &folder, const RemoteCharset &charset,
                 const QDateTime &now = QDateTime::currentDateTimeUtc(),
                 std::chrono::seconds ahead = std::chrono::seconds(0));

/// The time of an MDTM reply or a `modify` fact, "20260301120000" with or without fractions of a second, in UTC.
std::optional<QDateTime> parseStamp(const QByteArray &digits);

} // namespace FTPListParser

} // namespace moorix
