// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/MonitorText.h"

#include "files/Format.h"

#include <QLocale>
#include <QStringList>

#include <cmath>

namespace moorix::monitorText {

using namespace Qt::StringLiterals;

namespace {

const QString unknown = u"—"_s;

} // namespace

QString uptime(double seconds)
{
    constexpr qint64 minute = 60;
    constexpr qint64 hour = 60 * minute;
    constexpr qint64 day = 24 * hour;
    constexpr double longest = 1e12;
    if (!(seconds > 0) || seconds > longest)
        return unknown;
    const auto whole = qint64(seconds);
    const auto two = [](qint64 first, const QString &firstUnit, qint64 second, const QString &secondUnit) {
        return u"%1 %2 %3 %4"_s.arg(QLocale().toString(first), firstUnit).arg(second).arg(secondUnit);
    };
    if (whole < minute)
        return u"%1 s"_s.arg(whole);
    if (whole < hour)
        return u"%1 min"_s.arg(whole / minute);
    if (whole < day)
        return two(whole / hour, u"h"_s, whole % hour / minute, u"min"_s);
    return two(whole / day, u"d"_s, whole % day / hour, u"h"_s);
}

QString load(const QList<double> &averages)
{
    QStringList texts;
    for (const double average : averages)
        texts << QLocale().toString(average, 'f', 2);
    return texts.isEmpty() ? unknown : texts.join(u"  "_s);
}

QString used(const std::optional<qint64> &usedKB, const std::optional<qint64> &totalKB)
{
    constexpr qint64 kibibyte = 1024;
    constexpr qint64 most = qint64(1) << 52;
    if (!totalKB || *totalKB <= 0 || *totalKB > most)
        return unknown;
    const QString total = Format::byteCount(*totalKB * kibibyte);
    if (!usedKB || *usedKB < 0 || *usedKB > *totalKB)
        return u"of "_s + total;
    return u"%1 of %2 (%3)"_s.arg(Format::byteCount(*usedKB * kibibyte), total,
                                  percent(double(*usedKB) / double(*totalKB)));
}

QString count(qint64 number)
{
    return number > 0 ? QLocale().toString(number) : unknown;
}

QString percent(const std::optional<double> &share)
{
    constexpr double hundred = 100;
    return share && std::isfinite(*share) ? u"%1 %"_s.arg(std::llround(*share * hundred)) : unknown;
}

QString rate(const std::optional<double> &bytesPerSecond)
{
    constexpr double most = 1e15;
    return bytesPerSecond && *bytesPerSecond >= 0 && *bytesPerSecond < most
               ? Format::byteCount(qint64(*bytesPerSecond)) + u"/s"_s
               : unknown;
}

} // namespace moorix::monitorText
