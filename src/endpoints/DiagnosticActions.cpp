// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/DiagnosticActions.h"

#include "base/Error.h"
#include "endpoints/DiagnosticsApp.h"
#include "endpoints/DiagnosticsFacts.h"
#include "platform/ProcessRunner.h"

#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <chrono>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using DiagnosticActions::FixedCommand;

constexpr qsizetype outputLimitBytes = 256 * 1024;
constexpr std::chrono::seconds timeLimit{20};
constexpr int exitCodeNotThere = 127;
constexpr int exitCodeTooLong = 124;

/// The first program of a line is the table's own; those behind it say the same on other systems.
const QHash<QString, QList<FixedCommand>> &programs()
{
    static const QHash<QString, QList<FixedCommand>> all{
        // Of local file systems only: a dead file server would never answer.
        {u"disk_usage"_s, {{u"/bin/df"_s, {u"-h"_s, u"-l"_s}}}},
        {u"network_interfaces"_s,
         {{u"/sbin/ifconfig"_s, {u"-a"_s}},
          {u"/sbin/ip"_s, {u"address"_s}},
          {u"/bin/ip"_s, {u"address"_s}},
          {u"/usr/sbin/ip"_s, {u"address"_s}}}},
        {u"dns_config"_s,
         {{u"/usr/sbin/scutil"_s, {u"--dns"_s}},
          {u"/usr/bin/resolvectl"_s, {u"--no-pager"_s, u"status"_s}},
          {u"/bin/cat"_s, {u"/etc/resolv.conf"_s}}}},
        {u"process_snapshot"_s, {{u"/bin/ps"_s, {u"-ax"_s, u"-o"_s, u"pid=,%cpu=,%mem=,comm="_s}}}},
        {u"recent_moorix_log"_s,
         {{u"/usr/bin/log"_s,
           {u"show"_s, u"--last"_s, u"1h"_s, u"--style"_s, u"compact"_s, u"--predicate"_s, u"process == \"Moorix\""_s}},
          {u"/usr/bin/journalctl"_s,
           {u"--no-pager"_s, u"--quiet"_s, u"--since"_s, u"-1h"_s, u"--lines"_s, u"500"_s, u"_COMM=moorix"_s}}}},
    };
    return all;
}

class TooLong final : public std::exception
{
};

QProcessEnvironment plainEnvironment()
{
    QProcessEnvironment environment;
    environment.insert(u"PATH"_s, u"/usr/bin:/bin:/usr/sbin:/sbin"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    return environment;
}

DiagnosticResult runOne(const FixedCommand &command, ProcessRunner &processes, const std::stop_token &stop)
{
    ProcessRequest request;
    request.program = command.program;
    request.arguments = command.arguments;
    request.environment = plainEnvironment();
    request.errorOutput = ErrorOutput::withinOutput;
    QByteArray output;
    bool isCut = false;
    request.takeOutput = [&](QByteArrayView piece) {
        isCut = isCut || output.size() + piece.size() > outputLimitBytes;
        output.append(piece.first(std::min(piece.size(), outputLimitBytes - output.size())));
    };
    const auto end = std::chrono::steady_clock::now() + timeLimit;
    request.whileRunning = [end](qint64) {
        if (std::chrono::steady_clock::now() > end)
            throw TooLong();
    };
    DiagnosticResult result;
    QString note;
    try {
        result.exitCode = processes.run(request, stop).exitCode;
    } catch (const TooLong &) {
        result.exitCode = exitCodeTooLong;
        note = u"%1 was ended after %2 seconds."_s.arg(command.program).arg(timeLimit.count());
    }
    result.output = QString::fromUtf8(output);
    if (isCut)
        note = u"The output is cut after %1 KiB. %2"_s.arg(outputLimitBytes / 1024).arg(note).trimmed();
    if (!note.isEmpty())
        result.output += u'\n' + note;
    return result;
}

QString oneLine(const QString &text)
{
    return text.simplified();
}

DiagnosticActions::Action answer(const QString &text, int exitCode = 0)
{
    return [result = DiagnosticResult{text, exitCode}](const std::stop_token &) { return result; };
}

} // namespace

DiagnosticResult DiagnosticActions::runFixedCommand(const QList<FixedCommand> &alternatives, ProcessRunner &processes,
                                                    const std::stop_token &stop)
{
    DiagnosticResult result{u"This computer has no program for that."_s, exitCodeNotThere};
    for (const FixedCommand &command : alternatives) {
        if (!QFileInfo(command.program).isExecutable())
            continue;
        try {
            result = runOne(command, processes, stop);
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            result = {error.message(), exitCodeNotThere};
        }
        if (result.exitCode == 0)
            break;
    }
    return result;
}

DiagnosticActions::Action DiagnosticActions::prepare(const QString &name, const DiagnosticsFacts &facts,
                                                     const DiagnosticsApp &app,
                                                     std::shared_ptr<ProcessRunner> processes)
{
    if (name == u"system_snapshot")
        return answer(facts.systemSnapshot());
    if (name == u"server_library_summary")
        return answer(serverLibrarySummary(app));
    if (name == u"active_session_summary")
        return answer(activeSessionSummary(app));
    const auto found = programs().constFind(name);
    if (found != programs().cend()) {
        return [alternatives = *found, processes = std::move(processes)](const std::stop_token &stop) {
            return runFixedCommand(alternatives, *processes, stop);
        };
    }
    constexpr qsizetype shownCharacters = 200;
    return answer(u"Unsupported diagnostic action: "_s + name.left(shownCharacters), 1);
}

QString DiagnosticActions::serverLibrarySummary(const DiagnosticsApp &app)
{
    QStringList lines;
    const QList<ServerConnection> servers = app.savedServers();
    for (const ServerConnection &server : servers) {
        lines.append(u"%1: %2 %3:%4, %5"_s.arg(oneLine(server.displayName()), rawText(server.networkProtocol),
                                               oneLine(server.host), QString::number(server.port),
                                               rawText(server.authMethod)));
    }
    return lines.isEmpty() ? u"No saved servers."_s : lines.join(u'\n');
}

QString DiagnosticActions::activeSessionSummary(const DiagnosticsApp &app)
{
    QStringList lines;
    const QList<DiagnosticsSession> sessions = app.sessions();
    for (const DiagnosticsSession &session : sessions) {
        if (session.kind == DiagnosticsSession::Kind::local)
            lines.append(u"local:"_s);
        else if (session.kind == DiagnosticsSession::Kind::terminal)
            lines.append(u"terminal:"_s);
        else
            lines.append(oneLine(session.name) + u':' + oneLine(session.address));
    }
    return lines.isEmpty() ? u"No open sessions."_s : lines.join(u'\n');
}

} // namespace moorix
