// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncJournal.h"

#include "base/Json.h"

namespace moorix {

using namespace Qt::StringLiterals;

void SyncJournal::mergeInto(std::optional<SyncManifest> &manifest, const SyncEntries &local,
                            const SyncEntries &remote) const
{
    if (isEmpty())
        return;
    const bool isFirst = !manifest;
    if (isFirst)
        manifest.emplace();
    const auto merge = [isFirst](const SyncEntries &copied, const SyncEntries &source, const SyncEntries &target,
                                 SyncEntries &sourceBaseline, SyncEntries &targetBaseline) {
        for (auto original = copied.cbegin(); original != copied.cend(); ++original) {
            const auto arrived = target.constFind(original.key());
            if (arrived == target.cend() || !SyncEntry::isEqual(*original, *arrived, syncToleranceSeconds) ||
                (isFirst && !source.contains(original.key())))
                continue;
            sourceBaseline.insert(original.key(), *original);
            targetBaseline.insert(original.key(), *arrived);
        }
    };
    merge(toLocal, remote, local, manifest->remoteEntries, manifest->localEntries);
    merge(toRemote, local, remote, manifest->localEntries, manifest->remoteEntries);
}

SyncJournal SyncJournal::decode(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, u"the sync journal"_s);
    return {readSyncEntries(reader, u"toLocal"_s), readSyncEntries(reader, u"toRemote"_s)};
}

QByteArray SyncJournal::encode() const
{
    JsonWriter writer;
    writer.beginObject();
    writeSyncEntries(writer, u"toLocal", toLocal);
    writeSyncEntries(writer, u"toRemote", toRemote);
    writer.endObject();
    return writer.bytes();
}

} // namespace moorix
