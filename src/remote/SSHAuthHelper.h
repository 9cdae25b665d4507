// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PrivateFile.h"

#include <QProcessEnvironment>
#include <QStringList>

#include <optional>
#include <vector>

namespace moorix {

class ProcessRunner;
struct ConnectionCredentials;
struct ServerConnection;

/// How a child of OpenSSH proves who the user is: its options, its key file, its environment. No secret is ever part
/// of a command line. Stateless; any thread.
namespace SSHAuthHelper {

enum class Multiplex { no, yes };
enum class Interactive { no, yes };

struct Environment
{
    QProcessEnvironment env;
    /// The secret file and the askpass script of one child; both are gone with this object, which must outlive it.
    std::vector<PrivateFile> cleanup;
};

struct LaunchArguments
{
    QStringList arguments;
    Environment environment;
};

/// The key file to pass with "-i", or nothing when the client's own keys and agent apply. A pasted key is written to a
/// private file once per connection: its path goes into `tempIdentityPath` and is returned again the next time. Throws
/// an Error when that file cannot be written.
std::optional<QString> prepareIdentity(const ServerConnection &server, const ConnectionCredentials &credentials,
                                       std::optional<QString> &tempIdentityPath);

/// Deletes the file of a pasted key, if one was made, and clears the path.
void cleanupIdentity(std::optional<QString> &tempIdentityPath) noexcept;

/// The options alone; host, port and user are the caller's to append.
QStringList authOptions(const ServerConnection &server, const std::optional<QString> &identityPath, Multiplex multiplex,
                        Interactive interactive);

/// What keeps the passphrase of a key from being offered as a password by a client whose key the server does not
/// accept. Empty for logins without one.
QStringList passphraseOptions(const ServerConnection &server, const ConnectionCredentials &credentials);

/// The program's own environment with what the client needs to ask for the secret: the password for password servers,
/// the passphrase for key servers. Throws an Error when the secret cannot be written.
Environment authEnvironment(const ServerConnection &server, const ConnectionCredentials &credentials);

/// Everything an interactive terminal is started with. It does not share the server's connection. Throws like
/// `authEnvironment` and `prepareIdentity`.
LaunchArguments sshLaunchArgs(const ServerConnection &server, const ConnectionCredentials &credentials,
                              std::optional<QString> &tempIdentityPath);

/// Ends the shared connection of the server, with all children that use it, and waits for that. Blocking. Does
/// nothing when there is none; failures are ignored.
void closeMaster(const ServerConnection &server, ProcessRunner &runner) noexcept;

/// The text of a private-key file, or nothing when it is none: missing, empty, longer than 65,535 bytes, no UTF-8, or
/// without "PRIVATE KEY" in it. "~" is expanded. Blocking.
std::optional<QString> readKeyFileForSync(const std::optional<QString> &path);

} // namespace SSHAuthHelper

} // namespace moorix
