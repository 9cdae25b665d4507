// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

/// What the machine's own sensors and counters say, besides processors and disks. `sys` is the folder that is /sys.
/// Worker threads; nothing here throws.
namespace moorix::localSensors {

/// The contents of /proc/net/dev without rates.
QList<LocalInterface> parseInterfaces(QByteArrayView content);
/// Nothing for contents without a total.
std::optional<MemoryUse> parseMemory(QByteArrayView content);
/// The battery that runs the machine, not that of a mouse.
std::optional<Battery> battery(const QString &sys);
/// Those of sensor chips or, where there are none, of thermal zones. May take a few milliseconds each.
QList<Temperature> temperatures(const QString &sys);
/// Whether an interface is a device rather than something the kernel makes up.
bool isDevice(const QString &sys, const QString &interface);

} // namespace moorix::localSensors
