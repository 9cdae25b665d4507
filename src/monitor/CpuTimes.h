// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

#include <array>

namespace moorix {

/// The counters of one processor, or of all, since the machine started, in clock ticks.
struct CpuTimes
{
    /// -1 stands for all of them together.
    int number = -1;
    /// user, nice, system, idle, iowait, irq, softirq, steal; a kernel that counts fewer leaves the rest at 0.
    std::array<quint64, 8> ticks = {};

    /// Those of /proc/stat. Lines that cannot be read are left out.
    static QList<CpuTimes> parse(QByteArrayView content);
    /// What happened since `before`. Single counters that went back count as not having moved; nothing when none has
    /// moved.
    std::optional<CpuUse> since(const CpuTimes &before) const;

    bool operator==(const CpuTimes &) const = default;
};

} // namespace moorix
