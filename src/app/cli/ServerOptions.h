// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QCommandLineOption>
#include <QList>

class QCommandLineParser;

namespace moorix {

class ServerStore;

/// The options that stand for the fields of a server record.
QList<QCommandLineOption> serverOptions();

/// Sets the fields whose options were given. Throws a UsageError for a value that a field cannot have.
void applyServerOptions(ServerConnection &server, const QCommandLineParser &parser, const ServerStore &store);

/// A protocol by its raw text in any capitalisation. Throws a UsageError that lists them.
NetworkProtocol parseProtocol(const QString &text);

/// "Clients/EU" for the folder that holds the server; empty at the top level.
QString folderPath(const ServerConnection &server, const ServerStore &store);

} // namespace moorix
