// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/HostKeys.h"

#include "base/Error.h"
#include "platform/ProcessRunner.h"
#include "remote/SSHDestination.h"

namespace moorix::HostKeys {

namespace {

const QString keygen = QStringLiteral("/usr/bin/ssh-keygen");

/// How the client names a host in known_hosts.
QString entryName(const ServerConnection &server)
{
    return server.port == 22 ? server.host : QStringLiteral("[%1]:%2").arg(server.host).arg(server.port);
}

QStringList linesOf(const QByteArray &output)
{
    return QString::fromUtf8(output).split(u'\n', Qt::SkipEmptyParts);
}

ProcessResult run(ProcessRunner &runner, const QString &program, const QStringList &arguments,
                  const QByteArray &standardInput, const std::stop_token &stop)
{
    ProcessRequest request;
    request.program = program;
    request.arguments = arguments;
    request.standardInput = standardInput;
    return runner.run(request, stop);
}

} // namespace

QStringList knownFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    SSHDestination::check(server);
    const ProcessResult result =
        run(runner, keygen, {QStringLiteral("-l"), QStringLiteral("-F"), entryName(server)}, {}, stop);
    QStringList fingerprints;
    for (const QString &line : linesOf(result.standardOutput)) {
        // "host ED25519 SHA256:…" beneath a comment
        const QStringList fields = line.split(u' ', Qt::SkipEmptyParts);
        if (fields.size() >= 3 && !line.startsWith(u'#'))
            fingerprints << fields.at(1) + u' ' + fields.at(2);
    }
    return fingerprints;
}

QStringList offeredFingerprints(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    SSHDestination::check(server);
    const ProcessResult keys = run(
        runner, QStringLiteral("/usr/bin/ssh-keyscan"),
        {QStringLiteral("-T"), QStringLiteral("10"), QStringLiteral("-p"), QString::number(server.port), server.host},
        {}, stop);
    if (keys.standardOutput.trimmed().isEmpty()) {
        const QString words = QString::fromUtf8(keys.standardError).trimmed();
        throw Error(
            QStringLiteral("HostKeys"),
            QStringLiteral("%1 shows no key on port %2.\n%3").arg(server.host).arg(server.port).arg(words).trimmed());
    }
    const ProcessResult result = run(runner, keygen, {QStringLiteral("-l"), QStringLiteral("-f"), QStringLiteral("-")},
                                     keys.standardOutput, stop);
    QStringList fingerprints;
    for (const QString &line : linesOf(result.standardOutput)) {
        // "256 SHA256:… host (ED25519)"
        const QStringList fields = line.split(u' ', Qt::SkipEmptyParts);
        if (fields.size() >= 4 && fields.constLast().startsWith(u'('))
            fingerprints << fields.constLast().mid(1).chopped(1) + u' ' + fields.at(1);
    }
    return fingerprints;
}

void forget(const ServerConnection &server, ProcessRunner &runner, const std::stop_token &stop)
{
    if (knownFingerprints(server, runner, stop).isEmpty())
        return;
    const ProcessResult result = run(runner, keygen, {QStringLiteral("-R"), entryName(server)}, {}, stop);
    if (result.crashed || result.exitCode != 0) {
        throw Error(QStringLiteral("HostKeys"),
                    QStringLiteral("The keys of %1 could not be forgotten: %2")
                        .arg(server.host, QString::fromUtf8(result.standardError).trimmed()));
    }
}

} // namespace moorix::HostKeys
