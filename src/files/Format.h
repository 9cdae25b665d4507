// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

/// How sizes, dates and paths are written. Any thread.
namespace moorix::Format {

/// 1000-based units as a file manager shows sizes ("0 bytes", "214 bytes", "1.8 kB", "4.6 MB"), in the user's locale.
QString byteCount(qint64 bytes);
/// Medium date and short time in the user's locale; an em dash when absent.
QString date(const std::optional<QDateTime> &date);
/// The same without the time of day.
QString day(const QDateTime &date);
/// The same without the day.
QString timeOfDay(const QDateTime &date);
/// `base` and `name` as one path. An empty base counts as "/"; "." and ".." are kept, nothing is trimmed.
QString join(const QString &base, const QString &name);
/// The folder of a path: "/" for top-level entries and for "/" itself. A trailing slash is not a component.
QString parent(const QString &path);
/// The last component of a path.
QString fileName(const QString &path);
/// A name or path for showing: bytes that are no UTF-8 and control characters become visible escapes (\xFF, \n).
QString display(const QString &text);

/// "rwxr-x---" as octal digits, without set-user-id and its like; nothing for another text.
std::optional<QString> octalMode(const std::optional<QString> &permissions);

} // namespace moorix::Format
