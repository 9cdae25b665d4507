// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupLedger.h"

namespace moorix {

class ServerConnections;
class ServerStore;

/// The name of a saved server, for backups. Main thread; the store outlives the function.
std::function<std::optional<QString>(const QUuid &)> backupServerNames(const ServerStore &servers);

/// Opens a server of the library for a run, on the connections that tabs and transfers use too. The function is called
/// on workers and may outlive both objects.
decltype(BackupRun::Environment::openServer) backupServerOpener(ServerStore &servers, ServerConnections &connections);

} // namespace moorix
