// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/SystemProcessRunner.h"
#include "remote/SFTPService.h"
#include "servers/ServerConnection.h"
#include "support/ServerProcess.h"

#include <mutex>

namespace moorix::test {

/// A real sshd with its own host key, configuration and accounts. Run by root it lives in a mount namespace of its
/// own, where the accounts below exist. Run by another user it offers that user's own account by key alone.
class TestServer final : public ServerProcess
{
public:
    TestServer();

    /// An account without a shell: file transfer is all it may do, and nothing is renamed over anything. Only with
    /// `hasAccounts`, as `user`.
    static QString userWithoutShell() { return QStringLiteral("moorix-noshell"); }
    /// What opens `encryptedKeyPath`.
    static QString passphrase() { return QStringLiteral("open sesame"); }

    /// Whether the accounts exist and a file system of 64 KiB is mounted at `fullDiskPath`.
    static bool hasAccounts() { return isRoot(); }
    /// Only seen by the server.
    QString fullDiskPath() const { return path("full"); }
    QString keyPath() const { return path("client_key"); }
    QString encryptedKeyPath() const { return path("encrypted_key"); }
    QString knownHostsPath() const { return path("known_hosts"); }

    /// A record with a fresh id that logs in by key as the user who runs the tests.
    ServerConnection connection() const;
    /// Connected, through clients that read nothing of the user's.
    std::shared_ptr<SFTPService> service() const;
    /// A record that logs in by password.
    ServerConnection connectionByPassword(const QString &user) const;

private:
    void makeKey(const char *name, const QString &passphrase) const;
};

/// Runs the real clients, but apart from the user's own files: no configuration is read, and host keys are kept in a
/// file of the test server. Everything else is passed on as it is, and noted.
class IsolatedClients final : public ProcessRunner
{
public:
    explicit IsolatedClients(QString knownHostsPath)
        : m_knownHostsPath(std::move(knownHostsPath))
    {
    }

    /// Whether host keys are remembered under hashed names.
    void setHashesKnownHosts(bool hashes) { m_hashesKnownHosts = hashes; }

    ProcessResult run(const ProcessRequest &request, const std::stop_token &stop) override;

    /// How often `program` was run ("/usr/bin/sftp").
    int runs(const QString &program) const;

private:
    QString m_knownHostsPath;
    bool m_hashesKnownHosts = false;
    mutable std::mutex m_mutex;
    QHash<QString, int> m_runs;
    SystemProcessRunner m_runner;
};

} // namespace moorix::test
