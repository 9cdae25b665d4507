// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FTPServer.h"

#include "support/TestServer.h"

#include <QDir>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace moorix::test {

namespace {

const QString user = QStringLiteral("moorix-test");
const QString password = QStringLiteral("pass: word\"$1\\");

QByteArray output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput().trimmed();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// Where scripts/setup has unpacked the servers.
QString serversFolder()
{
    return qEnvironmentVariable("XDG_CACHE_HOME", QDir::homePath() + QStringLiteral("/.cache")) +
           QStringLiteral("/moorix-tests/ftp-servers");
}

QString programPath(FTPServer::Program program)
{
    return serversFolder() + (program == FTPServer::Program::vsftpd ? QStringLiteral("/usr/sbin/vsftpd")
                                                                    : QStringLiteral("/usr/sbin/proftpd"));
}

bool isRoot()
{
    return ::geteuid() == 0;
}

/// Of the account; root's own where others cannot be used.
QByteArray accountId()
{
    return isRoot() ? QByteArray("64001") : QByteArray::number(::geteuid());
}

constexpr auto vsftpdConfiguration = R"(listen=YES
background=NO
listen_address=127.0.0.1
listen_port=%PORT%
local_enable=YES
pam_service_name=moorix-test
anonymous_enable=NO
write_enable=YES
local_umask=022
connect_from_port_20=NO
secure_chroot_dir=%DIR%/empty
seccomp_sandbox=NO
rsa_cert_file=%DIR%/cert.pem
rsa_private_key_file=%DIR%/key.pem
ssl_enable=%TLS%
require_ssl_reuse=YES
)";

/// What only the server sees: its account.
constexpr auto vsftpdNamespace = R"(set -e
mount --make-rprivate /
mount --bind %DIR%/passwd /etc/passwd
mount --bind %DIR%/shadow /etc/shadow
mount -t tmpfs none /etc/pam.d
printf 'auth required pam_unix.so\naccount required pam_unix.so\n' >/etc/pam.d/moorix-test
exec %SERVERS%/usr/sbin/vsftpd %DIR%/vsftpd.conf
)";

constexpr auto proftpdConfiguration = R"(ServerType standalone
Port %PORT%
DefaultAddress 127.0.0.1
SocketBindTight on
UseIPv6 off
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
        return QStringLiteral("The server is not there; scripts/setup --tests unpacks it.");
    const bool needsRoot = program == Program::vsftpd && !isRoot();
    return needsRoot ? QStringLiteral("vsftpd offers an account only when root runs the tests.") : QString();
}

FTPServer::FTPServer(Program program, Encryption encryption)
    : m_program(program)
    , m_encryption(encryption)
    , m_folder(QStringLiteral("/tmp/moorix-ftpd-XXXXXX"))
    , m_port(freePort())
{
    makeCertificate();
    writeFiles();
    start();
}

FTPServer::~FTPServer()
{
    kill();
}

void FTPServer::makeCertificate()
{
    output(QStringLiteral("openssl"),
           {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("rsa:2048"),
            QStringLiteral("-nodes"), QStringLiteral("-subj"), QStringLiteral("/CN=localhost"), QStringLiteral("-days"),
            QStringLiteral("2"), QStringLiteral("-keyout"), m_folder.filePath(QStringLiteral("key.pem")),
            QStringLiteral("-out"), m_folder.filePath(QStringLiteral("cert.pem"))});
}

void FTPServer::write(const QString &name, QByteArray content)
{
    content.replace("%PORT%", QByteArray::number(m_port));
    content.replace("%DIR%", m_folder.path().toUtf8());
    content.replace("%SERVERS%", serversFolder().toUtf8());
    content.replace("%USER%", output(QStringLiteral("id"), {QStringLiteral("-un")}));
    content.replace("%GROUP%", output(QStringLiteral("id"), {QStringLiteral("-gn")}));
    QFile file(m_folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s could not be written", qPrintable(name));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}

void FTPServer::writeFiles()
{
    for (const char *name : {"shared", "home", "empty"})
        QDir(m_folder.path()).mkdir(QLatin1String(name));
    QFile::setPermissions(sharedPath(), QFile::Permissions(0x7777));
    // The account passes through.
    QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7711));
    const uid_t id = uid_t(accountId().toUInt());
    if (isRoot() && ::chown(QFile::encodeName(homePath()).constData(), id, id) != 0)
        qFatal("chown");
    if (m_program == Program::vsftpd)
        writeVsftpd();
    else
        writeProftpd();
}

