// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LoadWatch.h"

#include <algorithm>
#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr double hundred = 100;

std::optional<double> percent(const std::optional<double> &share)
{
    return share ? std::optional(*share * hundred) : std::nullopt;
}

QString whole(double value)
{
    return QString::number(qint64(std::lround(value)));
}

/// "firefox uses 41 %.", or nothing when no single process stands out.
QString guilty(const QList<ProcInfo> &processes, double ProcInfo::*figure, const QString &unit)
{
    constexpr double worthNaming = 10;
    const auto most = std::max_element(processes.cbegin(), processes.cend(),
                                       [&](const auto &a, const auto &b) { return a.*figure < b.*figure; });
    if (most == processes.cend() || (*most).*figure < worthNaming)
        return {};
    return u" %1 uses %2 %3."_s.arg(most->name, whole((*most).*figure), unit);
}

QString sentence(Resource resource, double level, const LoadLevels &levels)
{
    switch (resource) {
    case Resource::cpu:
        return u"The CPU is %1 % busy."_s.arg(whole(level)) +
               guilty(levels.processes, &ProcInfo::cpu, u"% of one core"_s);
    case Resource::memory:
        return u"Memory is %1 % full."_s.arg(whole(level)) + guilty(levels.processes, &ProcInfo::mem, u"%"_s);
    case Resource::swap:
        return u"Swap is %1 % full."_s.arg(whole(level)) + guilty(levels.processes, &ProcInfo::mem, u"% of memory"_s);
    case Resource::disk:
        return u"The disk “%1” is %2 % full."_s.arg(levels.diskName, whole(level));
    }
    return {};
}

} // namespace

LoadLevels LoadLevels::of(const RemoteStats &stats)
{
    LoadLevels levels;
    levels.cpu = percent(stats.loadShare());
    if (levels.cpu)
        levels.cpu = std::min(*levels.cpu, hundred);
    levels.memory = percent(stats.memoryShare());
    levels.disk = percent(stats.diskShare());
    levels.processes = stats.topProcesses;
    return levels;
}

LoadLevels LoadLevels::of(const LocalStats &stats)
{
    LoadLevels levels;
    if (stats.cpu)
        levels.cpu = stats.cpu->busy();
    if (const auto &memory = stats.memory) {
        levels.memory = hundred * double(memory->total - memory->available) / double(memory->total);
        if (memory->swapTotal > 0)
            levels.swap = hundred * double(memory->swapTotal - memory->swapFree) / double(memory->swapTotal);
        for (const LocalProcess &process : stats.processes ? *stats.processes : LocalProcesses()) {
            levels.processes << ProcInfo{process.pid, process.name, process.cpu.value_or(0),
                                         hundred * double(process.memory) / double(memory->total)};
        }
    }
    for (const LocalDisk &disk : stats.disks) {
        if (disk.space && hundred * disk.space->share() >= levels.disk.value_or(0)) {
            levels.disk = hundred * disk.space->share();
            levels.diskName = disk.mountPoint;
        }
    }
    return levels;
}

std::optional<double> LoadLevels::level(Resource resource) const
{
    switch (resource) {
    case Resource::cpu:
        return cpu;
    case Resource::memory:
        return memory;
    case Resource::swap:
        return swap;
    case Resource::disk:
        return disk;
    }
    return std::nullopt;
}

QList<LoadWatch::Alert> LoadWatch::take(const LoadLevels &levels)
{
    QList<Alert> begun;
    for (const Resource resource : allResources) {
        State &state = m_states[std::size_t(resource)];
        const auto level = levels.level(resource);
        if (!level)
            continue;
        state.readingsAbove = *level > m_limit.above ? std::min(state.readingsAbove + 1, m_limit.readings) : 0;
        if (state.isShort && *level < m_limit.quietBelow)
            state.isShort = false;
        state.text = sentence(resource, *level, levels);
        if (!state.isShort && state.readingsAbove >= m_limit.readings) {
            state.isShort = true;
            begun << Alert{resource, state.text};
        }
    }
    return begun;
}

QList<LoadWatch::Alert> LoadWatch::current() const
{
    QList<Alert> alerts;
    for (const Resource resource : allResources) {
        const State &state = m_states[std::size_t(resource)];
        if (state.isShort)
            alerts << Alert{resource, state.text};
    }
    return alerts;
}

} // namespace moorix
