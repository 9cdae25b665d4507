// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/FileItemJson.h"

#include "base/Json.h"

namespace moorix {

void writeJson(JsonWriter &writer, const FileItem &item)
{
    writer.beginObject();
    writer.field(u"name", QJsonValue(item.name));
    writer.field(u"path", QJsonValue(item.path));
    writer.field(u"isDirectory", QJsonValue(item.isDirectory));
    writer.field(u"isSymlink", QJsonValue(item.isSymlink));
    writer.field(u"size", QJsonValue(item.size));
    writer.field(u"modified", item.modified);
    writer.field(u"permissions", item.permissions);
    writer.field(u"ownerName", item.ownerName);
    writer.endObject();
}

} // namespace moorix
