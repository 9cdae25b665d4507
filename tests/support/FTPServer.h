// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QProcess>
#include <QTemporaryDir>

namespace moorix::test {

/// A real FTP server on a free port of the loopback device with one account, its own configuration, certificate and
/// folders. All of it ends with the object; nothing on the machine is changed.
class FTPServer final
{
public:
    enum class Program { vsftpd, proftpd };
    enum class Encryption { none, required };

    /// Why the program cannot be run here, as a sentence; empty when it can.
    static QString missing(Program program);

    FTPServer(Program program, Encryption encryption);
    ~FTPServer();
    Q_DISABLE_COPY_MOVE(FTPServer)

    /// A record with a fresh id for the account.
    ServerConnection connection() const;
    static ConnectionCredentials credentials();

    /// A folder the account may write into; seen alike by client and server.
    QString sharedPath() const { return m_folder.filePath(QStringLiteral("shared")); }
    /// The folder the login opens on.
    QString homePath() const { return m_folder.filePath(QStringLiteral("home")); }

    /// Starts it again on the same port with a new key and certificate.
    void renewCertificate();
    /// Ends listener and sessions at once.
    void kill();
    /// Stops listener and sessions where they are; `kill` ends them all the same.
    void freeze();

private:
    void makeCertificate();
    void writeFiles();
    void writeVsftpd();
    void writeProftpd();
    void write(const QString &name, QByteArray content);
    void start();
    void signalAll(int signal) const;

    Program m_program;
    Encryption m_encryption;
    QTemporaryDir m_folder;
    quint16 m_port = 0;
    QProcess m_listener;
};

} // namespace moorix::test
