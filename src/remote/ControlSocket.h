// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace moorix {

class ProcessRunner;
struct ConnectionCredentials;
struct ServerConnection;

/// The socket over which all children of one server share a connection. A live master answers whatever destination a
/// child asks for, so a record of the login it was made for is kept in the user's runtime folder.
namespace ControlSocket {

/// Fixed per server: the path depends on the server's id alone.
QString path(const ServerConnection &server);

/// Whether a child may share the connection. False when the path belongs to another user, who could read along. A
/// master left by another login of the same record (edited host, port, user, method or key) is closed first.
/// Blocking.
bool claim(const ServerConnection &server, const ConnectionCredentials &credentials, ProcessRunner &runner);

/// Notes one more of this program's services that uses the connection.
void join(const ServerConnection &server);
/// Takes one back; whether it was the last, whose leaving ends the connection.
bool leave(const ServerConnection &server);

/// Whether a master of ours may be listening.
bool isPresent(const ServerConnection &server);

/// Drops the record of the login; called when the master is closed.
void forget(const ServerConnection &server);

} // namespace ControlSocket

} // namespace moorix
