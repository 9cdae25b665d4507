// SPDX-License-Identifier: GPL-3.0-or-later
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

/// SHA-512 of the password, in the form of /etc/shadow.
constexpr auto passwordHash =
    "$6$moorixtest$ldCJQxkD/38xjy09poL1SXLX9Z/uUoLcRHTPKnWJqlqdN4NUxqQwsacGy4gGL9OVwezf/X.nBqkwQAu6gK/NA.";

QByteArray run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

void makeKey(const QString &path, const QString &passphrase)
{
    run(QStringLiteral("ssh-keygen"), {QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("ed25519"),
                                       QStringLiteral("-N"), passphrase, QStringLiteral("-f"), path});
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s could not be written", qPrintable(path));
}

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

qint64 parentOf(qint64 process)
{
    const QByteArray stat = readFile(QStringLiteral("/proc/%1/stat").arg(process));
    // The name in parentheses may hold blanks.
    return stat.mid(stat.lastIndexOf(')') + 2).split(' ').value(1).toLongLong();
}

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
    ForceCommand internal-sftp
)";

/// What only the server sees: its accounts, its run folder, and a tiny disk.
constexpr auto ownNamespace = R"(set -e
mount --make-rprivate /
mount --bind %DIR%/passwd /etc/passwd
mount --bind %DIR%/shadow /etc/shadow
mount -t tmpfs none /run
mkdir /run/sshd
mount -t tmpfs -o size=64k,mode=1777 none %DIR%/full
exec /usr/sbin/sshd -D -f %DIR%/sshd_config
)";

} // namespace

QList<qint64> descendants(qint64 ancestor)
{
    QHash<qint64, QList<qint64>> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        if (const qint64 process = entry.toLongLong(); process > 0)
            children[parentOf(process)] << process;
    }
    QList<qint64> found = children.value(ancestor);
    for (qsizetype i = 0; i < found.size(); ++i)
        found << children.value(found.at(i));
    return found;
}

TestServer::TestServer()
    : m_folder(QStringLiteral("/tmp/moorix-sshd-XXXXXX"))
    , m_hasAccounts(::geteuid() == 0)
    , m_port(freePort())
{
    writeFiles();
    if (m_hasAccounts)
        writeAccounts();
    start();
}

TestServer::~TestServer()
{
    kill();
}

void TestServer::writeFiles()
{
    makeKey(m_folder.filePath(QStringLiteral("host_key")), QString());
    makeKey(keyPath(), QString());
    makeKey(encryptedKeyPath(), passphrase());
    writeFile(m_folder.filePath(QStringLiteral("authorized_keys")),
              readFile(keyPath() + QStringLiteral(".pub")) + readFile(encryptedKeyPath() + QStringLiteral(".pub")));
    QByteArray config = configuration;
    config.replace("%PORT%", QByteArray::number(m_port));
    config.replace("%DIR%", m_folder.path().toUtf8());
    writeFile(m_folder.filePath(QStringLiteral("sshd_config")), config);
    QDir(m_folder.path()).mkdir(QStringLiteral("shared"));
    QFile::setPermissions(sharedPath(), QFile::Permissions(0x7777));
    // Accounts other than the one that runs the tests pass through.
    QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7711));
}

void TestServer::writeAccounts()
{
    QByteArray passwd = readFile(QStringLiteral("/etc/passwd"));
    QByteArray shadow = readFile(QStringLiteral("/etc/shadow"));
    int id = 64001;
    for (const QString &name : {user(), userWithoutShell()}) {
        const QString home = m_folder.filePath(name);
        QDir().mkdir(home);
        if (::chown(QFile::encodeName(home).constData(), uid_t(id), gid_t(id)) != 0)
            qFatal("chown");
        passwd += QStringLiteral("%1:x:%2:%2::%3:/bin/sh\n").arg(name).arg(id++).arg(home).toUtf8();
        shadow += name.toUtf8() + ':' + passwordHash + ":19000:0:99999:7:::\n";
    }
    writeFile(m_folder.filePath(QStringLiteral("passwd")), passwd);
    writeFile(m_folder.filePath(QStringLiteral("shadow")), shadow);
    QFile::setPermissions(m_folder.filePath(QStringLiteral("shadow")), QFile::ReadOwner | QFile::WriteOwner);
    QDir().mkdir(fullDiskPath());
}

void TestServer::start()
{
    m_listener.setProcessChannelMode(QProcess::ForwardedChannels);
    m_listener.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    if (m_hasAccounts) {
        QByteArray script = ownNamespace;
        script.replace("%DIR%", m_folder.path().toUtf8());
        m_listener.start(QStringLiteral("unshare"), {QStringLiteral("--mount"), QStringLiteral("sh"),
                                                     QStringLiteral("-c"), QString::fromUtf8(script)});
    } else {
        m_listener.start(QStringLiteral("/usr/sbin/sshd"), {QStringLiteral("-D"), QStringLiteral("-f"),
                                                            m_folder.filePath(QStringLiteral("sshd_config"))});
    }
    const bool answers = QTest::qWaitFor([this] {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
        return m_listener.state() == QProcess::NotRunning ||
               (socket.waitForConnected(100) && socket.waitForReadyRead(1000));
    });
    if (!answers || m_listener.state() == QProcess::NotRunning)
        qFatal("The test server did not start.");
}

ServerConnection TestServer::connection() const
{
    ServerConnection server;
    server.name = QStringLiteral("Test server");
    server.host = QStringLiteral("127.0.0.1");
    server.port = m_port;
    server.username = QString::fromUtf8(run(QStringLiteral("id"), {QStringLiteral("-un")})).trimmed();
    server.authMethod = AuthMethod::privateKeyFile;
    server.privateKeyPath = keyPath();
    return server;
}

ServerConnection TestServer::connectionByPassword(const QString &user) const
{
    ServerConnection server = connection();
    server.username = user;
    server.authMethod = AuthMethod::password;
    server.privateKeyPath.reset();
    return server;
}

QList<qint64> TestServer::processes() const
{
    if (m_listener.state() == QProcess::NotRunning)
        return {};
    return descendants(m_listener.processId()) << m_listener.processId();
}

void TestServer::signalAll(int signal) const
{
    for (const qint64 process : processes())
        ::kill(pid_t(process), signal);
}

void TestServer::kill()
{
    signalAll(SIGKILL);
    m_listener.waitForFinished();
}

void TestServer::freeze()
{
    signalAll(SIGSTOP);
}

void TestServer::thaw()
{
    signalAll(SIGCONT);
}

IsolatedClients::IsolatedClients(QString knownHostsPath)
    : m_knownHostsPath(std::move(knownHostsPath))
{
}

ProcessResult IsolatedClients::run(const ProcessRequest &request, const std::stop_token &stop)
{
    ProcessRequest isolated = request;
    if (request.program == QStringLiteral("/usr/bin/ssh") || request.program == QStringLiteral("/usr/bin/sftp")) {
        const QString options = QStringLiteral("-F none -o UserKnownHostsFile=%1 -o GlobalKnownHostsFile=none "
                                               "-o HashKnownHosts=%2");
        const QString hashes = m_hashesKnownHosts ? QStringLiteral("yes") : QStringLiteral("no");
        isolated.arguments = options.arg(m_knownHostsPath, hashes).split(u' ') + request.arguments;
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
