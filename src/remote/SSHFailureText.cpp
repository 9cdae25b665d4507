// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SSHFailureText.h"

#include "remote/SFTPOutcome.h"
#include "servers/ServerConnection.h"

#include <QRegularExpression>

#include <vector>

namespace moorix::SSHFailureText {

namespace {

struct Known
{
    /// What the client says.
    QRegularExpression words;
    /// What happened and what to do; %1 is the host, %2 the port, %3 the user.
    QString sentence;
};

/// The first that matches counts: causes stand before their consequences.
const std::vector<Known> &knownFailures()
{
    const auto known = [](const char16_t *words, const char16_t *sentence) {
        return Known{QRegularExpression(QString::fromUtf16(words)), QString::fromUtf16(sentence)};
    };
    static const std::vector<Known> all{
        known(u"REMOTE HOST IDENTIFICATION HAS CHANGED",
              u"the key of %1 has changed. Either the server was set up anew, or another machine answers in its place. "
              u"Compare the fingerprint with its administrator before you accept the new key."),
        known(u"No \\S+ host key is known|Host key verification failed",
              u"the key of %1 is not known yet, and this server is set to refuse unknown keys. Check its fingerprint, "
              u"then accept it or allow new keys in the server's settings."),
        known(u"UNPROTECTED PRIVATE KEY FILE|bad permissions",
              u"the key file may be read by other users, so the client does not use it. Make it readable for you alone "
              u"(chmod 600)."),
        known(u"Identity file .* not accessible|Load key .*: No such file",
              u"the key file is not there. Choose another one in the server's settings."),
        known(u"Load key .*: Permission denied", u"the key file may not be read by you."),
        known(u"Load key .*: (error in libcrypto|invalid format)",
              u"the key is no private key the client can read, or it is incomplete."),
        known(u"Too many authentication failures",
              u"%1 gave up after too many keys were offered. Choose one key for this server in its settings."),
        known(u"Permission denied \\(publickey\\)",
              u"%1 did not accept the key of “%3”, and it takes no passwords. Add the public key to the account, or "
              u"choose another key."),
        known(u"Permission denied \\(.*\\)",
              u"%1 did not accept the login of “%3”. Check user name and password, or the key."),
        known(u"Could not resolve hostname",
              u"the name “%1” cannot be found. Check its spelling and your network connection."),
        known(u"Connection refused",
              u"%1 answers, but nothing listens on port %2. Check the port and whether the SSH server is running."),
        known(u"timed out during banner exchange",
              u"port %2 of %1 accepts connections but says nothing. Check that an SSH server listens there."),
        known(u"timed out|Timeout, server .* not responding",
              u"%1 did not answer in time. Check that the machine is on and that a firewall lets port %2 through."),
        known(u"Network is unreachable|No route to host",
              u"there is no way to %1 from this network. Check your network connection or VPN."),
        known(u"Received message too long",
              u"the account “%3” on %1 prints text at login, which garbles the file transfer. Its start-up files must "
              u"stay silent, or it has no shell."),
        known(u"Unable to negotiate",
              u"%1 and the client have no method of encryption in common; one of the two is too old."),
        known(u"kex_exchange_identification|Connection reset by peer|Connection closed by",
              u"%1 closed the connection. It may be overloaded, refuse this network, or port %2 may be no SSH server."),
        known(u"master hello exchange failed|Failed to connect to new control master",
              u"%1 accepted the login and then ended the connection."),
        known(u"unix_listener: .*", u"the connection to %1 cannot be shared: the folder /tmp cannot be written."),
    };
    return all;
}

bool isEcho(const QString &line)
{
    return line == QStringLiteral("Connection closed.") || line == QStringLiteral("Connection closed");
}

QString sentence(const Known &known, const ServerConnection &server)
{
    QString text = known.sentence;
    text.replace(QStringLiteral("%1"), server.host);
    text.replace(QStringLiteral("%2"), QString::number(server.port));
    text.replace(QStringLiteral("%3"), server.username);
    return text;
}

} // namespace

QString connection(const ServerConnection &server, const QByteArray &standardError)
{
    QStringList words;
    bool wasConnected = false;
    const QList<QByteArray> lines = SFTPText::lines(standardError);
    for (const QByteArray &line : lines) {
        if (SFTPText::isConnectedLine(line))
            wasConnected = true;
        else
            words << SFTPText::decoded(line);
    }
    const QString all = words.join(u'\n');
    words.removeIf(isEcho);
    if (wasConnected)
        return QStringLiteral("the connection to %1 was lost.\n%2").arg(server.host, all).trimmed();
    for (const Known &known : knownFailures()) {
        if (all.contains(known.words))
            return sentence(known, server) + u'\n' + words.join(u'\n');
    }
    if (words.isEmpty() && !all.isEmpty()) {
        return QStringLiteral("%1 ended the connection without a reason. It may offer no file transfer (SFTP).\n%2")
            .arg(server.host, all);
    }
    return words.join(u'\n');
}

QString operation(const QString &action, const QString &reason, const QString &clientWords)
{
    if (action.isEmpty())
        return shortened(clientWords);
    QString why = reason.toLower();
    if (reason == QStringLiteral("Failure"))
        why = QStringLiteral("the server refused it without a reason");
    else if (reason.isEmpty())
        return action + QStringLiteral(".\n") + shortened(clientWords);
    if (why.endsWith(u'.'))
        why.chop(1);
    return action + QStringLiteral(": ") + why + QStringLiteral(".\n") + shortened(clientWords);
}

QString shortened(const QString &lines)
{
    constexpr qsizetype most = 10;
    const QStringList all = lines.split(u'\n');
    if (all.size() <= most + 1)
        return lines;
    return all.first(most).join(u'\n') + QStringLiteral("\n… and %1 more lines.").arg(all.size() - most);
}

} // namespace moorix::SSHFailureText
