// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>

#include <optional>

namespace moorix {

class JsonReader;
class JsonWriter;

/// What is known about one path on one side.
struct SyncEntry
{
    /// Bytes, as the file service reports them.
    qint64 size = 0;
    /// Absent when the service gave none.
    std::optional<QDateTime> modified;
    bool isDirectory = false;

    /// Whether two entries count as the same content: two folders always do; two files when their sizes are equal and
    /// their times, if both are known, are at most `toleranceSeconds` apart.
    static bool isEqual(const SyncEntry &a, const SyncEntry &b, double toleranceSeconds);

    static SyncEntry fromJson(const JsonReader &reader);
    void writeJson(JsonWriter &writer) const;

    bool operator==(const SyncEntry &) const = default;
};

size_t qHash(const SyncEntry &entry, size_t seed = 0) noexcept;

/// A tree by relative path: components joined by "/", none before the first, the root itself left out. In plain string
/// order, so that a folder comes before what it holds.
using SyncEntries = QMap<QString, SyncEntry>;

/// The object of entries at `key`. Throws an Error that names what is wrong.
SyncEntries readSyncEntries(const JsonReader &reader, const QString &key);
void writeSyncEntries(JsonWriter &writer, QStringView key, const SyncEntries &entries);

/// How far apart two times of one file may be: listings tell minutes, and file systems round.
inline constexpr double syncToleranceSeconds = 90;

} // namespace moorix