void FTPServer::writeVsftpd()
{
    const QByteArray hash =
        output(QStringLiteral("openssl"), {QStringLiteral("passwd"), QStringLiteral("-6"), password});
    const QByteArray ids = accountId() + ':' + accountId();
    write(QStringLiteral("passwd"),
          readFile(QStringLiteral("/etc/passwd")) + user.toUtf8() + ":x:" + ids + "::%DIR%/home:/bin/sh\n");
    QFile::setPermissions(m_folder.filePath(QStringLiteral("passwd")), QFile::Permissions(0x6644));
    write(QStringLiteral("shadow"),
          readFile(QStringLiteral("/etc/shadow")) + user.toUtf8() + ':' + hash + ":19000:0:99999:7:::\n");
    QByteArray configuration = vsftpdConfiguration;
    write(QStringLiteral("vsftpd.conf"),
          configuration.replace("%TLS%", m_encryption == Encryption::required ? "YES" : "NO"));
    write(QStringLiteral("start"), vsftpdNamespace);
}

void FTPServer::writeProftpd()
{
    const QByteArray hash =
        output(QStringLiteral("openssl"), {QStringLiteral("passwd"), QStringLiteral("-6"), password});
    write(QStringLiteral("accounts"),
          user.toUtf8() + ':' + hash + ':' + accountId() + ':' + accountId() + "::%DIR%/home:/bin/false\n");
    QByteArray configuration = proftpdConfiguration;
    write(QStringLiteral("proftpd.conf"),
          configuration.replace("%TLS%", m_encryption == Encryption::required ? "on" : "off"));
}

void FTPServer::start()
{
    m_listener.setStandardOutputFile(QProcess::nullDevice());
    m_listener.setStandardErrorFile(QProcess::nullDevice());
    m_listener.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    const QString libraries = serversFolder() + QStringLiteral("/usr/lib/");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_LIBRARY_PATH"),
                       libraries + QDir(libraries).entryList({QStringLiteral("*-linux-gnu*")}).value(0));
    m_listener.setProcessEnvironment(environment);
    if (m_program == Program::vsftpd) {
        m_listener.start(QStringLiteral("unshare"),
                         {QStringLiteral("--mount"), QStringLiteral("sh"), m_folder.filePath(QStringLiteral("start"))});
    } else {
        m_listener.start(programPath(m_program), {QStringLiteral("-n"), QStringLiteral("-q"), QStringLiteral("-c"),
                                                  m_folder.filePath(QStringLiteral("proftpd.conf"))});
    }
    const bool answers = QTest::qWaitFor(
        [this] {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
            return m_listener.state() == QProcess::NotRunning ||
                   (socket.waitForConnected(100) && socket.waitForReadyRead(1000));
        },
        20'000);
    if (!answers || m_listener.state() == QProcess::NotRunning)
        qFatal("The FTP server did not start.");
}

ServerConnection FTPServer::connection() const
{
    ServerConnection server =
        ServerConnection::newDraft(m_encryption == Encryption::required ? NetworkProtocol::ftps : NetworkProtocol::ftp);
    server.name = QStringLiteral("Test server");
    server.host = QStringLiteral("127.0.0.1");
    server.port = m_port;
    server.username = user;
    return server;
}

ConnectionCredentials FTPServer::credentials()
{
    ConnectionCredentials credentials;
    credentials.password = password;
    return credentials;
}

void FTPServer::renewCertificate()
{
    kill();
    makeCertificate();
    start();
}

void FTPServer::signalAll(int signal) const
{
    if (m_listener.state() == QProcess::NotRunning)
        return;
    QList<qint64> processes = descendants(m_listener.processId());
    processes << m_listener.processId();
    for (const qint64 process : processes)
        ::kill(pid_t(process), signal);
}

void FTPServer::kill()
{
    signalAll(SIGKILL);
    m_listener.waitForFinished();
}

void FTPServer::freeze()
{
    signalAll(SIGSTOP);
}

} // namespace moorix::test
