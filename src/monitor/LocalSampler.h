// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "monitor/CpuTimes.h"
#include "monitor/LocalDisks.h"
#include "monitor/ProcessTable.h"

namespace moorix {

/// Reads this machine again and again, and makes rates of what it counts. For one worker at a time, but not always the
/// same one.
class LocalSampler final
{
public:
    /// How full the file system at a path is.
    using SpaceReader = std::function<std::optional<DiskSpace>(const QString &mountPoint)>;
    struct Options
    {
        /// The folders that are /proc and /sys.
        QString proc = QStringLiteral("/proc");
        QString sys = QStringLiteral("/sys");
        Clock clock = systemNow;
        /// Nanoseconds of a clock that is never set.
        std::function<qint64()> ticker = {};
        /// For whoever asks for the space apart from the rest. Called on workers; may wait as long as it likes.
        SpaceReader readSpace = localDisks::space;
    };
    enum class Processes { leaveOut, include };

    LocalSampler();
    explicit LocalSampler(Options options);

    /// File systems come without their space, which may take as long as a dead server. Throws an Error when there is
    /// no /proc to read.
    LocalStats sample(Processes processes);

private:
    struct Before
    {
        qint64 at = 0;
        QList<CpuTimes> cpus;
        QHash<QString, localDisks::Counters> disks;
        QHash<QString, std::pair<quint64, quint64>> interfaces;
    };

    std::optional<QByteArrayView> content(const QString &name);
    void readCpus(LocalStats &stats, Before &now);
    void readDisks(LocalStats &stats, Before &now);
    void readInterfaces(LocalStats &stats, Before &now);
    void readSlowOnes(LocalStats &stats);
    void readUptime(LocalStats &stats);
    /// Since the reading before; 0 when there is none that counts.
    double seconds(const Before &now) const;

    Options m_options;
    ProcessTable m_table;
    std::optional<Before> m_before;
    QByteArray m_buffer;
    /// By name; looked up once.
    QHash<QString, bool> m_isDevice;
    std::optional<Battery> m_battery;
    QList<Temperature> m_temperatures;
    qint64 m_slowReadAt = 0;
    QString m_hostName;
    QString m_osVersion;
};

} // namespace moorix
