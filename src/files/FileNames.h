// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

/// Rules for the names users give to entries. Any thread.
namespace moorix::FileNames {

/// Why `name` cannot name an entry, as a sentence, or nothing when it can: empty, "." and "..", a slash, control
/// characters.
std::optional<QString> problem(const QString &name);

/// Where the extension of a file's name begins, its dot included; the name's length when it has none. The leading dot
/// of a hidden file begins no extension, and ".tar.gz" and the like count as one.
qsizetype extensionStart(const QString &name);

/// The same for all names that a disk which ignores case or spelling (composed, decomposed) takes for one.
QString folded(const QString &name);

/// The name of the `number`th copy of a file: "a copy.txt", "a copy 2.txt", …
QString copyOfFile(const QString &name, int number);
/// The same for a folder, which has no extension: "v1.2 copy".
QString copyOfFolder(const QString &name, int number);

} // namespace moorix::FileNames
