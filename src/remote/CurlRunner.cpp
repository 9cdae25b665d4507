// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/CurlRunner.h"

#include "base/Error.h"
#include "base/Json.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "platform/ProcessRunner.h"
#include "remote/FTPCertificates.h"
#include "remote/FTPFailureText.h"
#include "remote/RemoteCharset.h"
#include "remote/SSHDestination.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace moorix {

struct CurlRunner::Output
{
    int exitCode = 0;
    QByteArray standardOutput;
    QByteArray standardError;
};

namespace {

constexpr int portOfImplicitTLS = 990;
/// No public key has this hash.
const QByteArray keyOfNobody("sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=");

/// Once that much has been waited for a place at a server, there is none to be had.
constexpr std::chrono::milliseconds longestPause(1600);

void waitFor(std::chrono::milliseconds pause, const std::stop_token &stop)
{
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    never.wait_for(lock, stop, pause, [] { return false; });
    if (stop.stop_requested())
        throw Cancelled();
}

[[noreturn]] void refuse(const QString &sentence)
{
    throw FileServiceError::connectionFailed(sentence);
}

/// Others would end the host in a URL.
bool isOfHostNames(QChar c)
{
    return c.isLetterOrNumber() || QStringView(u".-_:").contains(c);
}

bool holdsControlCharacter(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; });
}

QByteArray inCharset(const FTPLogin &login, const QString &text, const QString &what)
{
    const std::optional<QByteArray> bytes = RemoteCharset(login.server.charset).encode(text);
    if (!bytes)
        refuse(QStringLiteral("the %1 cannot be written in the server's character set %2.")
                   .arg(what, login.server.charset));
    return *bytes;
}

QByteArray userBytes(const FTPLogin &login)
{
    return inCharset(login, login.server.username, QStringLiteral("user name"));
}

QByteArray passwordBytes(const FTPLogin &login)
{
    return inCharset(login, login.credentials.password.value_or(QString()), QStringLiteral("password"));
}

/// curl splits its option `user` at the first colon; a name that holds one can only travel inside the URL.
bool travelsInURL(const FTPLogin &login)
{
    return login.server.username.contains(u':');
}

void addLogin(CurlConfig &config, const FTPLogin &login)
{
    if (!login.server.username.isEmpty() && !travelsInURL(login))
        config.set("user", userBytes(login) + ':' + passwordBytes(login));
    if (!login.usesTLS())
        return;
    config.flag("ssl-reqd");
    if (login.pinnedKey) {
        // The key itself is what is trusted, whoever has signed it.
        config.flag("insecure");
        config.set("pinnedpubkey", *login.pinnedKey);
    }
}

CurlConfig commonOptions(const FTPLogin &login)
{
    CurlConfig config;
    for (const char *option : {"silent", "show-error", "globoff", "path-as-is", "fail-early"})
        config.flag(option);
    config.set("noproxy", "*");
    config.set("connect-timeout", "20");
    if (login.server.keepAliveSeconds > 0)
        config.set("keepalive-time", QByteArray::number(login.server.keepAliveSeconds));
    else
        config.flag("no-keepalive");
    config.set("dump-header", "/dev/stderr");
    if (!login.server.passiveMode)
        config.set("ftp-port", "-");
    return config;
}

QProcessEnvironment environment()
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    for (const char *variable : {"ftp_proxy", "FTP_PROXY", "all_proxy", "ALL_PROXY", "LC_ALL"})
        result.remove(QLatin1String(variable));
    // Host names beyond ASCII are read in the locale's character set.
    result.insert(QStringLiteral("LC_CTYPE"), QStringLiteral("C.UTF-8"));
    return result;
}

} // namespace

bool FTPLogin::usesTLS() const
{
    return server.useTLS;
}

CurlRunner::CurlRunner(std::shared_ptr<ProcessRunner> processes)
    : m_processes(std::move(processes))
{
}

void CurlRunner::check(const FTPLogin &login)
{
    const ServerConnection &server = login.server;
    SSHDestination::checkHost(server);
    if (!std::all_of(server.host.begin(), server.host.end(), isOfHostNames))
        refuse(QStringLiteral("“%1” is no host name and no address.").arg(Format::display(server.host)));
    const RemoteCharset charset(server.charset);
    if (holdsControlCharacter(server.username))
        refuse(QStringLiteral("the user name holds a control character, which would be read as a command."));
    if (holdsControlCharacter(login.credentials.password.value_or(QString())))
        refuse(QStringLiteral("the password holds a control character, which would be read as a command."));
    if (server.networkProtocol == NetworkProtocol::ftps && !server.useTLS) {
        refuse(QStringLiteral("this FTPS server is set to use no encryption. Turn encryption on, or save it as an FTP "
                              "server if name and password may travel in the clear."));
    }
    if (login.usesTLS() && !server.passiveMode) {
        refuse(QStringLiteral("encryption and active data connections do not work together. Turn passive mode on in "
                              "the server's settings."));
    }
}

