// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MonitoredHost.h"
#include "monitor/MonitorText.h"

/// What the dashboard says of a machine. Knows no widgets.
namespace moorix::HostText {

/// In place of the cards, or above them.
struct Message
{
    /// Empty when there is nothing to say.
    QString title = {};
    QString text = {};
    bool isFailure = false;
    bool offersConnecting = false;
};

Message message(const MonitoredHost &host);
/// Shown while no server is.
Message noServer();
/// "web-01 · Linux 6.1.0"
QString system(const RemoteStats &stats);
/// "6.2 GB of 16.4 GB"; of KiB.
QString usedOf(const std::optional<qint64> &usedKB, const std::optional<qint64> &totalKB);
/// "37 %"
QString busy(const std::optional<CpuUse> &cpu);
/// "user 20 · system 12 · wait 3", in per cent; empty at first.
QString cpuParts(const LocalStats &stats);
/// With the swap, if there is any.
QString memory(const LocalStats &stats);
/// A line for what goes to and from "/", and one for each of the other file systems.
QString disks(const LocalStats &stats);
/// "since 3 Mar 2026 10:00"; empty when unknown.
QString bootTime(double uptime, const QDateTime &now);
/// "347 threads, 2 running"
QString threads(const LocalStats &stats);
/// Battery and temperatures in one line; empty without any.
QString sensors(const LocalStats &stats);

} // namespace moorix::HostText
