// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FileItemJson.h"

#include "base/Json.h"

namespace moorix {

using namespace Qt::StringLiterals;

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

FileItem fileItemFromJson(const JsonReader &reader)
{
    FileItem item;
    item.name = reader.requiredString(u"name"_s);
    item.path = reader.requiredString(u"path"_s);
    item.isDirectory = reader.requiredBool(u"isDirectory"_s);
    item.isSymlink = reader.requiredBool(u"isSymlink"_s);
    item.size = reader.requiredInteger(u"size"_s);
    item.modified = reader.optionalDate(u"modified"_s);
    item.permissions = reader.optionalString(u"permissions"_s);
    item.ownerName = reader.optionalString(u"ownerName"_s);
    return item;
}

} // namespace moorix
