// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncPairLibrary.h"

#include "base/Json.h"

namespace moorix {

using namespace Qt::StringLiterals;

SyncPairLibrary SyncPairLibrary::decode(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, u"the list of folder pairs"_s);
    SyncPairLibrary library;
    const QJsonArray pairs = reader.requiredArray(u"pairs"_s);
    for (qsizetype i = 0; i < pairs.size(); ++i)
        library.pairs.append(SyncPair::fromJson(reader.element(pairs, i, u"folder pair %1"_s.arg(i + 1))));
    library.lastModified = reader.optionalDate(u"lastModified"_s);
    return library;
}

QByteArray SyncPairLibrary::encode() const
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"pairs");
    writer.beginArray();
    for (const SyncPair &pair : pairs)
        pair.writeJson(writer);
    writer.endArray();
    writer.field(u"lastModified", lastModified);
    writer.endObject();
    return writer.bytes();
}

} // namespace moorix
