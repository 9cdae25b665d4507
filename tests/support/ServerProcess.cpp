// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ServerProcess.h"

#include "support/TestTree.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

qint64 parentOf(qint64 process)
{
    const QByteArray stat = contentOf(u"/proc/%1/stat"_s.arg(process));
    // The name in parentheses may hold blanks.
    return stat.mid(stat.lastIndexOf(')') + 2).split(' ').value(1).toLongLong();
}

} // namespace

QList<qint64> descendants(qint64 ancestor)
{
    QHash<qint64, QList<qint64>> children;
    for (const QString &entry : QDir(u"/proc"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (const qint64 process = entry.toLongLong(); process > 0)
            children[parentOf(process)] << process;
    }
    QList<qint64> found = children.value(ancestor);
    for (qsizetype i = 0; i < found.size(); ++i)
        found << children.value(found.at(i));
    return found;
}

QList<qint64> childrenNamed(const QByteArray &program)
{
    QList<qint64> found = descendants(::getpid());
    found.removeIf([&](qint64 child) { return contentOf(u"/proc/%1/comm"_s.arg(child)).trimmed() != program; });
    return found;
}

ServerProcess::ServerProcess(const QString &folderTemplate)
    : m_folder(folderTemplate)
{
    QTcpServer free;
    free.listen(QHostAddress::LocalHost);
    m_port = free.serverPort();
    QDir(m_folder.path()).mkdir(u"shared"_s);
    QFile::setPermissions(sharedPath(), QFile::Permissions(0x7777));
    // Accounts other than the one that runs the tests pass through.
    QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7711));
}

QByteArray ServerProcess::passwordHash()
{
    return "$6$moorixtest$Pb/kbnurD9M5IDajjOYil9GHgEP.4t9UxtpfGnkaLcPsjb/JbMIj1lrwaGY0/edDrLCay16QFsXR/ap8gVWf..";
}

QByteArray ServerProcess::output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput().trimmed();
}

void ServerProcess::write(const char *name, QByteArray content, QFile::Permissions permissions) const
{
    content.replace("%PORT%", QByteArray::number(m_port)).replace("%DIR%", m_folder.path().toUtf8());
    putFile(path(name), content);
    QFile::setPermissions(path(name), permissions);
}

void ServerProcess::makeHome(const QString &account, uint id) const
{
    if (!QDir().mkpath(path(account)) || ::chown(QFile::encodeName(path(account)).constData(), id, id) != 0)
        qFatal("The home of %s could not be made.", qPrintable(account));
}

void ServerProcess::startApart(const QStringList &accounts, const QByteArray &script,
                               const QProcessEnvironment &environment)
{
    QByteArray passwd = contentOf(u"/etc/passwd"_s);
    // Bash reads the start-up file of whoever runs the tests, even for a single command, which may do or take anything.
    passwd.replace(":/bin/bash\n", ":/bin/sh\n");
    QByteArray shadow = contentOf(u"/etc/shadow"_s);
    uint id = 64001;
    for (const QString &name : accounts) {
        makeHome(name, id);
        passwd += u"%1:x:%2:%2::%3:/bin/sh\n"_s.arg(name).arg(id++).arg(path(name)).toUtf8();
        shadow += name.toUtf8() + ':' + passwordHash() + ":19000:0:99999:7:::\n";
    }
    write("passwd", passwd);
    write("shadow", shadow, QFile::Permissions(0x6600));
    write("start", "set -e\nmount --make-rprivate /\nmount --bind %DIR%/passwd /etc/passwd\n"
                   "mount --bind %DIR%/shadow /etc/shadow\n" +
                       script);
    start(u"unshare"_s, {u"--mount"_s, u"sh"_s, path("start")}, environment);
}

void ServerProcess::start(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
{
    m_listener.setStandardOutputFile(QProcess::nullDevice());
    m_listener.setStandardErrorFile(path("messages"));
    m_listener.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_listener.setProcessEnvironment(environment);
    m_listener.start(program, arguments);
    const bool hasEnded = !QTest::qWaitFor(
        [this] {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
            return m_listener.state() == QProcess::NotRunning ||
                   (socket.waitForConnected(100) && socket.waitForReadyRead(1000));
        },
        20'000);
    if (hasEnded || m_listener.state() == QProcess::NotRunning)
        qFatal("%s did not start: %s", qPrintable(program), contentOf(path("messages")).constData());
}

void ServerProcess::signalAll(int signal) const
{
    if (m_listener.state() == QProcess::NotRunning)
        return;
    const QList<qint64> all = sessions();
    ::kill(pid_t(m_listener.processId()), signal);
    for (const qint64 session : all)
        ::kill(pid_t(session), signal);
}

void ServerProcess::kill()
{
    signalAll(SIGKILL);
    m_listener.waitForFinished();
}

} // namespace moorix::test
