// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/RemoteStats.h"

#include <QDateTime>

#include <memory>
#include <vector>

namespace moorix {

/// What a processor did between two readings, in per cent of its time. The rest it was idle.
struct CpuUse
{
    /// Including what was run with low priority.
    double user = 0;
    /// Including interrupts.
    double system = 0;
    /// Idle, but only because a disk was waited for.
    double iowait = 0;
    /// Given to other guests by the host of a virtual machine.
    double steal = 0;

    double busy() const { return user + system + steal; }

    bool operator==(const CpuUse &) const = default;
};

/// In bytes for each second.
struct Throughput
{
    double in = 0;
    double out = 0;

    bool operator==(const Throughput &) const = default;
};

struct CoreUse
{
    int number = 0;
    /// Nothing for a core that has only just come, or whose counters went back.
    std::optional<CpuUse> use;

    bool operator==(const CoreUse &) const = default;
};

/// In bytes.
struct MemoryUse
{
    qint64 total = 0;
    /// What programs can still get without swapping.
    qint64 available = 0;
    qint64 swapTotal = 0;
    qint64 swapFree = 0;

    bool operator==(const MemoryUse &) const = default;
};

/// How full a file system is, in bytes and files; those kept for the administrator count as neither used nor free.
struct DiskSpace
{
    qint64 total = 0;
    qint64 used = 0;
    /// For this user.
    qint64 available = 0;
    /// 0 for file systems that make them as needed.
    qint64 inodes = 0;
    qint64 inodesUsed = 0;

    /// From 0 to 1, as df counts it: of what this user can fill.
    double share() const { return used + available > 0 ? double(used) / double(used + available) : 0; }

    bool operator==(const DiskSpace &) const = default;
};

/// A mounted file system that holds files of its own.
struct LocalDisk
{
    QString mountPoint;
    /// The device or the server.
    QString source;
    QString type;
    bool isNetwork = false;
    /// Nothing before it has been told, and while the file system does not answer.
    std::optional<DiskSpace> space;
    /// It was asked for its space a while ago and has not answered.
    bool isSilent = false;
    /// What was read ("in") and written; nothing when the kernel does not count it.
    std::optional<Throughput> rate;

    bool operator==(const LocalDisk &) const = default;
};

struct LocalInterface
{
    QString name;
    bool isLoopback = false;
    /// A device rather than a bridge, a tunnel or the like, whose bytes pass through a device as well.
    bool isDevice = false;
    /// Nothing at first and when the counters went back.
    std::optional<Throughput> rate;
    /// Since the interface came up.
    quint64 received = 0;
    quint64 sent = 0;

    bool operator==(const LocalInterface &) const = default;
};

struct Battery
{
    /// From 0 to 100.
    int percent = 0;
    /// The kernel's word: "Charging", "Discharging", "Full", "Not charging".
    QString status;

    bool operator==(const Battery &) const = default;
};

struct Temperature
{
    QString name;
    double celsius = 0;

    bool operator==(const Temperature &) const = default;
};

struct LocalProcess
{
    qint64 pid = 0;
    qint64 parent = 0;
    /// In clock ticks since the machine started; with the pid it tells a process from a later one of the same number.
    quint64 startTime = 0;
    QString name;
    /// Empty for the kernel's own threads.
    QString commandLine;
    QString user;
    /// Per cent of one CPU; nothing before two readings have seen it.
    std::optional<double> cpu;
    /// In bytes, what it shares with others included.
    qint64 memory = 0;
    int threads = 0;
    /// The kernel's letter: R running, S sleeping, D waiting for a device, T stopped, Z ended but not yet buried.
    char state = '?';
    bool isOfKernel = false;

    bool operator==(const LocalProcess &) const = default;
};

using LocalProcesses = std::vector<LocalProcess>;

/// This machine at one moment. Rates and per cents are of the time since the reading before, absent in the first one.
struct LocalStats
{
    QDateTime time;
    std::optional<CpuUse> cpu;
    QList<CoreUse> cores;
    std::optional<MemoryUse> memory;
    QList<LocalDisk> disks;
    QList<LocalInterface> interfaces;
    std::optional<Battery> battery;
    QList<Temperature> temperatures;
    /// Seconds; 0 when unknown.
    double uptime = 0;
    QList<double> load;
    /// Null where the reading was not to include them.
    std::shared_ptr<const LocalProcesses> processes;
    QString hostName;
    QString osVersion;

    /// Of the devices or, where there are none, of all interfaces but the loopback.
    std::optional<Throughput> network() const;
    /// The file system that holds "/"; null when there is none.
    const LocalDisk *rootDisk() const;
    /// In the form of a server's.
    RemoteStats asRemoteStats() const;
};

} // namespace moorix
