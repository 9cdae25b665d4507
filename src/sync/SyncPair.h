// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QUuid>

namespace moorix {

class JsonReader;
class JsonWriter;

/// A local folder and a folder on a saved server that the user keeps alike.
struct SyncPair
{
    QUuid id;
    /// Shown in lists; empty shows the folders instead.
    QString name;
    /// Absolute.
    QString localPath;
    QUuid serverID;
    /// Absolute.
    QString remotePath;
    /// What is left out on both sides; see SyncIgnore.
    QStringList ignorePatterns;

    static SyncPair fromJson(const JsonReader &reader);
    void writeJson(JsonWriter &writer) const;

    bool operator==(const SyncPair &) const = default;
};

} // namespace moorix
