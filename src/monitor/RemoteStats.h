// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace moorix {

class JsonWriter;

/// One process as it is listed among the busiest.
struct ProcInfo
{
    qint64 id = 0;
    /// The command.
    QString name;
    /// Per cent of one CPU.
    double cpu = 0;
    /// Per cent of memory.
    double mem = 0;

    void writeJson(JsonWriter &writer) const;

    bool operator==(const ProcInfo &) const = default;
};

/// The health of one machine at one moment. What could not be read is empty, 0 or absent.
struct RemoteStats
{
    /// Averages of 1, 5 and 15 minutes; empty when unknown.
    QList<double> load;
    /// Processors that are online; 0 when unknown.
    qint64 cores = 0;
    /// In KiB: total minus available. Below 0 for a server that contradicts itself.
    std::optional<qint64> memUsedKB;
    std::optional<qint64> memTotalKB;
    /// Blocks of 1 KiB of the file system that holds "/".
    std::optional<qint64> diskUsedKB;
    std::optional<qint64> diskTotalKB;
    /// Seconds since the machine started; 0 when unknown.
    double uptime = 0;
    /// 0 when unknown.
    qint64 processCount = 0;
    /// At most eight, the busiest first.
    QList<ProcInfo> topProcesses;
    QString hostName;
    /// Name and release of the kernel.
    QString osVersion;

    /// Nothing at all could be read.
    bool isEmpty() const { return *this == RemoteStats(); }
    /// The part in use, from 0 to 1; nothing when it is unknown or cannot be.
    std::optional<double> memoryShare() const;
    std::optional<double> diskShare() const;
    /// The load of the last minute for each core, 1 being all there is; nothing when unknown.
    std::optional<double> loadShare() const;

    /// One object whose keys are the field names in the order above; absent values are null.
    void writeJson(JsonWriter &writer) const;

    bool operator==(const RemoteStats &) const = default;
};

} // namespace moorix
