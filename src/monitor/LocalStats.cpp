// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LocalStats.h"

#include <algorithm>
#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kibibyte = 1024;

/// As exactly as ps has it.
double tenths(double value)
{
    return std::round(value * 10) / 10;
}

QList<ProcInfo> busiest(const LocalProcesses &processes, qint64 memoryTotal)
{
    constexpr std::size_t most = 8;
    std::vector<const LocalProcess *> order;
    order.reserve(processes.size());
    for (const LocalProcess &process : processes)
        order.push_back(&process);
    const auto end = order.begin() + std::ptrdiff_t(std::min(most, order.size()));
    std::partial_sort(order.begin(), end, order.end(), [](const LocalProcess *a, const LocalProcess *b) {
        const double left = a->cpu.value_or(-1);
        const double right = b->cpu.value_or(-1);
        return left != right ? left > right : a->memory > b->memory;
    });
    QList<ProcInfo> result;
    for (auto process = order.begin(); process != end; ++process) {
        const double share = memoryTotal > 0 ? 100.0 * double((*process)->memory) / double(memoryTotal) : 0;
        result << ProcInfo{(*process)->pid, (*process)->name, tenths((*process)->cpu.value_or(0)), tenths(share)};
    }
    return result;
}

} // namespace

std::optional<Throughput> LocalStats::network() const
{
    const bool hasDevices = std::any_of(interfaces.begin(), interfaces.end(),
                                        [](const LocalInterface &interface) { return interface.isDevice; });
    std::optional<Throughput> sum;
    for (const LocalInterface &interface : interfaces) {
        if (interface.isLoopback || interface.isDevice != hasDevices || !interface.rate)
            continue;
        if (!sum)
            sum.emplace();
        sum->in += interface.rate->in;
        sum->out += interface.rate->out;
    }
    return sum;
}

const LocalDisk *LocalStats::rootDisk() const
{
    const auto found =
        std::find_if(disks.begin(), disks.end(), [](const LocalDisk &disk) { return disk.mountPoint == u"/"_s; });
    return found == disks.end() ? nullptr : &*found;
}

RemoteStats LocalStats::asRemoteStats() const
{
    RemoteStats stats;
    stats.load = load;
    stats.cores = cores.size();
    if (memory) {
        stats.memTotalKB = memory->total / kibibyte;
        stats.memUsedKB = (memory->total - memory->available) / kibibyte;
    }
    if (const LocalDisk *disk = rootDisk(); disk && disk->space) {
        stats.diskTotalKB = disk->space->total / kibibyte;
        stats.diskUsedKB = disk->space->used / kibibyte;
    }
    stats.uptime = uptime;
    if (processes) {
        stats.processCount = qint64(processes->size());
        stats.topProcesses = busiest(*processes, memory ? memory->total : 0);
    }
    stats.hostName = hostName;
    stats.osVersion = osVersion;
    return stats;
}

} // namespace moorix
