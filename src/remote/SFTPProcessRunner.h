// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "remote/SFTPOutcome.h"
#include "servers/ServerConnection.h"

#include <QHash>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

namespace moorix {

class ProcessRunner;
struct ProcessRequest;
struct ProcessResult;

/// Who logs in where, and with what.
struct SSHLogin
{
    ServerConnection server;
    ConnectionCredentials credentials;
    std::optional<QString> identityPath;
    /// Over a shared connection beside the server's first, which does not share its limits either.
    bool isFurther = false;
    /// True once the user has disconnected: no client that has waited until then begins.
    std::shared_ptr<const std::atomic<bool>> isEnded = {};
};

/// One batch for `sftp`.
struct SFTPBatch
{
    QStringList commands;
    /// The path that `notFound` names when the far side has nothing there; empty when it could be one of two.
    QString subject;
    /// Begins the sentence of a failure: "“/a” could not be deleted". Empty leaves the client's words alone.
    QString action;
    SFTPOutcome::OddItems oddItems = SFTPOutcome::OddItems::fail;
    /// What the client keeps to in both directions; 0 for no limit.
    qint64 bytesPerSecond = 0;
    /// Called about every 200 ms on the running thread with the client's process id.
    std::function<void(qint64 processId)> whileRunning;
};

/// Where and how commands run that do not depend on one another.
struct SFTPRunOptions
{
    /// Where they begin, for which `mayStartIn` must hold; the login's own folder when empty.
    QString folder = {};
    /// As in SFTPBatch.
    qint64 bytesPerSecond = 0;
};

/// What the client said to one of many commands.
struct SFTPAnswer
{
    QByteArray text;

    /// What became of it. Of a listing that prints rows, this takes them for failures.
    SFTPOutcome outcome() const;
};

struct SFTPOutput
{
    /// Standard output without the echoed commands.
    QString text;
    /// The client's lines about links and special files that a recursive copy left out.
    QStringList skipped;
};

/// What goes into and comes out of a command that the account's shell runs; see ProcessRequest.
struct SSHStreams
{
    QByteArray input = {};
    std::function<QByteArray()> moreInput = {};
    std::function<void(QByteArrayView)> takeOutput = {};
};

/// How a command ended that the account's shell was to run.
struct SSHOutput
{
    int exitCode = 0;
    QString text;
    QString errorText;
};

/// How long a shared connection may be silent while a client waits for something.
struct SSHPatience
{
    /// Before the server is asked for a sign of life.
    std::chrono::milliseconds silence{60'000};
    /// For its answer, which may have to wait behind a file on a slow line.
    std::chrono::milliseconds answer{30'000};
};

/// Runs the OpenSSH clients for one login: options, secrets, shared connection, limits, and what their output really
/// means. Blocking; safe to call from several threads. Secret files are gone when a call
/// returns, however it does.
class SFTPProcessRunner final
{
public:
    explicit SFTPProcessRunner(std::shared_ptr<ProcessRunner> processes, SSHPatience patience = {});

    /// Runs a batch with `sftp`. Throws connectionFailed when the client itself fails, notFound or operationFailed when
    /// a command inside the batch does, operationFailed for lines it could not take.
    SFTPOutput runCommands(const SSHLogin &login, const SFTPBatch &batch, const std::stop_token &stop);

    /// Runs commands that do not depend on one another, and tells of each what became of it, in their order. `onAnswer`
    /// is called, about as they end, with how many have. Throws like `runCommands`, but never for a single command;
    /// operationFailed when the folder cannot be entered, with nothing done.
    QList<SFTPAnswer> runEach(const SSHLogin &login, const QStringList &commands,
                              const std::function<void(qsizetype answered)> &onAnswer, const std::stop_token &stop,
                              const SFTPRunOptions &options = {});
    /// The client puts quotes around the folder, but does not quote what is in it.
    static bool mayStartIn(const QString &folder);

    /// The standard output of a command run by the account's shell. Throws connectionFailed for every exit code but 0.
    QString runSSH(const SSHLogin &login, const QString &command, const std::stop_token &stop);

    /// The same for callers that judge the command's own exit code. Throws only when the client fails (255).
    SSHOutput runRemote(const SSHLogin &login, const QString &command, const std::stop_token &stop,
                        const SSHStreams &streams = {});

    /// Throws authFailed when the passphrase of a key login does not open its key, before a server sees it.
    void checkPassphrase(const SSHLogin &login, const std::stop_token &stop);

    /// Whether the login asks nobody for anything: it is known what the server wants, and no key needs to be touched.
    bool logsInSilently(const SSHLogin &login, const std::stop_token &stop);

    /// How long the shortest run over a connection that was up has taken so far; nothing before the first.
    std::optional<std::chrono::milliseconds> quickestRun() const;

    /// Ends the server's shared connection; no client joins it meanwhile. Blocking; failures are ignored.
    void closeMaster(const ServerConnection &server) noexcept;

private:
    /// `flags` come before the destination; the port follows them.
    ProcessResult runClient(const SSHLogin &login, const QStringList &flags, ProcessRequest request,
                            const std::stop_token &stop, const QString &folder = {});
    void noteRun(std::chrono::milliseconds duration);
    /// Makes the request notice a line that has gone dead, which the client itself does only where it keeps the
    /// connection alive: closes the connection and throws connectionFailed.
    void watch(const SSHLogin &login, ProcessRequest &request, const std::stop_token &stop);
    void noteLife(const QUuid &connection);
    void throwIfDead(const SSHLogin &login, std::chrono::steady_clock::time_point since, const std::stop_token &stop);
    bool answers(const ServerConnection &server, const std::stop_token &stop);

    std::shared_ptr<ProcessRunner> m_processes;
    const SSHPatience m_patience;
    /// When something last came over each shared connection, by the id of its server.
    std::mutex m_lifeMutex;
    QHash<QUuid, std::chrono::steady_clock::time_point> m_life;
    /// One client finds out for all.
    std::mutex m_asking;
    /// In milliseconds; negative before the first run.
    std::atomic<qint64> m_quickestRun = -1;
};

} // namespace moorix
