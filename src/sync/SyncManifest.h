// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncEntry.h"

namespace moorix {

struct ServerConnection;

/// The baseline of one folder pair: what both sides looked like when they were last made alike.
struct SyncManifest
{
    /// The pair key.
    QString id;
    QString localPath;
    /// What lists call the server.
    QString remoteServerDisplay;
    QString remotePath;
    /// When the last sync of this pair ended.
    std::optional<QDateTime> lastSyncDate;
    SyncEntries localEntries;
    SyncEntries remoteEntries;

    /// The identity of a folder pair, 64 hexadecimal digits: the same for one local folder and one folder of the same
    /// login on the same server, whatever the case of the host and whether or not a path ends in a slash.
    static QString pairKey(const QString &localPath, const ServerConnection &server, const QString &remotePath);

    /// Throws an Error that says what is wrong with the document.
    static SyncManifest decode(const QByteArray &bytes);
    QByteArray encode() const;

    bool operator==(const SyncManifest &) const = default;
};

} // namespace moorix
