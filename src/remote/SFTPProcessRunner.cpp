// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPProcessRunner.h"

#include "files/FileServiceError.h"
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

/// Names come out whole only when the client may print UTF-8; LC_ALL would override that.
void useUtf8(QProcessEnvironment &environment)
{
    environment.remove(QStringLiteral("LC_ALL"));
    environment.insert(QStringLiteral("LC_CTYPE"), QStringLiteral("C.UTF-8"));
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

SFTPProcessRunner::SFTPProcessRunner(std::shared_ptr<ProcessRunner> processes)
    : m_processes(std::move(processes))
{
}

QList<SFTPAnswer> SFTPProcessRunner::runEach(const SSHLogin &login, const QStringList &commands,
                                             const std::function<void(qsizetype)> &onAnswer,
                                             const std::stop_token &stop)
{
    ProcessRequest request = batchRequest(commands);
    // Only one stream tells which failure belongs to which command.
    request.errorOutput = ErrorOutput::withinOutput;
    QByteArray output;
    qsizetype answered = 0;
    request.takeOutput = [&](QByteArrayView bytes) {
        output.append(bytes);
        // The last one may have more to say.
        while (answered + 1 < SFTPText::answers(output).size())
            onAnswer(++answered);
    };
    ProcessResult result = runClient(login, QStringLiteral("-P"), std::move(request), stop);
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
    for (const QByteArray &answer : said.first(commands.size())) {
        const SFTPOutcome outcome =
            SFTPOutcome::classify("sftp> quit", SFTPText::withoutChatter(answer), SFTPOutcome::OddItems::fail);
        answers.append({outcome.words, outcome.kind == SFTPOutcome::Kind::missing, answer});
    }
    return answers;
}

SFTPOutput SFTPProcessRunner::runCommands(const SSHLogin &login, const SFTPBatch &batch, const std::stop_token &stop)
{
    ProcessRequest request = batchRequest(batch.commands);
    request.whileRunning = batch.whileRunning;
    const ProcessResult result = runClient(login, QStringLiteral("-P"), std::move(request), stop);
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
    const ProcessResult result = runClient(login, QStringLiteral("-p"), std::move(request), stop);
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

void SFTPProcessRunner::closeMaster(const ServerConnection &server) noexcept
{
    SSHAuthHelper::closeMaster(server, *m_processes);
}

ProcessResult SFTPProcessRunner::runClient(const SSHLogin &login, const QString &portFlag, ProcessRequest request,
                                           const std::stop_token &stop)
{
    using namespace SSHAuthHelper;
    const ServerConnection &server = login.server;
    SSHDestination::check(server);
    bool isShared = true;
    const auto isWarm = [&] { return !isShared || ControlSocket::isPresent(server); };
    ConnectionGate::Door door{QStringLiteral("%1 %2").arg(server.host).arg(server.port)};
    door.isWarm = isWarm;
    const ConnectionGate::Place place = ConnectionGate::ofThisProgram().enter(door, stop);
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
    request.arguments =
        authOptions(server, login.identityPath, isShared ? Multiplex::yes : Multiplex::no, Interactive::no) +
        QStringList{portFlag, QString::number(server.port), SSHDestination::text(server)} + request.arguments;
    return m_processes->run(request, stop);
}

} // namespace moorix
