// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPProcessRunner.h"

#include "base/Json.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "platform/ProcessRunner.h"
#include "remote/ConnectionGate.h"
#include "remote/ControlSocket.h"
#include "remote/SFTPQuoting.h"
#include "remote/SSHAuthHelper.h"
#include "remote/SSHDestination.h"
#include "remote/SSHFailureText.h"

#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

constexpr int clientFailed = 255;

/// Names come out whole only when the client may print UTF-8; LC_ALL would override that. The client passes these on
/// where both sides allow it, and the server's commands then print numbers with a point.
void useUtf8(QProcessEnvironment &environment)
{
    environment.remove(QStringLiteral("LC_ALL"));
    environment.insert(QStringLiteral("LC_CTYPE"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("LC_NUMERIC"), QStringLiteral("C"));
}

/// A client without a secret of ours must not stop to ask on the terminal the program was started from; an agent's or
/// the desktop's own dialog may still ask.
void neverAskOnTerminal(QProcessEnvironment &environment)
{
    const QString variable = QStringLiteral("SSH_ASKPASS_REQUIRE");
    if (!environment.contains(variable))
        environment.insert(variable, QStringLiteral("force"));
}

[[noreturn]] void throwConnectionFailed(const SSHLogin &login, const ProcessResult &result, const QString &client)
{
    QString text = SSHFailureText::connection(login.server, result.standardError);
    if (text.isEmpty()) {
        text = result.crashed ? QStringLiteral("%1 was ended by signal %2; the connection was probably lost")
                                    .arg(client)
                                    .arg(result.exitCode)
                              : QStringLiteral("%1 exited with code %2").arg(client).arg(result.exitCode);
    }
    throw FileServiceError::connectionFailed(text);
}

void throwUnlessSucceeded(const SFTPOutcome &outcome, const SFTPBatch &batch)
{
    if (outcome.kind == SFTPOutcome::Kind::succeeded)
        return;
    if (outcome.kind == SFTPOutcome::Kind::missing && !batch.subject.isEmpty())
        throw FileServiceError::notFound(batch.subject);
    throw FileServiceError::operationFailed(SSHFailureText::operation(batch.action, outcome.reason, outcome.words));
}

/// The shared connection went just as the client was joining it, before it asked the server for anything. Where others
/// have seen the input or the output already, the client cannot be run again.
bool missedItsMaster(const ProcessRequest &request, const ProcessResult &result)
{
    return !result.crashed && result.exitCode == clientFailed && !request.moreInput && !request.takeOutput &&
           result.standardError.startsWith("mux_client_request_alive: ");
}

QString doorName(const ServerConnection &server, bool isFurther)
{
    const QString host = QStringLiteral("%1 %2").arg(server.host).arg(server.port);
    return isFurther ? host + u' ' + uuidText(server.id) : host;
}

/// For `sftp`, up to the port. Its unit is 1024 bits per second.
QStringList sftpFlags(qint64 bytesPerSecond)
{
    const qint64 units = std::max<qint64>(1, bytesPerSecond / 128);
    const QStringList port{QStringLiteral("-P")};
    return bytesPerSecond > 0 ? QStringList{QStringLiteral("-l"), QString::number(units)} + port : port;
}

ProcessRequest batchRequest(const QStringList &commands)
{
    for (const QString &command : commands)
        SFTPQuoting::rejectLongLine(command);
    ProcessRequest request;
    request.program = QStringLiteral("/usr/bin/sftp");
    request.standardInput = (commands + QStringList{QStringLiteral("quit")}).join(u'\n').toUtf8() + '\n';
    return request;
}

} // namespace

SFTPOutcome SFTPAnswer::outcome() const
{
    return SFTPOutcome::classify("sftp> quit", SFTPText::withoutChatter(text), SFTPOutcome::OddItems::fail);
}

SFTPProcessRunner::SFTPProcessRunner(std::shared_ptr<ProcessRunner> processes, SSHPatience patience)
    : m_processes(std::move(processes))
    , m_patience(patience)
{
}

