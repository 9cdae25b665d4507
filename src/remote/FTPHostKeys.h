// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QStringList>

#include <stop_token>

namespace moorix {

class ProcessRunner;

/// HostKeys for FTP servers: the keys of their certificates, of which each server has one. Without encryption, or where
/// the system's authorities judge, there is none to know. All block; worker threads.
namespace FTPHostKeys {

QStringList knownFingerprints(const ServerConnection &server);
QStringList offeredFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop);
void trust(const ServerConnection &server, const QStringList &confirmed, ProcessRunner &runner,
           const std::stop_token &stop);

} // namespace FTPHostKeys

} // namespace moorix
