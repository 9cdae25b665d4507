// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferQueueFile.h"

#include "base/Json.h"
#include "base/JsonFile.h"
#include "files/FileItemJson.h"

#include <QFileInfo>

#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void writePieces(JsonWriter &writer, QStringView key, const QList<TransferPiece> &pieces)
{
    writer.key(key);
    writer.beginArray();
    for (const TransferPiece &piece : pieces) {
        writer.beginObject();
        writer.field(u"targetFolder", QJsonValue(piece.targetFolder));
        writer.key(u"items");
        writer.beginArray();
        for (const FileItem &item : piece.items)
            writeJson(writer, item);
        writer.endArray();
        writer.endObject();
    }
    writer.endArray();
}

QList<TransferPiece> readPieces(const JsonReader &reader, const QString &key)
{
    QList<TransferPiece> pieces;
    const QJsonArray array = reader.requiredArray(key);
    for (qsizetype index = 0; index < array.size(); ++index) {
        const JsonReader piece = reader.element(array, index, u"the pieces of a transfer"_s);
        const QJsonArray items = piece.requiredArray(u"items"_s);
        pieces.append({{}, piece.requiredString(u"targetFolder"_s)});
        for (qsizetype item = 0; item < items.size(); ++item)
            pieces.last().items.append(fileItemFromJson(piece.element(items, item, u"the items of a transfer"_s)));
    }
    return pieces;
}

void writeTransfer(JsonWriter &writer, const StoredTransfer &transfer)
{
    const TransferRequest &request = transfer.request;
    writer.beginObject();
    writer.field(u"id", QJsonValue(uuidText(request.id)));
    writer.field(u"source", transfer.source);
    writer.field(u"destination", transfer.destination);
    writer.field(u"isMove", QJsonValue(request.isMove));
    writer.field(u"policy", QJsonValue(rawText(request.policy)));
    writer.field(u"newName", QJsonValue(request.newName));
    writer.field(u"comparesContents", QJsonValue(request.check == TransferCheck::contents));
    writer.field(u"hasStarted", QJsonValue(transfer.hasStarted));
    writePieces(writer, u"pieces", request.pieces());
    writePieces(writer, u"remaining", transfer.remaining);
    writer.key(u"failures");
    writer.beginArray();
    for (const QString &failure : transfer.failures)
        writer.value(QJsonValue(failure));
    writer.endArray();
    writer.field(u"ended", transfer.ended);
    if (transfer.timeTaken)
        writer.field(u"millisecondsTaken", QJsonValue(qint64(transfer.timeTaken->count())));
    if (transfer.averageRate > 0)
        writer.field(u"bytesPerSecond", QJsonValue(std::llround(transfer.averageRate)));
    writer.endObject();
}

StoredTransfer readTransfer(const JsonReader &reader)
{
    StoredTransfer transfer;
    transfer.source = reader.optionalUuid(u"source"_s);
    transfer.destination = reader.optionalUuid(u"destination"_s);
    transfer.hasStarted = reader.requiredBool(u"hasStarted"_s);
    transfer.remaining = readPieces(reader, u"remaining"_s);
    for (const QJsonValue &failure : reader.requiredArray(u"failures"_s))
        transfer.failures.append(failure.toString());
    transfer.ended = reader.optionalDate(u"ended"_s);
    if (const auto taken = reader.optionalInteger(u"millisecondsTaken"_s))
        transfer.timeTaken = std::chrono::milliseconds(*taken);
    transfer.averageRate = double(reader.optionalInteger(u"bytesPerSecond"_s).value_or(0));
    TransferRequest &request = transfer.request;
    request.id = reader.requiredUuid(u"id"_s);
    request.isMove = reader.requiredBool(u"isMove"_s);
    request.newName = reader.requiredString(u"newName"_s);
    request.check = reader.requiredBool(u"comparesContents"_s) ? TransferCheck::contents : TransferCheck::size;
    const auto policy = transferConflictPolicyFromRaw(reader.requiredString(u"policy"_s));
    request.policy = policy ? *policy : (reader.fail(u"policy"_s, u"is no known policy"_s), TransferConflictPolicy());
    QList<TransferPiece> pieces = readPieces(reader, u"pieces"_s);
    if (pieces.isEmpty())
        reader.fail(u"pieces"_s, u"is empty"_s);
    request.items = pieces.constFirst().items;
    request.targetFolder = pieces.constFirst().targetFolder;
    request.more = pieces.mid(1);
    return transfer;
}

} // namespace

TransferQueueFile::TransferQueueFile(QString path)
    : m_path(std::move(path))
{
}

TransferQueueFile::Content TransferQueueFile::decoded() const
{
    Content content;
    const auto bytes = jsonFile::read(m_path);
    if (!bytes)
        return content;
    const JsonReader reader = JsonReader::parse(*bytes, u"the transfer queue"_s);
    const QJsonArray array = reader.requiredArray(u"transfers"_s);
    for (qsizetype index = 0; index < array.size(); ++index)
        content.transfers.append(
            readTransfer(reader.element(array, index, u"transfer %1 of the queue"_s.arg(index + 1))));
    return content;
}

TransferQueueFile::Content TransferQueueFile::load()
{
    const std::lock_guard lock(m_mutex);
    try {
        return decoded();
    } catch (const Error &error) {
        const QFileInfo file(m_path);
        const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss-zzz"_s);
        const QString aside = u"%1/%2.corrupt-%3.json"_s.arg(file.path(), file.completeBaseName(), stamp);
        const QString unread = u"The transfers of the last run could not be read"_s;
        if (!jsonFile::setAside(m_path, aside)) {
            throw Error(u"Storage"_s, u"%1, so those of this run are not kept: %2"_s.arg(unread, error.message()));
        }
        return {{}, u"%1 and lie in “%2” now: %3"_s.arg(unread, aside, error.message())};
    }
}

void TransferQueueFile::save(const QList<StoredTransfer> &transfers, qint64 number)
{
    const std::lock_guard lock(m_mutex);
    if (number <= m_number)
        return;
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"transfers");
    writer.beginArray();
    for (const StoredTransfer &transfer : transfers)
        writeTransfer(writer, transfer);
    writer.endArray();
    writer.endObject();
    const QByteArray bytes = writer.bytes();
    m_number = number;
    if (bytes == m_saved || (m_saved.isEmpty() && transfers.isEmpty() && !QFileInfo::exists(m_path)))
        return;
    jsonFile::write(m_path, bytes);
    m_saved = bytes;
}

} // namespace moorix
