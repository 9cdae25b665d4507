// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ExchangeContent.h"

/// What differs between two records, field by field: "Port: 22 → 2222". Any thread.
namespace moorix::recordDifferences {

/// A folder is told by its name in the library that its record is of.
QStringList of(const ServerConnection &before, const ServerLibrary &libraryBefore, const ServerConnection &after,
               const ServerLibrary &libraryAfter);
QStringList of(const ServerFolder &before, const ServerLibrary &libraryBefore, const ServerFolder &after,
               const ServerLibrary &libraryAfter);
/// Servers are told by their names in `library`.
QStringList of(const BackupJob &before, const BackupJob &after, const ServerLibrary &library);
QStringList of(const SyncPair &before, const SyncPair &after, const ServerLibrary &library);
/// "true → false"; a setting has no other name here than its key.
QString ofSetting(const QJsonValue &before, const QJsonValue &after);

/// The folder's name with those of the folders above it, "Clients / Web"; empty for the top level.
QString folderPath(const ServerLibrary &library, const std::optional<QUuid> &folder);
/// "deploy@web-01:2222".
QString address(const ServerConnection &server);
/// A name for a record that may have none.
QString nameOf(const SyncPair &pair);

} // namespace moorix::recordDifferences
