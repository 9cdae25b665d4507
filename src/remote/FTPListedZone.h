// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"
#include "remote/CurlTransfer.h"

#include <QList>

#include <chrono>
#include <optional>

/// In which zone an FTP server lists the times of its files: many use their own, and none says so. Any thread.
namespace moorix::FTPListedZone {

/// How far the server's listings are ahead of UTC. `files` are some of a listing that are dated to the minute, with
/// their times taken as UTC, `replies` those to MDTM for each of them. Nothing where none of them tells: files may have
/// changed meanwhile.
///
/// One number for all: of a zone with daylight saving, some servers list all files as of today, others each as of its
/// own season, and those of the other season are then an hour wrong. Servers that answer MDTM in their own zone, too,
/// cannot be told from those in UTC.
std::optional<std::chrono::seconds> aheadOfUTC(const QList<FileItem> &files, const QList<FTPReply> &replies);

/// Whether such a reply says that the server does not know the command.
bool isUnknown(const FTPReply &reply);

} // namespace moorix::FTPListedZone
