// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <unistd.h>

namespace moorix::test {

/// The processes descending from `ancestor`, which is not among them.
QList<qint64> descendants(qint64 ancestor);
/// Processes of this name that descend from the tests.
QList<qint64> childrenNamed(const QByteArray &program);

/// A real server program on a free port of the loopback device, with a folder for all it needs. It ends, with every
/// session, with the object; nothing on the machine is changed, so nothing is left after a crash.
class ServerProcess
{
public:
    virtual ~ServerProcess() { kill(); }
    Q_DISABLE_COPY_MOVE(ServerProcess)

    /// An account that logs in with `password`.
    static QString user() { return QStringLiteral("moorix-test"); }
    static QString password() { return QStringLiteral("pass: word\"$1\\"); }

    quint16 port() const { return m_port; }
    /// A folder every account may write into; seen alike by client and server.
    QString sharedPath() const { return path("shared"); }

    /// The processes that serve those who are logged in.
    QList<qint64> sessions() const { return descendants(m_listener.processId()); }
    /// Ends listener and sessions at once.
    void kill();
    /// Stops listener and sessions where they are, until `thaw`; `kill` ends them all the same.
    void freeze() const { signalAll(SIGSTOP); }
    void thaw() const { signalAll(SIGCONT); }

protected:
    explicit ServerProcess(const QString &folderTemplate);

    static bool isRoot() { return ::geteuid() == 0; }
    /// SHA-512 of the password, in the form of /etc/shadow.
    static QByteArray passwordHash();
    /// What `program` prints.
    static QByteArray output(const QString &program, const QStringList &arguments);

    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString path(const char *name) const { return path(QString::fromLatin1(name)); }
    /// Writes a file of the folder; %DIR% and %PORT% in the content stand for it and the port.
    void write(const char *name, QByteArray content, QFile::Permissions permissions = QFile::Permissions(0x6644)) const;
    /// Makes the account's home, a folder of its name.
    void makeHome(const QString &account, uint id) const;

    /// Starts the program and waits until it answers.
    void start(const QString &program, const QStringList &arguments,
               const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
    /// Starts a shell script in a mount namespace that has these accounts, numbered from 64001, beside the machine's
    /// own. As root only.
    void startApart(const QStringList &accounts, const QByteArray &script,
                    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

private:
    void signalAll(int signal) const;

    QTemporaryDir m_folder;
    quint16 m_port = 0;
    QProcess m_listener;
};

} // namespace moorix::test
