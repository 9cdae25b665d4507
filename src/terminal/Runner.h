// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "platform/PrivateFile.h"
#include "servers/ServerConnection.h"

#include <QObject>

#include <memory>
#include <optional>
#include <vector>

namespace moorix {

class KeychainStore;
struct TerminalLaunch;

/// What a runner needs of a terminal: something to show texts in, and a place for a program.
class ProgramTerminal
{
public:
    virtual ~ProgramTerminal() = default;
    virtual void feed(QByteArrayView bytes) = 0;
    /// Throws an Error when the program cannot be started.
    virtual void startProcess(const TerminalLaunch &launch) = 0;
};

/// Prepares the program of one terminal, a server's shell or the local one, and clears away what was made for it when
/// it has ended. Main thread; secrets are read on a worker.
class Runner final : public QObject
{
    Q_OBJECT

public:
    struct Environment
    {
        std::shared_ptr<KeychainStore> keychain;
        QString sshProgram = QStringLiteral("/usr/bin/ssh");
        /// Where a local shell starts.
        QString localFolder;
        /// Of the user's account; the SHELL variable counts where this is empty.
        QString accountShell;
        /// Where a server's shell starts the first time, absolute; its home where this is empty or cannot be entered.
        QString remoteFolder = {};
    };

    Runner(ServerConnection server, Environment environment, QObject *parent = nullptr);
    /// Clears away.
    ~Runner() override;

    const ServerConnection &server() const { return m_server; }
    bool isLocal() const { return m_server.id == ServerConnection::localTerminalID; }
    /// The shell that a local terminal runs, as a path.
    QString localShell() const;
    /// Starts the program in `terminal`, which outlives this object: a local shell at once, ssh when the secrets have
    /// been read. A failure is shown in the terminal and told by `failed`. Once only, until `processEnded`.
    void launch(ProgramTerminal &terminal);
    bool launched() const { return m_launched; }
    /// Secrets are being read for a program that is about to start.
    bool isPreparing() const { return m_isPreparing; }
    /// The program has ended: says so in the terminal and clears away.
    void processEnded(ProgramTerminal &terminal);
    /// Removes the identity file and the files that told ssh a secret; failures are ignored.
    void cleanUp();

    /// The theme whose colours are installed in the terminal.
    std::optional<QString> installedPaletteID;

signals:
    /// The program was started.
    void started();
    /// It could not be.
    void failed();

private:
    /// What the worker made; gone with the object unless taken over.
    struct Prepared;
    void startLocal(ProgramTerminal &terminal);
    void startRemote(ProgramTerminal &terminal);
    QStringList sshArguments(QStringList ordinary);
    void fail(ProgramTerminal &terminal, const QString &text);

    ServerConnection m_server;
    Environment m_environment;
    std::optional<QString> m_tempIdentityPath;
    std::vector<PrivateFile> m_authCleanup;
    bool m_launched = false;
    bool m_isPreparing = false;
    Job m_preparation;
};

} // namespace moorix
