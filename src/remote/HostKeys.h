// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QStringList>

#include <stop_token>

namespace moorix {

class ProcessRunner;

/// What the OpenSSH client knows about the keys of a server's host, in the files its configuration names. A host that
/// the configuration gives another name or port is looked for under those. For FTP servers, what FTPHostKeys knows.
/// All block; worker threads.
namespace HostKeys {

/// Fingerprints of the host's keys in the user's known_hosts, "ED25519 SHA256:…", empty when the host is unknown.
QStringList knownFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop);

/// Fingerprints of the keys the host offers at this moment, not authenticated. Throws an Error when it cannot be
/// reached.
QStringList offeredFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop);

/// Makes those of the keys the host offers at this moment whose fingerprints the user has confirmed the only ones
/// known of it. Throws an Error, and changes nothing, when the host offers none of them any more.
void trust(const ServerConnection &server, const QStringList &confirmed, ProcessRunner &runner,
           const std::stop_token &stop);

} // namespace HostKeys

} // namespace moorix
