// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Values of options as users write them. All throw a UsageError that names the option and what it takes.
namespace moorix::optionValues {

qint64 number(const QString &option, const QString &text, qint64 minimum, qint64 maximum);
/// "500K", "1.5 MB/s" and the like in bytes per second, 0 for "none". Units are 1000-based.
qint64 speed(const QString &option, const QString &text);
/// "yes" or "no"; "on", "off", "true" and "false" as well.
bool yesOrNo(const QString &option, const QString &text);

} // namespace moorix::optionValues
