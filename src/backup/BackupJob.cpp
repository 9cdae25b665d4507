// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupJob.h"

#include "base/Json.h"

#include <algorithm>
#include <array>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array frequencies{std::pair{BackupFrequency::daily, u"daily"},
                                 std::pair{BackupFrequency::weekly, u"weekly"},
                                 std::pair{BackupFrequency::monthly, u"monthly"}};

BackupFrequency frequencyIn(const JsonReader &reader, BackupFrequency otherwise)
{
    const auto text = reader.optionalString(u"frequency"_s);
    if (!text)
        return otherwise;
    const auto frequency = backupFrequencyFromRaw(*text);
    if (!frequency)
        reader.fail(u"frequency"_s, u"is none of daily, weekly and monthly (“%1”)"_s.arg(*text));
    return *frequency;
}

} // namespace

QString rawText(BackupFrequency frequency)
{
    return QString::fromUtf16(frequencies[std::size_t(frequency)].second);
}

std::optional<BackupFrequency> backupFrequencyFromRaw(const QString &text)
{
    const auto found = std::find_if(frequencies.begin(), frequencies.end(),
                                    [&text](const auto &each) { return text == QStringView(each.second); });
    return found == frequencies.end() ? std::nullopt : std::optional(found->first);
}

BackupJob::BackupJob()
    : id(newUuid())
{
}

BackupJob BackupJob::fromJson(const JsonReader &reader)
{
    BackupJob job;
    job.id = reader.optionalUuid(u"id"_s).value_or(job.id);
    job.name = reader.optionalString(u"name"_s).value_or(job.name);
    job.enabled = reader.optionalBool(u"enabled"_s).value_or(job.enabled);
    job.sourcePaths = reader.optionalStrings(u"sourcePaths"_s).value_or(job.sourcePaths);
    job.destinationPath = reader.optionalString(u"destinationPath"_s).value_or(job.destinationPath);
    job.destinationServerID = reader.optionalUuid(u"destinationServerID"_s);
    job.frequency = frequencyIn(reader, job.frequency);
    job.dayOfWeek = reader.optionalInteger(u"dayOfWeek"_s).value_or(job.dayOfWeek);
    job.dayOfMonth = reader.optionalInteger(u"dayOfMonth"_s).value_or(job.dayOfMonth);
    job.hour = reader.optionalInteger(u"hour"_s).value_or(job.hour);
    job.minute = reader.optionalInteger(u"minute"_s).value_or(job.minute);
    job.zip = reader.optionalBool(u"zip"_s).value_or(job.zip);
    job.encrypt = reader.optionalBool(u"encrypt"_s).value_or(job.encrypt);
    job.keepVersions = reader.optionalInteger(u"keepVersions"_s).value_or(job.keepVersions);
    job.lastRun = reader.optionalDate(u"lastRun"_s);
    job.lastStatus = reader.optionalString(u"lastStatus"_s).value_or(job.lastStatus);
    job.lastSuccess = reader.optionalBool(u"lastSuccess"_s).value_or(job.lastSuccess);
    return job;
}

void BackupJob::writeJson(JsonWriter &writer) const
{
    writer.beginObject();
    writer.field(u"id", QJsonValue(uuidText(id)));
    writer.field(u"name", QJsonValue(name));
    writer.field(u"enabled", QJsonValue(enabled));
    writer.strings(u"sourcePaths", sourcePaths);
    writer.field(u"destinationPath", QJsonValue(destinationPath));
    writer.field(u"destinationServerID", destinationServerID);
    writer.field(u"frequency", QJsonValue(rawText(frequency)));
    writer.field(u"dayOfWeek", QJsonValue(dayOfWeek));
    writer.field(u"dayOfMonth", QJsonValue(dayOfMonth));
    writer.field(u"hour", QJsonValue(hour));
    writer.field(u"minute", QJsonValue(minute));
    writer.field(u"zip", QJsonValue(zip));
    writer.field(u"encrypt", QJsonValue(encrypt));
    writer.field(u"keepVersions", QJsonValue(keepVersions));
    writer.field(u"lastRun", lastRun);
    writer.field(u"lastStatus", QJsonValue(lastStatus));
    writer.field(u"lastSuccess", QJsonValue(lastSuccess));
    writer.endObject();
}

BackupLibrary BackupLibrary::decode(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, u"the backup library"_s);
    const QJsonArray records = reader.requiredArray(u"jobs"_s);
    BackupLibrary library;
    for (qsizetype index = 0; index < records.size(); ++index) {
        library.jobs.append(BackupJob::fromJson(reader.element(records, index, u"backup job %1"_s.arg(index + 1))));
    }
    library.lastModified = reader.optionalDate(u"lastModified"_s);
    return library;
}

QByteArray BackupLibrary::encode() const
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"jobs");
    writer.beginArray();
    for (const BackupJob &job : jobs)
        job.writeJson(writer);
    writer.endArray();
    writer.field(u"lastModified", lastModified);
    writer.endObject();
    return writer.bytes();
}

} // namespace moorix
