// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPFailureText.h"

#include "files/FileServiceError.h"
#include "files/Format.h"
#include "remote/CurlRunner.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace moorix::FTPFailureText {

namespace {

struct Sentence
{
    int exitCode;
    /// %1 is the host, %2 the port, %3 the user.
    const char16_t *text;
};

/// What curl's exit codes mean where the connection is what failed.
constexpr std::array connectionSentences{
    Sentence{6, u"the name “%1” cannot be found. Check its spelling and your network connection."},
    Sentence{7, u"nothing answers on port %2 of %1. Check the port, and that the server is running."},
    Sentence{8, u"what answers on port %2 of %1 is no FTP server."},
    Sentence{10, u"%1 could not reach this machine for the data. Turn passive mode on in the server's settings."},
    Sentence{12, u"%1 did not open its data connection in time. Turn passive mode on in the server's settings."},
    Sentence{28, u"%1 did not answer in time. Check that the machine is on, that a firewall lets port %2 through, and "
                 u"that an FTP server listens there."},
    Sentence{30, u"%1 cannot send data to this machine. Turn passive mode on in the server's settings."},
    Sentence{35, u"encryption could not be started with %1. Port %2 may expect encryption from the first byte (990), "
                 u"or none at all."},
    Sentence{52, u"%1 ended the connection without a word."},
    Sentence{55, u"the connection to %1 was lost."},
    Sentence{56, u"the connection to %1 was lost."},
    Sentence{58, u"the client certificate cannot be used."},
    Sentence{59, u"%1 and this machine have no method of encryption in common; one of the two is too old."},
    Sentence{60, u"the certificate of %1 is not trusted, and this server is set to refuse those. No name and no "
                 u"password were sent."},
    Sentence{64, u"%1 offers no encryption. No name and no password were sent. Save it as an FTP server if they may "
                 u"travel in the clear."},
    Sentence{77, u"the certificates of this system cannot be read."},
};

constexpr int portUnreachable = 7;
constexpr int timedOut = 28;
constexpr int loginDenied = 67;
constexpr int badPassiveReply = 13;
constexpr int keyDiffers = 90;
constexpr int serviceNotAvailable = 421;
/// From here on a reply is about the file that was asked for, even where curl takes it for one about the connection.
constexpr int refusedFile = 530;

QString readable(const QByteArray &words)
{
    const QString text = QString::fromUtf8(words);
    return Format::display((text.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(words) : text).trimmed());
}

QString wordsOf(const FTPReply &reply)
{
    return QStringLiteral("%1 %2").arg(QString::number(reply.code), readable(reply.text));
}

QString wordsOf(const CurlTransfer &transfer)
{
    if (const FTPReply refused = transfer.refusal(); refused.code != 0)
        return wordsOf(refused);
    return readable(transfer.words);
}

QString filled(const QString &sentence, const ServerConnection &server)
{
    QString text = sentence;
    text.replace(QStringLiteral("%1"), server.host);
    text.replace(QStringLiteral("%2"), QString::number(server.port));
    text.replace(QStringLiteral("%3"), server.username);
    return text;
}

[[noreturn]] void fail(const FTPLogin &login, const QString &sentence, const CurlTransfer &transfer)
{
    throw FileServiceError::connectionFailed((filled(sentence, login.server) + u'\n' + wordsOf(transfer)).trimmed());
}

[[noreturn]] void failLogin(const FTPLogin &login, const CurlTransfer &transfer)
{
    static const QRegularExpression encryption(QStringLiteral("\\b(TLS|SSL|encrypt)"),
                                               QRegularExpression::CaseInsensitiveOption);
    const QString words = wordsOf(transfer);
    const bool wantsTLS = !login.usesTLS() && words.contains(encryption);
    const QString sentence =
        wantsTLS ? QStringLiteral("%1 takes logins only over an encrypted connection. Save it as an FTPS server.")
                 : QStringLiteral("%1 did not accept the login of “%3”. Check user name and password.");
    throw FileServiceError::authFailed(filled(sentence, login.server) + u'\n' + words);
}

/// Rather than refused: the server has had trouble of its own, which says nothing about name and password.
bool isLoginBroken(const FTPReply &refused)
{
    constexpr int notUnderstood = 500;
    constexpr int wrongLogin = 430;
    return refused.code == notUnderstood || (refused.code < notUnderstood && refused.code != wrongLogin);
}

bool isDataPortUnreachable(const CurlTransfer &transfer)
{
    const bool wasTold = transfer.lastCode() == 227 || transfer.lastCode() == 229;
    return transfer.exitCode == portUnreachable && wasTold;
}

/// What a refusal means by its code, or nothing.
QString meaningOf(int code)
{
    switch (code) {
    case 425:
    case 426:
        return QStringLiteral("the data connection failed");
    case 450:
    case 451:
        return QStringLiteral("the server cannot do it now");
    case 452:
    case 552:
        return QStringLiteral("the server's disk is full, or the account has used up its space");
    case 500:
    case 501:
    case 502:
    case 504:
        return QStringLiteral("the server does not know this command");
    case 522:
        return QStringLiteral("the server wants the data encrypted");
    case 553:
        return QStringLiteral("the server does not allow this name or place");
    default:
        return {};
    }
}

QString meaningOf(const CurlTransfer &transfer)
{
    switch (transfer.exitCode) {
    case 2:
    case 3:
        return QStringLiteral("curl does not take this name");
    case 18:
        return QStringLiteral("the transfer broke off");
    case 23:
        return QStringLiteral("this machine could not write the file; its disk may be full");
    case 26:
        return QStringLiteral("the file on this machine cannot be read");
    case 36:
        return QStringLiteral("the file cannot be continued; it has changed on the server. Start over");
    case 63:
        return QStringLiteral("the file is too large");
    default:
        return QStringLiteral("the server refused it");
    }
}

} // namespace

