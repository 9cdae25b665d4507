// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupHistory.h"

#include "backup/BackupRun.h"
#include "base/Json.h"

#include <array>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using Result = BackupRecord::Result;

constexpr std::array results{std::pair{Result::completed, u"completed"}, std::pair{Result::failed, u"failed"},
                             std::pair{Result::cancelled, u"cancelled"}};

Result resultFrom(const JsonReader &reader)
{
    const QString text = reader.requiredString(u"result"_s);
    for (const auto &[result, raw] : results) {
        if (text == QStringView(raw))
            return result;
    }
    reader.fail(u"result"_s, u"is none of completed, failed and cancelled (“%1”)"_s.arg(text));
}

BackupRecord recordFrom(const JsonReader &reader)
{
    BackupRecord record;
    record.started = reader.optionalDate(u"started"_s).value_or(QDateTime());
    record.ended = reader.optionalDate(u"ended"_s).value_or(record.started);
    record.result = resultFrom(reader);
    record.status = reader.requiredString(u"status"_s);
    record.archive = reader.requiredString(u"archive"_s);
    record.bytes = reader.requiredInteger(u"bytes"_s);
    record.notes = reader.optionalStrings(u"notes"_s).value_or(QStringList());
    return record;
}

void write(JsonWriter &writer, const BackupRecord &record)
{
    writer.beginObject();
    writer.field(u"started", QJsonValue(dateText(record.started)));
    writer.field(u"ended", QJsonValue(dateText(record.ended)));
    writer.field(u"result", QJsonValue(QString::fromUtf16(results[std::size_t(record.result)].second)));
    writer.field(u"status", QJsonValue(record.status));
    writer.field(u"archive", QJsonValue(record.archive));
    writer.field(u"bytes", QJsonValue(record.bytes));
    writer.strings(u"notes", record.notes);
    writer.endObject();
}

BackupJobState stateFrom(const JsonReader &reader)
{
    BackupJobState state;
    state.jobID = reader.requiredUuid(u"jobID"_s);
    state.schedule = reader.requiredString(u"schedule"_s);
    state.since = reader.optionalDate(u"since"_s).value_or(QDateTime());
    state.transferID = reader.requiredUuid(u"transferID"_s);
    state.absentSince = reader.optionalDate(u"absentSince"_s);
    state.isAbsenceTold = reader.requiredBool(u"isAbsenceTold"_s);
    state.destination = reader.requiredString(u"destination"_s);
    state.mountPoint = reader.requiredString(u"mountPoint"_s);
    state.lastGoodRun = reader.optionalDate(u"lastGoodRun"_s);
    state.lastGoodArchive = reader.requiredString(u"lastGoodArchive"_s);
    const QJsonArray runs = reader.requiredArray(u"runs"_s);
    for (qsizetype index = 0; index < runs.size(); ++index)
        state.runs.append(recordFrom(reader.element(runs, index, u"run %1 of a backup"_s.arg(index + 1))));
    return state;
}

void write(JsonWriter &writer, const BackupJobState &state)
{
    writer.beginObject();
    writer.field(u"jobID", QJsonValue(uuidText(state.jobID)));
    writer.field(u"schedule", QJsonValue(state.schedule));
    writer.field(u"since", state.since.isValid() ? std::optional(state.since) : std::nullopt);
    writer.field(u"transferID", QJsonValue(uuidText(state.transferID)));
    writer.field(u"absentSince", state.absentSince);
    writer.field(u"isAbsenceTold", QJsonValue(state.isAbsenceTold));
    writer.field(u"destination", QJsonValue(state.destination));
    writer.field(u"mountPoint", QJsonValue(state.mountPoint));
    writer.field(u"lastGoodRun", state.lastGoodRun);
    writer.field(u"lastGoodArchive", QJsonValue(state.lastGoodArchive));
    writer.key(u"runs");
    writer.beginArray();
    for (const BackupRecord &record : state.runs)
        write(writer, record);
    writer.endArray();
    writer.endObject();
}

} // namespace

BackupRecord BackupRecord::of(const BackupOutcome &outcome)
{
    const Result result = outcome.wasCancelled        ? Result::cancelled
                          : outcome.failure.isEmpty() ? Result::completed
                                                      : Result::failed;
    return {outcome.started, outcome.ended, result, outcome.status(), outcome.archive, outcome.bytes, outcome.notes};
}

void BackupJobState::add(const BackupRecord &record)
{
    runs.prepend(record);
    runs = runs.mid(0, mostRuns);
    // A good archive is there even when pruning the older ones failed.
    if (record.archive.isEmpty())
        return;
    lastGoodRun = record.started;
    lastGoodArchive = record.archive;
}

BackupHistory BackupHistory::decode(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, u"the history of backups"_s);
    const QJsonArray jobs = reader.requiredArray(u"jobs"_s);
    BackupHistory history;
    for (qsizetype index = 0; index < jobs.size(); ++index)
        history.jobs.append(stateFrom(reader.element(jobs, index, u"the state of backup %1"_s.arg(index + 1))));
    return history;
}

QByteArray BackupHistory::encode() const
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"jobs");
    writer.beginArray();
    for (const BackupJobState &state : jobs)
        write(writer, state);
    writer.endArray();
    writer.endObject();
    return writer.bytes();
}

} // namespace moorix
