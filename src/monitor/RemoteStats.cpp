// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/RemoteStats.h"

#include "base/Json.h"

namespace moorix {

namespace {

std::optional<double> share(const std::optional<qint64> &used, const std::optional<qint64> &total)
{
    if (!used || !total || *total <= 0 || *used < 0 || *used > *total)
        return std::nullopt;
    return double(*used) / double(*total);
}

QJsonValue orNull(const std::optional<qint64> &number)
{
    return number ? QJsonValue(*number) : QJsonValue();
}

} // namespace

void ProcInfo::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.field(u"id", id);
    writer.field(u"name", name);
    writer.field(u"cpu", cpu);
    writer.field(u"mem", mem);
    writer.endObject();
}

std::optional<double> RemoteStats::memoryShare() const
{
    return share(memUsedKB, memTotalKB);
}

std::optional<double> RemoteStats::diskShare() const
{
    return share(diskUsedKB, diskTotalKB);
}

std::optional<double> RemoteStats::loadShare() const
{
    if (load.isEmpty() || cores <= 0 || load.constFirst() < 0)
        return std::nullopt;
    return load.constFirst() / double(cores);
}

void RemoteStats::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.key(u"load");
    writer.beginArray();
    for (const double average : load)
        writer.value(average);
    writer.endArray();
    writer.field(u"cores", cores);
    writer.field(u"memUsedKB", orNull(memUsedKB));
    writer.field(u"memTotalKB", orNull(memTotalKB));
    writer.field(u"diskUsedKB", orNull(diskUsedKB));
    writer.field(u"diskTotalKB", orNull(diskTotalKB));
    writer.field(u"uptime", uptime);
    writer.field(u"processCount", processCount);
    writer.key(u"topProcesses");
    writer.beginArray();
    for (const ProcInfo &process : topProcesses)
        process.writeJson(writer);
    writer.endArray();
    writer.field(u"hostName", hostName);
    writer.field(u"osVersion", osVersion);
    writer.endObject();
}

} // namespace moorix
