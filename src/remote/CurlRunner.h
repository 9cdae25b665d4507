// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "remote/ConnectionGate.h"
#include "remote/CurlConfig.h"
#include "remote/CurlTransfer.h"
#include "servers/ServerConnection.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace moorix {

class ProcessRunner;

/// Who logs in where, and with what.
struct FTPLogin
{
    ServerConnection server;
    ConnectionCredentials credentials;
    /// The key the server must show, "sha256//BASE64"; nothing leaves the judgement to the system's authorities.
    std::optional<QByteArray> pinnedKey;

    bool usesTLS() const;
};

/// One child's work over one connection.
struct CurlRequest
{
    /// Options and at least one URL.
    CurlConfig config;
    /// Options and the URL of what is done at the end, over the same connection; left out when something before it
    /// fails.
    std::optional<CurlConfig> last = {};
    /// The child is given up after that long; zero sets no limit.
    std::chrono::seconds longest{90};
    /// Called about every 200 ms on the running thread with the child's process id; what it throws ends the child.
    std::function<void(qint64 processId)> whileRunning;
};

/// Runs curl for one login. All it is told, secrets first of all, goes through its standard input; its arguments are
/// always the same, and no file is made. Blocking; without state of its own; safe to call from several threads.
class CurlRunner final
{
public:
    /// Connections to one server, as long as it does not say that this is too many.
    static constexpr int mostAtOnce = 14;

    explicit CurlRunner(std::shared_ptr<ProcessRunner> processes);

    /// Throws connectionFailed, in words, for a server that can or must not be reached like that: an odd host, control
    /// characters in name or password, FTPS without encryption, encryption with active data connections.
    static void check(const FTPLogin &login);

    /// What all runs for this server go through.
    static ConnectionGate::Door door(const ServerConnection &server);

    /// The URL of a path in the server's own bytes; that of a folder ends in a slash.
    static QByteArray url(const FTPLogin &login, const QByteArray &path);

    /// How each URL of the request ended, in order; fewer when curl gave up. Throws connectionFailed or authFailed when
    /// the connection is what failed. Where the server takes no further connection beside those that there are, waits
    /// until one of them has ended.
    QList<CurlTransfer> run(const FTPLogin &login, const CurlRequest &request, const std::stop_token &stop);

    /// The key the server shows at this moment, without logging in. Throws connectionFailed.
    QByteArray offeredKey(const FTPLogin &login, const std::stop_token &stop);

private:
    struct Output;
    Output runChild(const CurlConfig &config, const CurlRequest &request, const std::stop_token &stop);

    std::shared_ptr<ProcessRunner> m_processes;
};

} // namespace moorix
