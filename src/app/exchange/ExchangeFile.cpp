// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/ExchangeFile.h"

#include "app/ProgramInfo.h"
#include "app/exchange/SecretStripping.h"
#include "base/Json.h"

#include <QJsonDocument>
#include <QSet>

#include <algorithm>

namespace moorix::exchangeFile {

using namespace Qt::StringLiterals;

namespace {

using Kind = ExchangeContent::Kind;

const QString configurationFormat = u"moorix-configuration"_s;
const QString serversFormat = u"moorix-servers"_s;

[[noreturn]] void refuse(const QString &name, const QString &why)
{
    throw Error(u"Import"_s, u"“%1” cannot be imported: %2"_s.arg(name, why));
}

template <class Record>
void writeList(JsonWriter &writer, QStringView key, const QList<Record> &records)
{
    writer.key(key);
    writer.beginArray();
    for (const Record &record : records)
        record.writeJson(writer);
    writer.endArray();
}

void writeLibrary(JsonWriter &writer, const ServerLibrary &library)
{
    writeList(writer, u"folders", library.folders);
    writer.key(u"servers");
    writer.beginArray();
    for (const ServerConnection &server : library.servers)
        exported(server).writeJson(writer);
    writer.endArray();
}

void writeConfiguration(JsonWriter &writer, const ExchangeDocuments &documents)
{
    writer.key(u"settings");
    writer.beginObject();
    for (auto setting = documents.settings.begin(); setting != documents.settings.end(); ++setting)
        writer.field(setting.key(), exported(setting.value()));
    writer.endObject();
    writer.key(u"library");
    writer.beginObject();
    writeLibrary(writer, documents.library);
    writer.endObject();
    writer.key(u"backups");
    writer.beginArray();
    for (const BackupJob &job : documents.backups)
        exported(job).writeJson(writer);
    writer.endArray();
    writeList(writer, u"syncPairs", documents.syncPairs);
}

/// Before records are made of it: a file of many empty ones would take far more memory than it is long.
void requireFew(const QJsonObject &object, const QString &key, const QString &what, qsizetype most)
{
    if (object.value(key).toArray().size() > most)
        throw Error(u"Import"_s, u"It holds more than %1 %2."_s.arg(most).arg(what));
}

/// A circle of folders has no level; the store takes it apart.
void requireFlat(const QList<ServerFolder> &folders)
{
    QHash<QUuid, std::optional<QUuid>> parents;
    for (const ServerFolder &folder : folders)
        parents.insert(folder.id, folder.parentID);
    for (const ServerFolder &folder : folders) {
        QSet<QUuid> above{folder.id};
        for (auto parent = folder.parentID; parent && !above.contains(*parent); parent = parents.value(*parent))
            above.insert(*parent);
        if (above.size() > exchangeLimits::mostLevels)
            throw Error(u"Import"_s,
                        u"Its folders are nested deeper than %1 levels."_s.arg(exchangeLimits::mostLevels));
    }
}

ServerLibrary libraryFrom(const QJsonObject &object)
{
    requireFew(object, u"folders"_s, u"folders"_s, exchangeLimits::mostFolders);
    requireFew(object, u"servers"_s, u"servers"_s, exchangeLimits::mostServers);
    return ServerLibrary::decode(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

template <class Record>
QList<Record> readList(const JsonReader &reader, const QString &key, const QString &what)
{
    const QJsonArray values = reader.requiredArray(key);
    QList<Record> records;
    for (qsizetype i = 0; i < values.size(); ++i)
        records.append(Record::fromJson(reader.element(values, i, u"%1 %2"_s.arg(what).arg(i + 1))));
    return records;
}

/// What stands behind it would be cut off wherever a program gets the text: another folder than the one that is shown.
bool holdsNull(const QJsonValue &value)
{
    if (value.isString())
        return value.toString().contains(QChar::Null);
    const QJsonArray array = value.toArray();
    if (value.isArray())
        return std::any_of(array.begin(), array.end(), [](const QJsonValue &each) { return holdsNull(each); });
    const QJsonObject object = value.toObject();
    return std::any_of(object.begin(), object.end(), [](const QJsonValue &each) { return holdsNull(each); });
}

template <class Record>
void requireDistinct(const QList<Record> &records, const QString &what)
{
    QSet<QUuid> seen;
    for (const Record &record : records) {
        if (seen.contains(record.id) || record.id == ServerConnection::localTerminalID)
            throw Error(u"Import"_s, u"The id %1 cannot be that of one more %2."_s.arg(uuidText(record.id), what));
        seen.insert(record.id);
    }
}

void requireDistinct(const ExchangeDocuments &documents)
{
    requireDistinct(documents.library.folders, u"folder"_s);
    requireDistinct(documents.library.servers, u"server"_s);
    requireDistinct(documents.backups, u"backup"_s);
    requireDistinct(documents.syncPairs, u"folder pair"_s);
}

ExchangeContent decodeObject(const QJsonObject &object, const QString &format)
{
    ExchangeContent content;
    if (format != configurationFormat) {
        content.documents.library = libraryFrom(object);
        return content;
    }
    content.kind = Kind::configuration;
    const JsonReader reader(object, u"the configuration"_s);
    content.documents.settings = reader.requiredObject(u"settings"_s);
    content.documents.library = libraryFrom(reader.requiredObject(u"library"_s));
    requireFew(object, u"backups"_s, u"backups"_s, exchangeLimits::mostOthers);
    requireFew(object, u"syncPairs"_s, u"folder pairs"_s, exchangeLimits::mostOthers);
    content.documents.backups = readList<BackupJob>(reader, u"backups"_s, u"backup"_s);
    for (BackupJob &job : content.documents.backups)
        job = exported(std::move(job));
    content.documents.syncPairs = readList<SyncPair>(reader, u"syncPairs"_s, u"folder pair"_s);
    return content;
}

/// The format that the document claims to have; empty for a bare library.
QString formatOf(const QJsonObject &object, const QString &name)
{
    const QString format = object.value(u"format"_s).toString();
    if (format == configurationFormat || format == serversFormat)
        return format;
    if (!object.contains(u"format"_s) && object.contains(u"folders"_s) && object.contains(u"servers"_s))
        return {};
    refuse(name, u"it is no export of Moorix."_s);
}

} // namespace

BackupJob exported(BackupJob job)
{
    job.lastRun.reset();
    job.lastStatus.clear();
    job.lastSuccess = false;
    return job;
}

ServerConnection exported(ServerConnection server)
{
    server.notes = withoutSecrets(server.notes);
    return server;
}

QJsonValue exported(const QJsonValue &setting)
{
    return setting.isString() ? QJsonValue(withoutSecrets(setting.toString())) : setting;
}

QString usualName(Kind kind)
{
    return kind == Kind::configuration ? u"Moorix-Config.json"_s : u"Moorix-Servers.json"_s;
}

QByteArray encode(const ExchangeDocuments &documents, Kind kind, const QDateTime &exportedAt)
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"format", kind == Kind::configuration ? configurationFormat : serversFormat);
    writer.field(u"version", latestVersion);
    writer.field(u"program", ProgramInfo::version());
    writer.field(u"exported", dateText(exportedAt));
    if (kind == Kind::configuration)
        writeConfiguration(writer, documents);
    else
        writeLibrary(writer, documents.library);
    writer.endObject();
    return writer.bytes();
}

ExchangeContent decode(const QByteArray &bytes, const QString &name)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &problem);
    if (problem.error != QJsonParseError::NoError)
        refuse(name, u"it is damaged (%1, at byte %2)."_s.arg(problem.errorString()).arg(problem.offset));
    const QString format = formatOf(document.object(), name);
    if (!format.isEmpty()) {
        const QJsonValue version = document.object().value(u"version"_s);
        if (!version.isDouble() || version.toDouble() < 1)
            refuse(name, u"it is damaged (it does not tell the version of its format)."_s);
        if (version.toDouble() > latestVersion) {
            refuse(name, u"a newer version of Moorix has written it (format %1; this one reads formats up to %2)."_s
                             .arg(version.toDouble())
                             .arg(latestVersion));
        }
    }
    if (holdsNull(document.object()))
        refuse(name, u"it is damaged (one of its texts holds a null character)."_s);
    try {
        ExchangeContent content = decodeObject(document.object(), format);
        requireDistinct(content.documents);
        requireFlat(content.documents.library.folders);
        return content;
    } catch (const Error &error) {
        refuse(name, u"it is damaged. %1"_s.arg(error.message()));
    }
}

} // namespace moorix::exchangeFile
