// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QList>

#include <stop_token>

namespace moorix {

class ProcessRunner;

/// Hosts of the user's OpenSSH client configuration, as drafts for the library.
namespace SSHConfigHosts {

/// The names on "Host" lines of `configPath` and the files it includes, without patterns and negations, in order,
/// each once. A file that cannot be read is left out.
QStringList aliases(const QString &configPath);

/// One draft per alias, resolved by the client itself (`ssh -G`): host, port, user and, where one is named and
/// exists, the key file. Aliases that the client refuses are left out. Blocking.
QList<ServerConnection> drafts(const QString &configPath, ProcessRunner &runner, const std::stop_token &stop);

} // namespace SSHConfigHosts

} // namespace moorix
