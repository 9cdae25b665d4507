// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/Runner.h"

#include "platform/TerminalProcess.h"
#include "remote/SFTPQuoting.h"
#include "remote/SSHAuthHelper.h"
#include "servers/KeychainStore.h"
#include "terminal/TerminalEnvironment.h"

#include <algorithm>
#include <utility>

namespace moorix {

struct Runner::Prepared
{
    SSHAuthHelper::LaunchArguments launch;
    std::optional<QString> tempIdentityPath;

    Prepared() = default;
    Prepared(const Prepared &) = delete;
    Prepared &operator=(const Prepared &) = delete;
    ~Prepared() { SSHAuthHelper::cleanupIdentity(tempIdentityPath); }
};

namespace {

ConnectionCredentials credentialsOf(const ServerConnection &server, KeychainStore &keychain)
{
    ConnectionCredentials credentials;
    credentials.password = keychain.get(server.id, SecretKind::password);
    credentials.passphrase = keychain.get(server.id, SecretKind::passphrase);
    credentials.privateKeyText = keychain.get(server.id, SecretKind::privateKey);
    return credentials;
}

} // namespace

Runner::Runner(ServerConnection server, Environment environment, QObject *parent)
    : QObject(parent)
    , m_server(std::move(server))
    , m_environment(std::move(environment))
{
}

Runner::~Runner()
{
    cleanUp();
}

QString Runner::localShell() const
{
    return TerminalEnvironment::loginShell(m_environment.accountShell, qEnvironmentVariable("SHELL"));
}

void Runner::launch(ProgramTerminal &terminal)
{
    if (std::exchange(m_launched, true))
        return;
    if (isLocal())
        startLocal(terminal);
    else
        startRemote(terminal);
}

void Runner::startLocal(ProgramTerminal &terminal)
{
    const QString shell = localShell();
    try {
        terminal.startProcess({shell,
                               {},
                               TerminalEnvironment::environmentArray(QProcessEnvironment::systemEnvironment(), {}),
                               TerminalEnvironment::loginName(shell),
                               m_environment.localFolder});
        emit started();
    } catch (const Error &error) {
        fail(terminal, error.message());
    }
}

void Runner::startRemote(ProgramTerminal &terminal)
{
    m_isPreparing = true;
    const auto prepare = [server = m_server, keychain = m_environment.keychain](const std::stop_token &) {
        auto prepared = std::make_shared<Prepared>();
        prepared->launch =
            SSHAuthHelper::sshLaunchArgs(server, credentialsOf(server, *keychain), prepared->tempIdentityPath);
        return prepared;
    };
    const auto start = [this, &terminal](const std::shared_ptr<Prepared> &prepared) {
        m_isPreparing = false;
        m_tempIdentityPath = std::exchange(prepared->tempIdentityPath, std::nullopt);
        m_authCleanup = std::move(prepared->launch.environment.cleanup);
        try {
            terminal.startProcess({m_environment.sshProgram,
                                   sshArguments(prepared->launch.arguments),
                                   TerminalEnvironment::environmentArray(QProcessEnvironment::systemEnvironment(),
                                                                         prepared->launch.environment.env),
                                   {},
                                   m_environment.localFolder});
            emit started();
        } catch (const Error &error) {
            fail(terminal, QStringLiteral("Failed to start ssh: ") + error.message());
        }
    };
    m_preparation = runJob(prepare, start, [this, &terminal](const Error &error) {
        m_isPreparing = false;
        fail(terminal, QStringLiteral("Failed to start ssh: ") + error.message());
    });
}

/// A login shell in a folder, once: the server runs a command only instead of the shell, so the command becomes it.
QStringList Runner::sshArguments(QStringList ordinary)
{
    const QString folder = std::exchange(m_environment.remoteFolder, {});
    const auto isControl = [](QChar c) { return c < u' '; };
    if (!folder.startsWith(u'/') || std::any_of(folder.begin(), folder.end(), isControl))
        return ordinary;
    // The account's shell may be any: only the quoted folder and this much are left to it.
    ordinary.prepend(QStringLiteral("-t"));
    ordinary.append(QStringLiteral("exec /bin/sh -c 'cd \"$1\"; exec \"${SHELL:-/bin/sh}\" -l' sh ") +
                    SFTPQuoting::shellPath(folder));
    return ordinary;
}

void Runner::fail(ProgramTerminal &terminal, const QString &text)
{
    terminal.feed(text.toUtf8() + "\r\n");
    m_launched = false;
    cleanUp();
    emit failed();
}

void Runner::processEnded(ProgramTerminal &terminal)
{
    terminal.feed("\r\n[session closed]\r\n");
    m_launched = false;
    cleanUp();
}

void Runner::cleanUp()
{
    m_preparation.cancel();
    m_isPreparing = false;
    m_authCleanup.clear();
    SSHAuthHelper::cleanupIdentity(m_tempIdentityPath);
}

} // namespace moorix
