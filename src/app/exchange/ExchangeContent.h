// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"
#include "servers/ServerLibrary.h"
#include "settings/SettingsStore.h"
#include "sync/SyncPair.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace moorix {

/// All that can be exported, as it stands in the program.
struct ExchangeDocuments
{
    SettingsSnapshot settings;
    ServerLibrary library;
    QList<BackupJob> backups;
    QList<SyncPair> syncPairs;
};

/// The most that a file to import may hold. Far more than anybody keeps, and few enough to be shown and put into their
/// tree at once.
namespace exchangeLimits {
inline constexpr qsizetype mostServers = 20000;
inline constexpr qsizetype mostFolders = 2000;
/// Of folders inside one another.
inline constexpr qsizetype mostLevels = 32;
/// Of backups, and of folder pairs.
inline constexpr qsizetype mostOthers = 2000;
} // namespace exchangeLimits

/// What a file to import holds. The configuration also has settings, backups and folder pairs; all others hold nothing
/// but servers and their folders.
struct ExchangeContent
{
    enum class Kind { configuration, servers };
    enum class Origin { moorix, fileZilla, openSSH };

    Kind kind = Kind::servers;
    Origin origin = Origin::moorix;
    ExchangeDocuments documents;
    /// What the user is to know of the file: what could not be taken over, what was read otherwise than it was meant.
    QStringList notes;
    /// Passwords that the file of another program tells, by server. They are for the keychain only.
    QHash<QUuid, QString> passwords;
};

} // namespace moorix
