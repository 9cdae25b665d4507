// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QStringList>

#include <stop_token>

namespace moorix {

class ProcessRunner;

/// What the OpenSSH client knows about the keys of a server's host.
namespace HostKeys {

/// Fingerprints of the host's keys in the user's known_hosts, "ED25519 SHA256:…", empty when the host is unknown.
/// Blocking.
QStringList knownFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop);

/// Fingerprints of the keys the host offers at this moment, not authenticated. Blocking (network). Throws an Error
/// when it cannot be reached.
QStringList offeredFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop);

/// Removes the host's keys from known_hosts, so that the next connection counts as a first contact. Blocking.
void forget(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop);

} // namespace HostKeys

} // namespace moorix