QList<SFTPAnswer> SFTPProcessRunner::runEach(const SSHLogin &login, const QStringList &commands,
                                             const std::function<void(qsizetype)> &onAnswer,
                                             const std::stop_token &stop, const SFTPRunOptions &options)
{
    const QString &folder = options.folder;
    ProcessRequest request = batchRequest(commands);
    // Only one stream tells which failure belongs to which command.
    request.errorOutput = ErrorOutput::withinOutput;
    QByteArray output;
    SFTPText::AnswerCount begun;
    qsizetype answered = 0;
    request.takeOutput = [&](QByteArrayView bytes) {
        output.append(bytes);
        begun.feed(bytes);
        // The last one may have more to say.
        while (answered + 1 < begun.count())
            onAnswer(++answered);
    };
    ProcessResult result = runClient(login, sftpFlags(options.bytesPerSecond), std::move(request), stop, folder);
    constexpr int folderRefused = 1;
    if (!folder.isEmpty() && !result.crashed && result.exitCode == folderRefused && answered == 0) {
        throw FileServiceError::operationFailed(
            QStringLiteral("“%1” could not be entered.\n").arg(Format::display(folder)) +
            SFTPText::decoded(SFTPText::withoutChatter(output)).trimmed());
    }
    if (result.crashed || result.exitCode != 0) {
        result.standardError = SFTPText::withoutChatter(output);
        throwConnectionFailed(login, result, QStringLiteral("sftp"));
    }
    const QList<QByteArray> said = SFTPText::answers(output);
    if (said.size() != commands.size() + 1) {
        throw FileServiceError::operationFailed(
            QStringLiteral("The sftp client ended before it had done everything.\n") +
            QString::fromUtf8(output.last(std::min<qsizetype>(output.size(), 300))).trimmed());
    }
    QList<SFTPAnswer> answers;
    for (const QByteArray &answer : said.first(commands.size()))
        answers.append({answer});
    return answers;
}

SFTPOutput SFTPProcessRunner::runCommands(const SSHLogin &login, const SFTPBatch &batch, const std::stop_token &stop)
{
    ProcessRequest request = batchRequest(batch.commands);
    request.whileRunning = batch.whileRunning;
    const ProcessResult result = runClient(login, sftpFlags(batch.bytesPerSecond), std::move(request), stop);
    if (result.crashed || result.exitCode != 0)
        throwConnectionFailed(login, result, QStringLiteral("sftp"));
    const SFTPOutcome outcome = SFTPOutcome::classify(result.standardOutput, result.standardError, batch.oddItems);
    throwUnlessSucceeded(outcome, batch);
    return {SFTPText::result(result.standardOutput), outcome.skipped};
}

QString SFTPProcessRunner::runSSH(const SSHLogin &login, const QString &command, const std::stop_token &stop)
{
    const SSHOutput output = runRemote(login, command, stop);
    if (output.exitCode == 0)
        return output.text;
    throw FileServiceError::connectionFailed(
        output.errorText.isEmpty() ? QStringLiteral("ssh exited with code %1").arg(output.exitCode) : output.errorText);
}

SSHOutput SFTPProcessRunner::runRemote(const SSHLogin &login, const QString &command, const std::stop_token &stop,
                                       const SSHStreams &streams)
{
    ProcessRequest request;
    request.standardInput = streams.input;
    request.moreInput = streams.moreInput;
    request.takeOutput = streams.takeOutput;
    request.program = QStringLiteral("/usr/bin/ssh");
    request.arguments << command;
    const ProcessResult result = runClient(login, {QStringLiteral("-p")}, std::move(request), stop);
    if (result.crashed || result.exitCode == clientFailed)
        throwConnectionFailed(login, result, QStringLiteral("ssh"));
    return {result.exitCode, QString::fromUtf8(result.standardOutput),
            QString::fromUtf8(result.standardError).trimmed()};
}

void SFTPProcessRunner::checkPassphrase(const SSHLogin &login, const std::stop_token &stop)
{
    if (!login.identityPath || login.credentials.passphrase.value_or(QString()).isEmpty())
        return;
    const SSHAuthHelper::Environment auth = SSHAuthHelper::authEnvironment(login.server, login.credentials);
    ProcessRequest request;
    request.program = QStringLiteral("/usr/bin/ssh-keygen");
    request.arguments = QStringList{QStringLiteral("-y"), QStringLiteral("-f"), *login.identityPath};
    request.environment = auth.env;
    const ProcessResult result = m_processes->run(request, stop);
    // Every other trouble with the key is the client's to report when it connects.
    if (result.exitCode != 0 && result.standardError.contains("incorrect passphrase")) {
        throw FileServiceError::authFailed(QStringLiteral("the passphrase does not open the key.\n") +
                                           SFTPText::decoded(result.standardError.trimmed()));
    }
}

