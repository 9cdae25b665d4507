// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/HostText.h"

#include "files/Format.h"

#include <QCoreApplication>
#include <QLocale>

#include <cmath>

namespace moorix::HostText {

using namespace Qt::StringLiterals;

namespace {

const QString separator = u"  ·  "_s;

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix::HostText", text);
}

QString whole(double percent)
{
    return QString::number(std::lround(percent));
}

QString rates(const std::optional<Throughput> &rate)
{
    return rate ? tr("reads %1, writes %2").arg(monitorText::rate(rate->in), monitorText::rate(rate->out)) : QString();
}

QString disk(const LocalDisk &disk)
{
    const QString name = Format::display(disk.mountPoint);
    if (!disk.space)
        return disk.isSilent ? tr("%1 does not answer").arg(name) : name;
    QStringList parts{
        tr("%1  %2 of %3").arg(name, monitorText::percent(disk.space->share()), Format::byteCount(disk.space->total))};
    constexpr double manyFiles = 0.9;
    if (disk.space->inodes > 0 && double(disk.space->inodesUsed) > manyFiles * double(disk.space->inodes))
        parts << tr("nearly all files it can hold");
    if (disk.rate)
        parts << rates(disk.rate);
    return parts.join(separator);
}

} // namespace

Message message(const MonitoredHost &host)
{
    if (host.needsSSH())
        return {RemoteStatsMonitor::needsSSH(), RemoteStatsMonitor::needsSSHBecause(), false, false};
    if (host.isDisconnected()) {
        return {tr("Disconnected"),
                tr("You ended the connection to this server. It is not asked for its metrics until you "
                   "connect again."),
                false, true};
    }
    if (host.errorMessage()) {
        const QString title =
            host.isLocal() ? tr("Couldn't read this computer's metrics") : tr("Couldn't read server metrics");
        return {title, *host.errorMessage(), true, false};
    }
    if (!host.stats())
        return {tr("Reading metrics from %1").arg(Format::display(host.title())), {}, false, false};
    if (!host.isLocal() && host.stats()->isEmpty())
        return {tr("The server answered with none of its metrics."), {}, true, false};
    return {};
}

Message noServer()
{
    return {tr("No server connected"),
            tr("Connect to an SFTP or SSH server and its CPU, memory, disk, load, and processes appear here."), false,
            false};
}

QString system(const RemoteStats &stats)
{
    QStringList parts{Format::display(stats.hostName), Format::display(stats.osVersion)};
    parts.removeAll(QString());
    return parts.join(separator);
}

QString usedOf(const std::optional<qint64> &usedKB, const std::optional<qint64> &totalKB)
{
    return monitorText::used(usedKB, totalKB).section(u" ("_s, 0, 0);
}

QString busy(const std::optional<CpuUse> &cpu)
{
    constexpr double hundred = 100;
    return monitorText::percent(cpu ? std::optional(cpu->busy() / hundred) : std::nullopt);
}

QString cpuParts(const LocalStats &stats)
{
    QStringList parts;
    if (stats.cpu) {
        // Of four there is no room for one that says nothing.
        const bool hasSteal = stats.cpu->steal >= 1;
        parts << tr("user %1").arg(whole(stats.cpu->user)) << tr("system %1").arg(whole(stats.cpu->system));
        if (!hasSteal || stats.cpu->iowait >= 1)
            parts << tr("wait %1").arg(whole(stats.cpu->iowait));
        if (hasSteal)
            parts << tr("steal %1").arg(whole(stats.cpu->steal));
    }
    return parts.join(separator);
}

QString memory(const LocalStats &stats)
{
    if (!stats.memory)
        return {};
    const MemoryUse &memory = *stats.memory;
    QString text =
        tr("%1 of %2").arg(Format::byteCount(memory.total - memory.available), Format::byteCount(memory.total));
    if (memory.swapTotal > 0) {
        text += separator +
                tr("swap %1 of %2")
                    .arg(Format::byteCount(memory.swapTotal - memory.swapFree), Format::byteCount(memory.swapTotal));
    }
    return text;
}

QString disks(const LocalStats &stats)
{
    constexpr qsizetype most = 6;
    QStringList lines;
    if (const LocalDisk *root = stats.rootDisk(); root && root->rate)
        lines << rates(root->rate);
    for (const LocalDisk &other : stats.disks) {
        if (other.mountPoint != u"/"_s && lines.size() < most)
            lines << disk(other);
    }
    return lines.join(u'\n');
}

QString bootTime(double uptime, const QDateTime &now)
{
    constexpr double longest = 1e10;
    if (!(uptime > 0) || uptime > longest)
        return {};
    return tr("since %1").arg(Format::date(now.addSecs(-qint64(uptime)).toLocalTime()));
}

QString threads(const LocalStats &stats)
{
    if (!stats.processes)
        return {};
    qint64 threads = 0;
    qint64 running = 0;
    for (const LocalProcess &process : *stats.processes) {
        threads += process.threads;
        running += process.state == 'R';
    }
    return tr("%1 threads, %2 running").arg(QLocale().toString(threads), QLocale().toString(running));
}

QString sensors(const LocalStats &stats)
{
    constexpr qsizetype most = 8;
    QStringList parts;
    if (stats.battery)
        parts << tr("Battery %1 % (%2)").arg(stats.battery->percent).arg(Format::display(stats.battery->status));
    for (const Temperature &temperature : stats.temperatures.mid(0, most))
        parts << u"%1 %2 °C"_s.arg(Format::display(temperature.name), whole(temperature.celsius));
    return parts.join(separator);
}

} // namespace moorix::HostText
