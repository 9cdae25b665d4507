// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LocalSensors.h"

#include "monitor/ProcText.h"

#include <QDir>

#include <algorithm>

namespace moorix::localSensors {

using namespace Qt::StringLiterals;
using procText::readInteger;
using procText::readText;
using procText::takeLine;
using procText::takeWord;
using procText::unsignedNumber;

namespace {

constexpr double millidegrees = 1000;
constexpr qsizetype mostSensors = 32;

QStringList foldersOf(const QString &path, const QString &pattern)
{
    return QDir(path).entryList({pattern}, QDir::Dirs | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

/// Sensors that are not there report nonsense.
bool isPlausible(qint64 value)
{
    constexpr qint64 coldest = -50'000;
    constexpr qint64 hottest = 150'000;
    return value > coldest && value < hottest && value != 0;
}

QList<Temperature> ofChip(const QString &folder)
{
    QList<Temperature> found;
    const QString chip = readText(folder + u"/name"_s);
    const QStringList inputs = QDir(folder).entryList({u"temp*_input"_s}, QDir::Files | QDir::System, QDir::Name);
    for (const QString &input : inputs) {
        const auto value = readInteger(folder + u'/' + input);
        if (!value || !isPlausible(*value))
            continue;
        const QString label = readText(folder + u'/' + input.section(u'_', 0, 0) + u"_label"_s);
        found << Temperature{label.isEmpty() ? chip : chip + u' ' + label, double(*value) / millidegrees};
    }
    return found;
}

std::optional<int> chargeOf(const QString &folder)
{
    constexpr int full = 100;
    if (const auto percent = readInteger(folder + u"/capacity"_s))
        return int(std::clamp<qint64>(*percent, 0, full));
    for (const QString &unit : {u"energy"_s, u"charge"_s}) {
        const auto now = readInteger(u"%1/%2_now"_s.arg(folder, unit));
        const auto most = readInteger(u"%1/%2_full"_s.arg(folder, unit));
        if (now && most && *most > 0)
            return int(std::clamp(full * double(*now) / double(*most), 0.0, double(full)));
    }
    return std::nullopt;
}

} // namespace

QList<LocalInterface> parseInterfaces(QByteArrayView content)
{
    QList<LocalInterface> interfaces;
    while (!content.isEmpty()) {
        const QByteArrayView line = takeLine(content);
        const qsizetype colon = line.lastIndexOf(':');
        if (colon < 0)
            continue;
        LocalInterface interface;
        interface.name = QString::fromUtf8(line.first(colon)).trimmed();
        interface.isLoopback = interface.name == u"lo"_s;
        QByteArrayView counters = line.sliced(colon + 1);
        interface.received = unsignedNumber(takeWord(counters));
        for (int skipped = 0; skipped < 7; ++skipped)
            takeWord(counters);
        const QByteArrayView sent = takeWord(counters);
        interface.sent = unsignedNumber(sent);
        if (!sent.isEmpty())
            interfaces << interface;
    }
    return interfaces;
}

std::optional<MemoryUse> parseMemory(QByteArrayView content)
{
    constexpr quint64 most = quint64(1) << 52U;
    MemoryUse memory;
    std::optional<qint64> available;
    qint64 withoutCount = 0;
    while (!content.isEmpty()) {
        QByteArrayView line = takeLine(content);
        const QByteArrayView key = takeWord(line);
        const qint64 bytes = qint64(std::min(unsignedNumber(takeWord(line)), most)) * 1024;
        if (key == "MemTotal:")
            memory.total = bytes;
        else if (key == "MemAvailable:")
            available = bytes;
        else if (key == "MemFree:" || key == "Buffers:" || key == "Cached:")
            withoutCount += bytes;
        else if (key == "SwapTotal:")
            memory.swapTotal = bytes;
        else if (key == "SwapFree:")
            memory.swapFree = bytes;
    }
    if (memory.total <= 0)
        return std::nullopt;
    // Kernels before 3.14 do not say; the guess is the one they recommended.
    memory.available = std::min(available.value_or(withoutCount), memory.total);
    memory.swapFree = std::min(memory.swapFree, memory.swapTotal);
    return memory;
}

std::optional<Battery> battery(const QString &sys)
{
    const QString supplies = sys + u"/class/power_supply"_s;
    for (const QString &name : foldersOf(supplies, u"*"_s)) {
        const QString folder = supplies + u'/' + name;
        if (readText(folder + u"/type"_s) != u"Battery"_s || readText(folder + u"/scope"_s) == u"Device"_s)
            continue;
        if (const auto percent = chargeOf(folder))
            return Battery{*percent, readText(folder + u"/status"_s)};
    }
    return std::nullopt;
}

QList<Temperature> temperatures(const QString &sys)
{
    QList<Temperature> found;
    const QString chips = sys + u"/class/hwmon"_s;
    for (const QString &chip : foldersOf(chips, u"hwmon*"_s))
        found += ofChip(chips + u'/' + chip);
    const QString zones = sys + u"/class/thermal"_s;
    if (found.isEmpty()) {
        for (const QString &zone : foldersOf(zones, u"thermal_zone*"_s)) {
            const QString folder = zones + u'/' + zone;
            const auto value = readInteger(folder + u"/temp"_s);
            if (value && isPlausible(*value))
                found << Temperature{readText(folder + u"/type"_s), double(*value) / millidegrees};
        }
    }
    return found.first(std::min(found.size(), mostSensors));
}

bool isDevice(const QString &sys, const QString &interface)
{
    return !interface.contains(u'/') && QFileInfo::exists(u"%1/class/net/%2/device"_s.arg(sys, interface));
}

} // namespace moorix::localSensors
