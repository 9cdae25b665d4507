// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncEntry.h"

#include "base/Json.h"

#include <QHashFunctions>

#include <cstdlib>

namespace moorix {

using namespace Qt::StringLiterals;

bool SyncEntry::isEqual(const SyncEntry &a, const SyncEntry &b, double toleranceSeconds)
{
    if (a.isDirectory || b.isDirectory)
        return a.isDirectory && b.isDirectory;
    if (a.size != b.size)
        return false;
    if (!a.modified || !b.modified)
        return true;
    return double(std::abs(a.modified->msecsTo(*b.modified))) <= toleranceSeconds * 1000;
}

SyncEntry SyncEntry::fromJson(const JsonReader &reader)
{
    return {reader.requiredInteger(u"size"_s), reader.optionalDate(u"modified"_s),
            reader.requiredBool(u"isDirectory"_s)};
}

void SyncEntry::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.field(u"size", size);
    writer.field(u"modified", modified);
    writer.field(u"isDirectory", isDirectory);
    writer.endObject();
}

size_t qHash(const SyncEntry &entry, size_t seed) noexcept
{
    const qint64 time = entry.modified ? entry.modified->toMSecsSinceEpoch() : 0;
    return qHashMulti(seed, entry.size, entry.modified.has_value(), time, entry.isDirectory);
}

SyncEntries readSyncEntries(const JsonReader &reader, const QString &key)
{
    const QJsonObject object = reader.requiredObject(key);
    SyncEntries entries;
    for (auto entry = object.constBegin(); entry != object.constEnd(); ++entry) {
        if (!entry->isObject())
            reader.fail(key, u"holds something else than entries"_s);
        // In their order already, so that each goes to the end.
        entries.insert(entries.cend(), entry.key(),
                       SyncEntry::fromJson(JsonReader(entry->toObject(), u"the entry “%1”"_s.arg(entry.key()))));
    }
    return entries;
}

void writeSyncEntries(JsonWriter &writer, QStringView key, const SyncEntries &entries)
{
    writer.key(key);
    writer.beginObject();
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
        writer.key(entry.key());
        entry->writeJson(writer);
    }
    writer.endObject();
}

} // namespace moorix
