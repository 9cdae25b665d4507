// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <optional>

/// How figures of a machine are written; an em dash for what is unknown. Any thread.
namespace moorix::monitorText {

/// "3 d 4 h", "4 h 36 min", "12 min"; of seconds.
QString uptime(double seconds);
/// "0.52  0.58  0.59"
QString load(const QList<double> &averages);
/// "6.2 of 16.4 GB (38 %)"; of KiB.
QString used(const std::optional<qint64> &usedKB, const std::optional<qint64> &totalKB);
QString count(qint64 number);
/// "38 %"; of a share from 0 to 1.
QString percent(const std::optional<double> &share);
/// "1.2 MB/s"; of bytes.
QString rate(const std::optional<double> &bytesPerSecond);

} // namespace moorix::monitorText
