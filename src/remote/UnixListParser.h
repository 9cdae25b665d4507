// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>

/// Reads what `ls -l` prints: of `sftp` since 9.1 ("?" links, the folder's path in front of each name), of older ones
/// and other servers (bare names), and of a plain Unix `ls`. Never fails: lines that are no rows are left out.
///
/// An item's `name` is what the row shows; outside the first form, where columns may be padded, its fields are joined
/// by single spaces. Its `path` always keeps the name exactly, as that is what commands act on: "a  b" and "a b" are
/// two files. A byte the client could only print as an escape (\007, \377) becomes a control character or, above, a
/// lone surrogate in both, which no command accepts: the escape itself would name another file.
namespace moorix::UnixListParser {

/// The entries of folder `dir`, in their order, without "." and "..". When the text lists one file, `dir` is its own
/// path. A date without a year is the last such date before a day after `now`; dates are taken as local time.
QList<FileItem> parse(const QString &text, const QString &dir, const QDateTime &now = QDateTime::currentDateTime());

/// Of several entries with one path leaves only the link, if one of them is one. A name with a line end in it is
/// printed as several rows, and the further ones may say of a link that it is a folder: who removes a tree would go
/// through it.
void trustLinks(QList<FileItem> &items);

/// Whether a listing with hidden names shows the folder itself ("."). One that does not was cut short by the server:
/// the folder may be read but not entered.
bool listsTheFolderItself(const QString &text, const QString &dir);

/// A point in time from a listing's month ("Jan"), day and either year or "hh:mm"; nothing when it is none. It is in
/// local time or UTC, as `now` is; without a year it is the last such date before a day after `now`.
std::optional<QDateTime> parseDate(QStringView month, QStringView day, QStringView yearOrTime, const QDateTime &now);

} // namespace moorix::UnixListParser