QByteArray CurlRunner::url(const FTPLogin &login, const QByteArray &path)
{
    const ServerConnection &server = login.server;
    const bool isImplicit = login.usesTLS() && server.port == portOfImplicitTLS;
    QByteArray url = isImplicit ? "ftps://" : "ftp://";
    if (travelsInURL(login))
        url += userBytes(login).toPercentEncoding() + ':' + passwordBytes(login).toPercentEncoding() + '@';
    url += SSHDestination::hostText(server).toUtf8() + ':' + QByteArray::number(server.port) + '/';
    // The first slash ends the host, so that an absolute path has two of them.
    return url + path.toPercentEncoding("/");
}

QList<CurlTransfer> CurlRunner::run(const FTPLogin &login, const CurlRequest &request, const std::stop_token &stop)
{
    check(login);
    const CurlReport report(uuidText(newUuid()).toLatin1());
    CurlConfig shared = commonOptions(login);
    addLogin(shared, login);
    shared.set("write-out", report.format());
    if (request.longest.count() > 0)
        shared.set("max-time", QByteArray::number(qlonglong(request.longest.count())));
    CurlConfig config = shared;
    config.append(request.config);
    if (request.last) {
        // Behind it nothing is left of the options before it.
        config.flag("next");
        config.append(shared);
        config.append(*request.last);
    }
    Output output;
    QList<CurlTransfer> transfers;
    // A server may count a connection for a moment after it has ended.
    std::chrono::milliseconds pause(100);
    while (true) {
        ConnectionGate::Place place = ConnectionGate::ofThisProgram().enter(door(login.server), stop);
        output = runChild(config, request, stop);
        transfers = report.parse(output.standardOutput, output.standardError);
        if (transfers.isEmpty() || !FTPFailureText::saysTooMany(transfers.constFirst()))
            break;
        if (place.giveBackAsOneTooMany())
            continue;
        if (pause > longestPause)
            break;
        waitFor(pause, stop);
        pause *= 2;
    }
    if (transfers.isEmpty()) {
        CurlTransfer failed;
        failed.exitCode = output.exitCode;
        failed.words = output.standardError.trimmed();
        if (output.exitCode == 0)
            refuse(QStringLiteral("curl ended without a result.\n") + QString::fromUtf8(failed.words));
        transfers.append(failed);
    }
    for (const CurlTransfer &transfer : transfers)
        FTPFailureText::throwIfConnectionFailed(login, transfer);
    return transfers;
}

QByteArray CurlRunner::offeredKey(const FTPLogin &login, const std::stop_token &stop)
{
    check(login);
    const CurlReport report(uuidText(newUuid()).toLatin1());
    FTPLogin nobody = login;
    nobody.server.username.clear();
    nobody.credentials = {};
    // curl reads the certificates before it compares the key, and goes no further when that differs.
    nobody.pinnedKey = keyOfNobody;
    CurlConfig config = commonOptions(nobody);
    addLogin(config, nobody);
    config.set("write-out", "%{certs}" + report.format());
    config.set("max-time", QByteArray::number(qlonglong(CurlRequest().longest.count())));
    config.flag("head");
    config.set("url", url(nobody, {}));
    const ConnectionGate::Place place = ConnectionGate::ofThisProgram().enter(door(login.server), stop);
    const Output output = runChild(config, CurlRequest(), stop);
    if (const std::optional<QByteArray> key = FTPCertificate::keyOf(output.standardOutput))
        return *key;
    for (const CurlTransfer &transfer : report.parse(output.standardOutput, output.standardError))
        FTPFailureText::throwIfConnectionFailed(login, transfer);
    refuse(QStringLiteral("%1 shows no certificate.\n").arg(login.server.host) +
           QString::fromUtf8(output.standardError).trimmed());
}

ConnectionGate::Door CurlRunner::door(const ServerConnection &server)
{
    return {QStringLiteral("ftp %1 %2").arg(server.host).arg(server.port), mostAtOnce};
}

CurlRunner::Output CurlRunner::runChild(const CurlConfig &config, const CurlRequest &request,
                                        const std::stop_token &stop)
{
    ProcessRequest process;
    process.program = QStringLiteral("/usr/bin/curl");
    // Without -q first of all, curl would read a configuration of its own.
    process.arguments = QStringList{QStringLiteral("-q"), QStringLiteral("-K"), QStringLiteral("-")};
    process.environment = environment();
    process.standardInput = config.text();
    process.whileRunning = request.whileRunning;
    const ProcessResult result = m_processes->run(process, stop);
    if (result.crashed)
        refuse(QStringLiteral("curl was ended by signal %1.").arg(result.exitCode));
    return {result.exitCode, result.standardOutput, result.standardError};
}

} // namespace moorix
