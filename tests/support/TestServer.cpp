// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestServer.h"

#include "support/Shorthand.h"
#include "support/TestTree.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

constexpr auto configuration = R"(ListenAddress 127.0.0.1:%PORT%
HostKey %DIR%/host_key
PidFile none
AuthorizedKeysFile %DIR%/authorized_keys
StrictModes no
UsePAM no
PermitRootLogin prohibit-password
KbdInteractiveAuthentication no
PrintMotd no
PrintLastLog no
LogLevel QUIET
Subsystem sftp internal-sftp
Match User moorix-noshell
    ForceCommand internal-sftp -P posix-rename
)";

} // namespace

TestServer::TestServer()
    : ServerProcess(u"/tmp/moorix-sshd-XXXXXX"_s)
{
    makeKey("host_key", QString());
    makeKey("client_key", QString());
    makeKey("encrypted_key", passphrase());
    write("authorized_keys", contentOf(keyPath() + u".pub"_s) + contentOf(encryptedKeyPath() + u".pub"_s));
    write("sshd_config", configuration);
    if (!hasAccounts()) {
        start(u"/usr/sbin/sshd"_s, {u"-D"_s, u"-f"_s, path("sshd_config")});
        return;
    }
    QDir().mkdir(fullDiskPath());
    startApart({user(), userWithoutShell()},
               "mount -t tmpfs none /run\nmkdir /run/sshd\nmount -t tmpfs -o size=64k,mode=1777 none %DIR%/full\n"
               "exec /usr/sbin/sshd -D -f %DIR%/sshd_config\n");
}

void TestServer::makeKey(const char *name, const QString &passphrase) const
{
    output(u"ssh-keygen"_s, {u"-q"_s, u"-t"_s, u"ed25519"_s, u"-N"_s, passphrase, u"-f"_s, path(name)});
}

ServerConnection TestServer::connection() const
{
    ServerConnection server = serverAt(u"127.0.0.1"_s, QString::fromUtf8(output(u"id"_s, {u"-un"_s})), port());
    server.name = u"Test server"_s;
    server.authMethod = AuthMethod::privateKeyFile;
    server.privateKeyPath = keyPath();
    return server;
}

std::shared_ptr<SFTPService> TestServer::service() const
{
    auto service = std::make_shared<SFTPService>(connection(), ConnectionCredentials(),
                                                 std::make_shared<IsolatedClients>(knownHostsPath()));
    service->connect({});
    return service;
}

ServerConnection TestServer::connectionByPassword(const QString &user) const
{
    ServerConnection server = connection();
    server.username = user;
    server.authMethod = AuthMethod::password;
    server.privateKeyPath.reset();
    return server;
}

ProcessResult IsolatedClients::run(const ProcessRequest &request, const std::stop_token &stop)
{
    ProcessRequest isolated = request;
    if (request.program == u"/usr/bin/ssh"_s || request.program == u"/usr/bin/sftp"_s) {
        isolated.arguments = u"-F none -o UserKnownHostsFile=%1 -o GlobalKnownHostsFile=none -o HashKnownHosts=%2"_s
                                 .arg(m_knownHostsPath, m_hashesKnownHosts ? u"yes"_s : u"no"_s)
                                 .split(u' ') +
                             request.arguments;
    }
    {
        const std::lock_guard lock(m_mutex);
        ++m_runs[request.program];
    }
    return m_runner.run(isolated, stop);
}

int IsolatedClients::runs(const QString &program) const
{
    const std::lock_guard lock(m_mutex);
    return m_runs.value(program);
}

} // namespace moorix::test
