// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncPair.h"

#include "base/Json.h"

namespace moorix {

using namespace Qt::StringLiterals;

SyncPair SyncPair::fromJson(const JsonReader &reader)
{
    SyncPair pair;
    pair.id = reader.requiredUuid(u"id"_s);
    pair.name = reader.requiredString(u"name"_s);
    pair.localPath = reader.requiredString(u"localPath"_s);
    pair.serverID = reader.requiredUuid(u"serverID"_s);
    pair.remotePath = reader.requiredString(u"remotePath"_s);
    const QJsonArray patterns = reader.requiredArray(u"ignorePatterns"_s);
    for (const QJsonValue &pattern : patterns) {
        if (!pattern.isString())
            reader.fail(u"ignorePatterns"_s, u"holds something else than texts"_s);
        pair.ignorePatterns.append(pattern.toString());
    }
    return pair;
}

void SyncPair::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.field(u"id", uuidText(id));
    writer.field(u"name", name);
    writer.field(u"localPath", localPath);
    writer.field(u"serverID", uuidText(serverID));
    writer.field(u"remotePath", remotePath);
    writer.key(u"ignorePatterns");
    writer.beginArray();
    for (const QString &pattern : ignorePatterns)
        writer.value(pattern);
    writer.endArray();
    writer.endObject();
}

} // namespace moorix
