// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ImportRow.h"
#include "backup/BackupJob.h"
#include "base/Json.h"
#include "servers/ServerLibrary.h"
#include "sync/SyncPair.h"

/// What tells the rows of an import from one another.
namespace moorix::importKeys {

inline constexpr ImportRow::What whatIs(const ServerFolder &)
{
    return ImportRow::What::folder;
}
inline constexpr ImportRow::What whatIs(const ServerConnection &)
{
    return ImportRow::What::server;
}
inline constexpr ImportRow::What whatIs(const BackupJob &)
{
    return ImportRow::What::backup;
}
inline constexpr ImportRow::What whatIs(const SyncPair &)
{
    return ImportRow::What::syncPair;
}

/// A file may give a folder and a server one id.
template <class Record>
QString keyOf(const Record &record)
{
    return QString::number(int(whatIs(record))) + u':' + uuidText(record.id);
}
inline QString settingKey(const QString &key)
{
    return QString::number(int(ImportRow::What::setting)) + u':' + key;
}

} // namespace moorix::importKeys