bool SFTPProcessRunner::mayStartIn(const QString &folder)
{
    // The client looks for the folder as it stands there, then has its own quoting and patterns read it.
    return std::none_of(folder.begin(), folder.end(), [](QChar c) { return QStringView(u"\"\\*?[").contains(c); }) &&
           folder.startsWith(u'/');
}

bool SFTPProcessRunner::logsInSilently(const SSHLogin &login, const std::stop_token &stop)
{
    if (login.server.authMethod == AuthMethod::password)
        return !login.credentials.password.value_or(QString()).isEmpty();
    if (!login.identityPath)
        return false;
    ProcessRequest request;
    request.program = QStringLiteral("/usr/bin/ssh-keygen");
    request.arguments = QStringList{QStringLiteral("-l"), QStringLiteral("-f"), *login.identityPath};
    const ProcessResult result = m_processes->run(request, stop);
    // Keys of hardware want to be touched.
    return result.exitCode == 0 && !result.standardOutput.contains("-SK)");
}

std::optional<std::chrono::milliseconds> SFTPProcessRunner::quickestRun() const
{
    const qint64 known = m_quickestRun;
    return known < 0 ? std::nullopt : std::optional(std::chrono::milliseconds(known));
}

void SFTPProcessRunner::noteRun(std::chrono::milliseconds duration)
{
    qint64 known = m_quickestRun;
    while ((known < 0 || duration.count() < known) && !m_quickestRun.compare_exchange_weak(known, duration.count()))
        continue;
}

void SFTPProcessRunner::closeMaster(const ServerConnection &server) noexcept
{
    ConnectionGate &gate = ConnectionGate::ofThisProgram();
    const ConnectionGate::Closure first(gate, doorName(server, false));
    const ConnectionGate::Closure further(gate, doorName(server, true));
    SSHAuthHelper::closeMaster(server, *m_processes);
}

ProcessResult SFTPProcessRunner::runClient(const SSHLogin &login, const QStringList &flags, ProcessRequest request,
                                           const std::stop_token &stop, const QString &folder)
{
    using namespace SSHAuthHelper;
    const ServerConnection &server = login.server;
    SSHDestination::check(server);
    bool isShared = true;
    const auto isWarm = [&] { return !isShared || ControlSocket::isPresent(server); };
    ConnectionGate::Door door{doorName(server, login.isFurther)};
    door.isWarm = isWarm;
    const ConnectionGate::Place place = ConnectionGate::ofThisProgram().enter(door, stop);
    if (login.isEnded && *login.isEnded)
        throw FileServiceError::notConnected();
    isShared = ControlSocket::claim(server, login.credentials, *m_processes);

    // A login that left no shared connection leaves no record of one either.
    const auto tidy = qScopeGuard([&server] {
        if (!ControlSocket::isPresent(server))
            ControlSocket::forget(server);
    });

    Environment auth = authEnvironment(server, login.credentials);
    useUtf8(auth.env);
    neverAskOnTerminal(auth.env);
    request.environment = auth.env;
    const QString destination = SSHDestination::text(server) + (folder.isEmpty() ? QString() : u':' + folder);
    request.arguments =
        authOptions(server, login.identityPath, isShared ? Multiplex::yes : Multiplex::no, Interactive::no) +
        passphraseOptions(server, login.credentials) + flags + QStringList{QString::number(server.port), destination} +
        request.arguments;
    if (isShared)
        watch(login, request, stop);
    const bool wasUp = isShared && ControlSocket::isPresent(server);
    const auto start = std::chrono::steady_clock::now();
    ProcessResult result = m_processes->run(request, stop);
    if (missedItsMaster(request, result))
        result = m_processes->run(request, stop);
    noteLife(server.id);
    if (wasUp && result.exitCode == 0 && !result.crashed)
        noteRun(std::chrono::round<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start));
    return result;
}

} // namespace moorix