void throwIfConnectionFailed(const FTPLogin &login, const CurlTransfer &transfer)
{
    if (transfer.exitCode == 0)
        return;
    const FTPReply refused = transfer.refusal();
    if (refused.code == serviceNotAvailable) {
        fail(login, QStringLiteral("%1 takes no more connections at the moment. Try again later."), transfer);
    } else if (transfer.exitCode == loginDenied && isLoginBroken(refused)) {
        fail(login, QStringLiteral("%1 could not carry out the login. Try again later."), transfer);
    } else if (transfer.exitCode == loginDenied) {
        failLogin(login, transfer);
    } else if (transfer.exitCode == keyDiffers) {
        fail(login,
             QStringLiteral("the certificate of %1 has changed. Either the server was set up anew, or another machine "
                            "answers in its place. No name and no password were sent. Compare the fingerprint with "
                            "its administrator before you accept the new one."),
             transfer);
    } else if (isDataPortUnreachable(transfer) ||
               (transfer.exitCode == badPassiveReply && refused.code < refusedFile)) {
        fail(login,
             QStringLiteral("%1 opened no connection for the data. A firewall may be in the way; switching passive "
                            "mode in the server's settings may help."),
             transfer);
    }
    const auto known = std::find_if(connectionSentences.begin(), connectionSentences.end(),
                                    [&](const Sentence &row) { return row.exitCode == transfer.exitCode; });
    if (known != connectionSentences.end())
        fail(login, QString::fromUtf16(known->text), transfer);
}

QString operation(const QString &action, const CurlTransfer &transfer)
{
    const FTPReply refused = transfer.refusal();
    const bool isLocal = transfer.exitCode == 23 || transfer.exitCode == 26;
    QString why = isLocal ? QString() : meaningOf(refused.code);
    if (why.isEmpty())
        why = meaningOf(transfer);
    return (action + QStringLiteral(": ") + why + QStringLiteral(".\n") + wordsOf(transfer)).trimmed();
}

bool saysTooMany(const CurlTransfer &transfer)
{
    static const QRegularExpression words(QStringLiteral("too many|maximum.*(clients|connections|users|sessions)"),
                                          QRegularExpression::CaseInsensitiveOption);
    constexpr int loggedIn = 230;
    const bool isIn = std::any_of(transfer.replies.cbegin(), transfer.replies.cend(),
                                  [](const FTPReply &reply) { return reply.code == loggedIn; });
    if (transfer.exitCode == 0 || isIn)
        return false;
    const FTPReply refused = transfer.refusal();
    return refused.code == serviceNotAvailable ||
           (refused.code == refusedFile && QString::fromLatin1(refused.text).contains(words));
}

bool saysMissing(const FTPReply &reply)
{
    static const QRegularExpression words(
        QStringLiteral("no such (file|dir)|not found|does(n't| not) exist|cannot find|can't find"),
        QRegularExpression::CaseInsensitiveOption);
    return reply.isRefusal() && QString::fromLatin1(reply.text).contains(words);
}

} // namespace moorix::FTPFailureText
