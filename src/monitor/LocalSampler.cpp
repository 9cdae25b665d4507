// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LocalSampler.h"

#include "base/Error.h"
#include "monitor/LocalSensors.h"
#include "monitor/ProcText.h"

#include <QFile>
#include <QSysInfo>

#include <algorithm>
#include <chrono>

#include <fcntl.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr double nanosecondsPerSecond = 1e9;
/// An average over a longer pause would pass for what is going on.
constexpr double longestInterval = 10;
/// Sensors change slowly, and asking some of them takes milliseconds.
constexpr qint64 slowInterval = 5'000'000'000;

qint64 steadyNow()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// Nothing when a counter went back: it was reset or ran over, and nobody knows which.
std::optional<Throughput> rate(quint64 inNow, quint64 inBefore, quint64 outNow, quint64 outBefore, double seconds)
{
    if (inNow < inBefore || outNow < outBefore || seconds <= 0)
        return std::nullopt;
    return Throughput{double(inNow - inBefore) / seconds, double(outNow - outBefore) / seconds};
}

} // namespace

LocalSampler::LocalSampler()
    : LocalSampler(Options())
{
}

LocalSampler::LocalSampler(Options options)
    : m_options(std::move(options))
    , m_table(m_options.proc)
    , m_hostName(QSysInfo::machineHostName())
    , m_osVersion(u"%1 %2"_s
                      .arg(procText::readText(m_options.proc + u"/sys/kernel/ostype"_s),
                           procText::readText(m_options.proc + u"/sys/kernel/osrelease"_s))
                      .trimmed())
{
    if (!m_options.ticker)
        m_options.ticker = steadyNow;
}

std::optional<QByteArrayView> LocalSampler::content(const QString &name)
{
    return procText::read(AT_FDCWD, QFile::encodeName(m_options.proc + u'/' + name).constData(), m_buffer);
}

double LocalSampler::seconds(const Before &now) const
{
    return m_before ? double(now.at - m_before->at) / nanosecondsPerSecond : 0;
}

LocalStats LocalSampler::sample(Processes processes)
{
    Before now;
    now.at = m_options.ticker();
    if (m_before && seconds(now) > longestInterval)
        m_before.reset();
    LocalStats stats;
    stats.time = m_options.clock();
    stats.hostName = m_hostName;
    stats.osVersion = m_osVersion;
    readCpus(stats, now);
    if (const auto memory = content(u"meminfo"_s))
        stats.memory = localSensors::parseMemory(*memory);
    if (now.cpus.isEmpty() && !stats.memory) {
        throw Error(u"Monitor"_s, u"“%1” tells nothing about this machine. Is it mounted?"_s.arg(m_options.proc));
    }
    readDisks(stats, now);
    readInterfaces(stats, now);
    readUptime(stats);
    readSlowOnes(stats);
    if (processes == Processes::include)
        stats.processes = std::make_shared<const LocalProcesses>(m_table.read());
    m_before = std::move(now);
    return stats;
}

void LocalSampler::readCpus(LocalStats &stats, Before &now)
{
    if (const auto text = content(u"stat"_s))
        now.cpus = CpuTimes::parse(*text);
    for (const CpuTimes &cpu : std::as_const(now.cpus)) {
        std::optional<CpuUse> use;
        if (m_before) {
            const auto before = std::find_if(m_before->cpus.cbegin(), m_before->cpus.cend(),
                                             [&cpu](const CpuTimes &other) { return other.number == cpu.number; });
            if (before != m_before->cpus.cend())
                use = cpu.since(*before);
        }
        if (cpu.number < 0)
            stats.cpu = use;
        else
            stats.cores << CoreUse{cpu.number, use};
    }
}

void LocalSampler::readDisks(LocalStats &stats, Before &now)
{
    QList<localDisks::Mount> mounts;
    if (const auto text = content(u"self/mountinfo"_s))
        mounts = localDisks::parseMounts(*text);
    if (const auto text = content(u"diskstats"_s))
        now.disks = localDisks::parseCounters(*text);
    for (localDisks::Mount &mount : mounts) {
        // File systems over several devices have a number of their own, which nothing is counted by.
        const QString byName = mount.disk.source.section(u'/', -1);
        const QString key = now.disks.contains(mount.device) ? mount.device : byName;
        const auto counters = now.disks.constFind(key);
        if (m_before && counters != now.disks.cend() && m_before->disks.contains(key)) {
            const localDisks::Counters before = m_before->disks.value(key);
            mount.disk.rate = rate(counters->read, before.read, counters->written, before.written, seconds(now));
        }
        stats.disks << mount.disk;
    }
}

void LocalSampler::readInterfaces(LocalStats &stats, Before &now)
{
    if (const auto text = content(u"net/dev"_s))
        stats.interfaces = localSensors::parseInterfaces(*text);
    for (LocalInterface &interface : stats.interfaces) {
        auto device = m_isDevice.constFind(interface.name);
        if (device == m_isDevice.cend())
            device = m_isDevice.insert(interface.name, localSensors::isDevice(m_options.sys, interface.name));
        interface.isDevice = *device;
        now.interfaces.insert(interface.name, {interface.received, interface.sent});
        if (m_before && m_before->interfaces.contains(interface.name)) {
            const auto [received, sent] = m_before->interfaces.value(interface.name);
            interface.rate = rate(interface.received, received, interface.sent, sent, seconds(now));
        }
    }
}

void LocalSampler::readSlowOnes(LocalStats &stats)
{
    const qint64 now = m_options.ticker();
    if (m_slowReadAt == 0 || now - m_slowReadAt >= slowInterval) {
        m_slowReadAt = now;
        m_battery = localSensors::battery(m_options.sys);
        m_temperatures = localSensors::temperatures(m_options.sys);
        m_isDevice.clear();
    }
    stats.battery = m_battery;
    stats.temperatures = m_temperatures;
}

void LocalSampler::readUptime(LocalStats &stats)
{
    const auto numbers = [](QByteArrayView text, int count) {
        QList<double> read;
        for (int i = 0; i < count; ++i) {
            bool isRead = false;
            const double value = procText::takeWord(text).toDouble(&isRead);
            if (isRead)
                read << value;
        }
        return read;
    };
    if (const auto text = content(u"uptime"_s))
        stats.uptime = numbers(*text, 1).value(0);
    if (const auto text = content(u"loadavg"_s))
        stats.load = numbers(*text, 3);
    if (stats.load.size() != 3)
        stats.load.clear();
}

} // namespace moorix
