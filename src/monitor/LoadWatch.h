// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

#include <array>

namespace moorix {

/// Something that can run short.
enum class Resource { cpu, memory, swap, disk };
inline constexpr std::array allResources{Resource::cpu, Resource::memory, Resource::swap, Resource::disk};

/// How much of each is in use, in per cent; absent where it is unknown or there is none.
struct LoadLevels
{
    std::optional<double> cpu;
    std::optional<double> memory;
    std::optional<double> swap;
    std::optional<double> disk;
    /// The file system that `disk` is about.
    QString diskName = QStringLiteral("/");
    /// Who may be guilty, in any order.
    QList<ProcInfo> processes;

    static LoadLevels of(const RemoteStats &stats);
    /// The fullest file system is the one that counts.
    static LoadLevels of(const LocalStats &stats);
    std::optional<double> level(Resource resource) const;
};

/// Notices when a resource runs short for a while, and when it has recovered. Knows nothing of where it is told.
class LoadWatch final
{
public:
    struct Limit
    {
        /// Per cent.
        double above = 90;
        /// It counts as short until it falls below this.
        double quietBelow = 85;
        /// So many readings in a row.
        int readings = 10;
    };
    struct Alert
    {
        Resource resource = Resource::cpu;
        /// "Memory is 93 % full. firefox uses 41 %."
        QString text;

        bool operator==(const Alert &) const = default;
    };

    explicit LoadWatch(Limit limit)
        : m_limit(limit)
    {
    }

    /// Takes a reading. Returns what has begun to run short with it; each only once until it has recovered. A reading
    /// without a level leaves things as they are.
    QList<Alert> take(const LoadLevels &levels);
    /// What is short, with the figures of the last reading.
    QList<Alert> current() const;

private:
    struct State
    {
        int readingsAbove = 0;
        bool isShort = false;
        QString text;
    };

    Limit m_limit;
    std::array<State, allResources.size()> m_states;
};

} // namespace moorix
