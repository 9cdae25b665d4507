// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <stop_token>

namespace moorix {

class ProcessRunner;
class RemoteFileService;

/// Connects and returns what the user should hear when the host was unknown before: that its key was accepted, with
/// the fingerprint. Empty for hosts that were known. Blocking.
QString connectNotingFirstContact(RemoteFileService &service, const ServerConnection &server, ProcessRunner &runner,
                                  const std::stop_token &stop);

} // namespace moorix
