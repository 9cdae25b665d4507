// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct ServerConnection;

/// The one argument that tells the OpenSSH clients whom to log in as, and where.
namespace SSHDestination {

/// Throws FileServiceError::connectionFailed, saying what is wrong, for a host, user or port that a client would take
/// for something else: an option, a path, a second address.
void check(const ServerConnection &server);

/// The same for host and port alone.
void checkHost(const ServerConnection &server);

/// The host, an IPv6 address in brackets. It must have passed `checkHost`.
QString hostText(const ServerConnection &server);

/// `username@host`, an IPv6 address in brackets. The server must have passed `check`.
QString text(const ServerConnection &server);

} // namespace SSHDestination

} // namespace moorix
