// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Whole documents on disk. Blocking; any thread, but one document is only ever used from one.
namespace moorix::jsonFile {

/// The document's bytes, or nothing when there is no such file. Throws an Error when it is there but cannot be read.
std::optional<QByteArray> read(const QString &path);

/// Replaces the document in one step, mode 0600, creating its folder (0700) when missing: after a crash or on a full
/// disk the old document is still whole. Throws an Error that says why it could not be written.
void write(const QString &path, const QByteArray &bytes);

/// Renames `path` to `asidePath` unless something already stands there. Returns whether it was moved.
bool setAside(const QString &path, const QString &asidePath);

} // namespace moorix::jsonFile
