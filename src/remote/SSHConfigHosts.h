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

/// The same of a configuration's text; relative names of included files are those of `folder`.
QStringList aliases(const QByteArray &text, const QString &folder);

/// The configuration without all that the client would execute or look up while it is asked about a host ("Match exec"
/// runs commands): only what tells names, addresses, ports, users and key files, outside "Match" blocks.
QByteArray harmless(const QByteArray &text, const QString &folder);

/// As `drafts`, of a configuration that is not the user's own: what it could execute is not read. Throws an Error when
/// it names far more hosts than a person has.
QList<ServerConnection> draftsOfText(const QByteArray &text, const QString &folder, ProcessRunner &runner,
                                     const std::stop_token &stop);

} // namespace SSHConfigHosts

} // namespace moorix
