// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/SystemProcessRunner.h"
#include "servers/ServerConnection.h"

#include <QProcess>
#include <QTemporaryDir>

#include <mutex>

namespace moorix::test {

/// A real sshd on a free port of the loopback device, with its own host key, configuration, accounts and folders. All
/// of it, with every session, ends with the object. Run by root it lives in a mount namespace of its own, where the
/// accounts below exist; nothing on the machine is changed, so nothing is left after a crash. Run by another user it
/// offers that user's own account by key alone.
class TestServer final
{
public:
    /// Logs in by key as the user who runs the tests.
    TestServer();
    ~TestServer();
    Q_DISABLE_COPY_MOVE(TestServer)

    /// An account that logs in with `password` too and has a shell. Only with `hasAccounts`.
    static QString user() { return QStringLiteral("moorix-test"); }
    /// The same without a shell: file transfer is all it may do.
    static QString userWithoutShell() { return QStringLiteral("moorix-noshell"); }
    static QString password() { return QStringLiteral("pass word\"$1"); }
    /// What opens `encryptedKeyPath`.
    static QString passphrase() { return QStringLiteral("open sesame"); }

    /// Whether the accounts exist and a file system of 64 KiB is mounted at `fullDiskPath`.
    bool hasAccounts() const { return m_hasAccounts; }
    quint16 port() const { return m_port; }
    /// A folder every account may write into; seen alike by client and server.
    QString sharedPath() const { return m_folder.filePath(QStringLiteral("shared")); }
    /// Only seen by the server.
    QString fullDiskPath() const { return m_folder.filePath(QStringLiteral("full")); }
    QString keyPath() const { return m_folder.filePath(QStringLiteral("client_key")); }
    QString encryptedKeyPath() const { return m_folder.filePath(QStringLiteral("encrypted_key")); }
    QString knownHostsPath() const { return m_folder.filePath(QStringLiteral("known_hosts")); }

    /// A record with a fresh id that logs in by key as the user who runs the tests.
    ServerConnection connection() const;
    /// A record that logs in by password.
    ServerConnection connectionByPassword(const QString &user) const;

    /// Ends listener and sessions at once.
    void kill();
    /// Stops listener and sessions where they are, until `thaw`.
    void freeze();
    void thaw();

private:
    void writeFiles();
    void writeAccounts();
    void start();
    QList<qint64> processes() const;
    void signalAll(int signal) const;

    QTemporaryDir m_folder;
    bool m_hasAccounts = false;
    quint16 m_port = 0;
    QProcess m_listener;
};

/// Runs the real clients, but apart from the user's own files: no configuration is read, and host keys are kept in a
/// file of the test server. Everything else is passed on as it is, and noted.
class IsolatedClients final : public ProcessRunner
{
public:
    explicit IsolatedClients(QString knownHostsPath);

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

/// The processes descending from `ancestor`, which is not among them.
QList<qint64> descendants(qint64 ancestor);

} // namespace moorix::test
