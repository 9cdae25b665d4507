// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FTPServer.h"

#include "platform/SystemProcessRunner.h"

#include <QDir>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

/// Where scripts/setup has unpacked the servers.
QString serversFolder()
{
    return qEnvironmentVariable("XDG_CACHE_HOME", QDir::homePath() + u"/.cache"_s) + u"/moorix-tests/ftp-servers"_s;
}

QString programPath(FTPServer::Program program)
{
    return serversFolder() + (program == FTPServer::Program::vsftpd ? u"/usr/sbin/vsftpd"_s : u"/usr/sbin/proftpd"_s);
}

constexpr auto vsftpdConfiguration = R"(listen=YES
listen_address=127.0.0.1
listen_port=%PORT%
local_enable=YES
pam_service_name=moorix-test
anonymous_enable=NO
write_enable=YES
local_umask=022
secure_chroot_dir=%DIR%/empty
seccomp_sandbox=NO
rsa_cert_file=%DIR%/cert.pem
rsa_private_key_file=%DIR%/key.pem
ssl_enable=%TLS%
require_ssl_reuse=YES
)";

constexpr auto proftpdConfiguration = R"(ServerType standalone
Port %PORT%
DefaultAddress 127.0.0.1
SocketBindTight on
UseIPv6 off
UseReverseDNS off
User %USER%
Group %GROUP%
ModulePath %SERVERS%/usr/lib/proftpd
LoadModule mod_tls.c
AuthUserFile %DIR%/accounts
AuthOrder mod_auth_file.c
RequireValidShell off
WtmpLog off
ScoreboardFile %DIR%/empty/scores
PidFile %DIR%/empty/pid
DelayEngine off
SystemLog none
AllowOverwrite on
AllowStoreRestart on
AllowRetrieveRestart on
TransferRate RETR,STOR,APPE 12000:8000000
TLSEngine %TLS%
TLSRequired %TLS%
TLSRSACertificateFile %DIR%/cert.pem
TLSRSACertificateKeyFile %DIR%/key.pem
)";

} // namespace

QString FTPServer::missing(Program program)
{
    if (!QFileInfo::exists(programPath(program)))
        return u"The server is not there; scripts/setup --tests unpacks it."_s;
    const bool needsRoot = program == Program::vsftpd && !isRoot();
    return needsRoot ? u"vsftpd offers an account only when root runs the tests."_s : QString();
}

FTPServer::FTPServer(Program program, Encryption encryption, QByteArray settings, QString zone)
    : ServerProcess(u"/tmp/moorix-ftpd-XXXXXX"_s)
    , m_program(program)
    , m_encryption(encryption)
    , m_settings(std::move(settings))
    , m_zone(std::move(zone))
{
    QDir().mkdir(path("empty"));
    makeCertificate();
    writeConfiguration();
    start();
}

void FTPServer::makeCertificate() const
{
    output(u"openssl"_s, u"req -x509 -newkey rsa:2048 -nodes -subj /CN=localhost -days 2 -keyout %1 -out %2"_s
                             .arg(path("key.pem"), path("cert.pem"))
                             .split(u' '));
}

void FTPServer::writeConfiguration() const
{
    QByteArray text = (m_program == Program::vsftpd ? vsftpdConfiguration : proftpdConfiguration) + m_settings;
    text.replace("%TLS%", m_encryption == Encryption::required ? "YES" : "NO")
        .replace("%SERVERS%", serversFolder().toUtf8())
        .replace("%USER%", output(u"id"_s, {u"-un"_s}))
        .replace("%GROUP%", output(u"id"_s, {u"-gn"_s}));
    write("configuration", text);
    if (m_program == Program::vsftpd)
        return;
    // Root's own where accounts other than the one that runs the tests cannot be used.
    const uint id = isRoot() ? 64001 : ::geteuid();
    makeHome(user(), id);
    const QByteArray ids = ':' + QByteArray::number(id) + ':' + QByteArray::number(id);
    write("accounts", user().toUtf8() + ':' + passwordHash() + ids + "::%DIR%/" + user().toUtf8() + ":/bin/false\n",
          QFile::Permissions(0x6600));
}

void FTPServer::start()
{
    const QString libraries = serversFolder() + u"/usr/lib/"_s;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LD_LIBRARY_PATH"_s, libraries + QDir(libraries).entryList({u"*-linux-gnu*"_s}).value(0));
    if (!m_zone.isEmpty())
        environment.insert(u"TZ"_s, m_zone);
    if (m_program == Program::vsftpd) {
        startApart({user()},
                   "mount -t tmpfs none /etc/pam.d\n"
                   "printf 'auth required pam_unix.so\\naccount required pam_unix.so\\n' >/etc/pam.d/moorix-test\n"
                   "exec " +
                       programPath(m_program).toUtf8() + " %DIR%/configuration\n",
                   environment);
    } else {
        ServerProcess::start(programPath(m_program), {u"-n"_s, u"-q"_s, u"-c"_s, path("configuration")}, environment);
    }
}

ServerConnection FTPServer::connection() const
{
    ServerConnection server =
        ServerConnection::newDraft(m_encryption == Encryption::required ? NetworkProtocol::ftps : NetworkProtocol::ftp);
    server.name = u"Test server"_s;
    server.host = u"127.0.0.1"_s;
    server.port = port();
    server.username = user();
    return server;
}

ConnectionCredentials FTPServer::credentials()
{
    ConnectionCredentials credentials;
    credentials.password = password();
    return credentials;
}

std::shared_ptr<FTPService> FTPServer::service() const
{
    auto service = std::make_shared<FTPService>(connection(), credentials(), std::make_shared<SystemProcessRunner>());
    service->connect({});
    return service;
}

void FTPServer::renewCertificate()
{
    kill();
    makeCertificate();
    start();
}

} // namespace moorix::test
