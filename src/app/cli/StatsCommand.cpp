// SPDX-License-Identifier: GPL-3.0-or-later
// stats: the health of this machine or of a server.
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "base/Json.h"
#include "files/Format.h"
#include "monitor/LocalSampler.h"
#include "monitor/MonitorText.h"
#include "monitor/RemoteStatsMonitor.h"
#include "remote/SFTPService.h"

#include <QCommandLineParser>

#include <condition_variable>
#include <mutex>

namespace moorix {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Processes are told apart by what they do between two readings.
RemoteStats ofThisMachine(const std::stop_token &stop)
{
    constexpr auto pause = 500ms;
    LocalSampler sampler;
    sampler.sample(LocalSampler::Processes::include);
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any().wait_for(lock, stop, pause, [] { return false; });
    if (stop.stop_requested())
        throw Cancelled();
    LocalStats stats = sampler.sample(LocalSampler::Processes::include);
    for (LocalDisk &disk : stats.disks) {
        if (disk.mountPoint == u"/"_s)
            disk.space = localDisks::space(disk.mountPoint);
    }
    return stats.asRemoteStats();
}

RemoteStats ofServer(const ServerConnection &server, CommandContext &context)
{
    if (!supportsShell(server.networkProtocol)) {
        throw Error(u"Monitor"_s, RemoteStatsMonitor::needsSSH() + u'\n' + RemoteStatsMonitor::needsSSHBecause());
    }
    const auto service = std::dynamic_pointer_cast<SFTPService>(context.connected(server));
    return RemoteStatsMonitor::parse(service->commandOutput(RemoteStatsMonitor::script, context.stop()));
}

void printTable(const RemoteStats &stats)
{
    const auto line = [](const QString &label, const QString &value) {
        console::print(u"%1 %2\n"_s.arg(label.leftJustified(11), value));
    };
    line(u"Host"_s, Format::display(stats.hostName));
    line(u"System"_s, Format::display(stats.osVersion));
    line(u"Uptime"_s, monitorText::uptime(stats.uptime));
    line(u"CPU Load"_s, monitorText::load(stats.load));
    line(u"Cores"_s, monitorText::count(stats.cores));
    line(u"Memory"_s, monitorText::used(stats.memUsedKB, stats.memTotalKB));
    line(u"Disk (/)"_s, monitorText::used(stats.diskUsedKB, stats.diskTotalKB));
    line(u"Processes"_s, monitorText::count(stats.processCount));
    if (!stats.topProcesses.isEmpty())
        console::print(u"\n%1 %2 %3  %4\n"_s.arg(u"PID"_s, 8).arg(u"CPU %"_s, 7).arg(u"MEM %"_s, 7).arg(u"COMMAND"_s));
    for (const ProcInfo &process : stats.topProcesses) {
        console::print(u"%1 %2 %3  %4\n"_s.arg(process.id, 8)
                           .arg(process.cpu, 7, 'f', 1)
                           .arg(process.mem, 7, 'f', 1)
                           .arg(Format::display(process.name)));
    }
}

ExitCode runStats(const QCommandLineParser &parser, CommandContext &context)
{
    const QString reference = parser.positionalArguments().value(0);
    const RemoteStats stats =
        reference.isEmpty() ? ofThisMachine(context.stop()) : ofServer(context.server(reference), context);
    if (stats.isEmpty())
        throw Error(u"Monitor"_s, u"“%1” answered with none of its metrics."_s.arg(reference));
    if (parser.isSet(u"json"_s)) {
        JsonWriter writer;
        stats.writeJson(writer);
        console::printBytes(writer.bytes());
    } else {
        printTable(stats);
    }
    return ExitCode::done;
}

} // namespace

QList<Command> statsCommands()
{
    const QCommandLineOption json(u"json"_s, u"Print JSON."_s);
    Command stats;
    stats.name = u"stats"_s;
    stats.arguments = u"[SERVER] [--json]"_s;
    stats.summary = u"Show load, memory, disk and busiest processes."_s;
    stats.details =
        u"Without SERVER, those of this machine. A server is asked over SSH, and nothing is installed on it.\n"
        "--json prints load, cores, memUsedKB, memTotalKB, diskUsedKB, diskTotalKB, uptime (seconds),\n"
        "processCount, topProcesses (id, name, cpu and mem in per cent), hostName and osVersion.\n"
        "What the machine does not tell is null, 0 or empty."_s;
    stats.examples = {u"stats"_s, u"stats web-01"_s, u"stats web-01 --json"_s};
    stats.options = {json};
    stats.maximumArguments = 1;
    stats.run = runStats;
    return {stats};
}

} // namespace moorix
