// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "remote/FTPService.h"
#include "servers/ServerConnection.h"
#include "support/ServerProcess.h"

namespace moorix::test {

/// A real FTP server with one account, and its own configuration and certificate.
class FTPServer final : public ServerProcess
{
public:
    enum class Program { vsftpd, proftpd };
    enum class Encryption { none, required };

    /// Why the program cannot be run here, as a sentence; empty when it can.
    static QString missing(Program program);

    /// `settings` are further lines of the program's configuration, `zone` is the TZ it runs in.
    FTPServer(Program program, Encryption encryption, QByteArray settings = {}, QString zone = {});

    /// A record with a fresh id for the account.
    ServerConnection connection() const;
    static ConnectionCredentials credentials();
    /// Connected, in clear.
    std::shared_ptr<FTPService> service() const;

    /// The folder the login opens on.
    QString homePath() const { return path(user()); }

    /// Starts it again on the same port with a new key and certificate.
    void renewCertificate();

private:
    void makeCertificate() const;
    void writeConfiguration() const;
    void start();

    Program m_program;
    Encryption m_encryption;
    QByteArray m_settings;
    QString m_zone;
};

} // namespace moorix::test
