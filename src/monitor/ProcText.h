// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// Reading the small text files in which the kernel tells of itself. Worker threads; nothing here throws.
namespace moorix::procText {

/// The content of a file, up to `mostBytes`, relative to an open folder or AT_FDCWD. Nothing when it cannot be read.
/// The bytes are in `buffer`, which is used again and again so that nothing is allocated.
std::optional<QByteArrayView> read(int folder, const char *path, QByteArray &buffer, qsizetype mostBytes = 1024 * 1024);
/// The same as text without blanks at its ends; empty when it cannot be read.
QString readText(const QString &path);
std::optional<qint64> readInteger(const QString &path);

/// Takes the next word off the front, blanks and tabs being what separates words; empty at the end.
QByteArrayView takeWord(QByteArrayView &text);
/// Takes a line off the front, without its line break.
QByteArrayView takeLine(QByteArrayView &text);
/// The digits at the front as a number; 0 without any, the greatest number there is when there are too many.
quint64 unsignedNumber(QByteArrayView word);

} // namespace moorix::procText
