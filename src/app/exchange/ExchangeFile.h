// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ExchangeContent.h"

#include <QDateTime>

/// The program's own export files, "Moorix-Config.json" and "Moorix-Servers.json". They never hold a secret. Any
/// thread.
namespace moorix::exchangeFile {

/// The version of both formats that this program writes, and the latest that it reads.
inline constexpr qint64 latestVersion = 1;

/// Of backups goes out what they are to do, not what became of their runs on this machine.
QByteArray encode(const ExchangeDocuments &documents, ExchangeContent::Kind kind, const QDateTime &exported);
/// The name that is proposed for such a file.
QString usualName(ExchangeContent::Kind kind);

/// Also reads a bare library, as servers.json is. Throws an Error when the text is damaged, is no export of this
/// program, or is one of a version later than `latestVersion`; `name` is what messages call the file.
ExchangeContent decode(const QByteArray &bytes, const QString &name);

/// The job as an export tells it.
BackupJob exported(BackupJob job);
/// The server as an export tells it.
ServerConnection exported(ServerConnection server);
/// The setting's value as an export tells it.
QJsonValue exported(const QJsonValue &setting);

} // namespace moorix::exchangeFile
