// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"

#include <QJsonDocument>

#include <algorithm>

namespace moorix {

namespace {

/// Documents of many entries hold many dates, which a general parser takes many times as long for.
QDateTime dateFromText(const QString &text)
{
    const QString form = QStringLiteral("0000-00-00T00:00:00.000Z");
    const auto fits = [](QChar c, QChar wanted) { return wanted == u'0' ? c >= u'0' && c <= u'9' : c == wanted; };
    if (!std::equal(text.cbegin(), text.cend(), form.cbegin(), form.cend(), fits))
        return QDateTime::fromString(text, Qt::ISODateWithMs);
    const auto number = [&text](qsizetype at, qsizetype digits) { return QStringView(text).mid(at, digits).toInt(); };
    const QTime time(number(11, 2), number(14, 2), number(17, 2), number(20, 3));
    return time.isValid() ? QDateTime(QDate(number(0, 4), number(5, 2), number(8, 2)), time, Qt::UTC) : QDateTime();
}

} // namespace

QString uuidText(const QUuid &uuid)
{
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

QUuid newUuid()
{
    return QUuid::createUuid();
}

QString dateText(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODateWithMs);
}

QByteArray scalarText(const QJsonValue &scalar)
{
    // Most texts of large documents need no escapes, and a whole document for each would take long.
    if (scalar.isString()) {
        const QString text = scalar.toString();
        const bool isPlain = std::all_of(text.cbegin(), text.cend(),
                                         [](QChar c) { return c >= u' ' && c <= u'~' && c != u'"' && c != u'\\'; });
        if (isPlain)
            return '"' + text.toLatin1() + '"';
    }
    if (scalar.isBool())
        return scalar.toBool() ? "true" : "false";
    // Documents are lists or objects only.
    const QByteArray wrapped = QJsonDocument(QJsonArray{scalar}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

std::optional<QJsonValue> scalarFromText(const QByteArray &text)
{
    const QJsonArray wrapped = QJsonDocument::fromJson('[' + text + ']').array();
    if (wrapped.size() != 1 || wrapped.first().isArray() || wrapped.first().isObject())
        return std::nullopt;
    return wrapped.first();
}

JsonReader::JsonReader(QJsonObject object, QString subject)
    : m_object(std::move(object))
    , m_subject(std::move(subject))
{
}

JsonReader JsonReader::parse(const QByteArray &bytes, const QString &subject)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &problem);
    if (problem.error != QJsonParseError::NoError) {
        throw Error(QStringLiteral("JSON"), QStringLiteral("The text of %1 is not JSON: %2 at byte %3.")
                                                .arg(subject, problem.errorString())
                                                .arg(problem.offset));
    }
    if (!document.isObject())
        throw Error(QStringLiteral("JSON"), QStringLiteral("The text of %1 is not a JSON object.").arg(subject));
    return JsonReader(document.object(), subject);
}

void JsonReader::fail(const QString &key, const QString &problem) const
{
    throw Error(QStringLiteral("JSON"), QStringLiteral("The key “%1” of %2 %3.").arg(key, m_subject, problem));
}

std::optional<QJsonValue> JsonReader::find(const QString &key) const
{
    const QJsonValue value = m_object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return value;
}

QJsonValue JsonReader::require(const QString &key) const
{
    const auto value = find(key);
    if (!value)
        fail(key, QStringLiteral("is missing"));
    return *value;
}

QString JsonReader::requiredString(const QString &key) const
{
    const QJsonValue value = require(key);
    if (!value.isString())
        fail(key, QStringLiteral("is not a text"));
    return value.toString();
}

bool JsonReader::requiredBool(const QString &key) const
{
    const QJsonValue value = require(key);
    if (!value.isBool())
        fail(key, QStringLiteral("is not true or false"));
    return value.toBool();
}

qint64 JsonReader::requiredInteger(const QString &key) const
{
    require(key);
    return *optionalInteger(key);
}

QUuid JsonReader::requiredUuid(const QString &key) const
{
    require(key);
    return *optionalUuid(key);
}

QJsonArray JsonReader::requiredArray(const QString &key) const
{
    const QJsonValue value = require(key);
    if (!value.isArray())
        fail(key, QStringLiteral("is not a list"));
    return value.toArray();
}

QJsonObject JsonReader::requiredObject(const QString &key) const
{
    const QJsonValue value = require(key);
    if (!value.isObject())
        fail(key, QStringLiteral("is not an object"));
    return value.toObject();
}

std::optional<QString> JsonReader::optionalString(const QString &key) const
{
    if (!find(key))
        return std::nullopt;
    return requiredString(key);
}

std::optional<bool> JsonReader::optionalBool(const QString &key) const
{
    return find(key) ? std::optional(requiredBool(key)) : std::nullopt;
}

std::optional<QStringList> JsonReader::optionalStrings(const QString &key) const
{
    if (!find(key))
        return std::nullopt;
    QStringList texts;
    const QJsonArray values = requiredArray(key);
    for (const QJsonValue &value : values) {
        if (!value.isString())
            fail(key, QStringLiteral("holds something that is not a text"));
        texts.append(value.toString());
    }
    return texts;
}

std::optional<qint64> JsonReader::optionalInteger(const QString &key) const
{
    const auto value = find(key);
    if (!value)
        return std::nullopt;
    // Two different fall-backs tell a value that has no exact integer from one that equals the fall-back.
    if (value->toInteger(0) != value->toInteger(1))
        fail(key, QStringLiteral("is not a whole number"));
    return value->toInteger();
}

std::optional<QUuid> JsonReader::optionalUuid(const QString &key) const
{
    const auto text = optionalString(key);
    if (!text)
        return std::nullopt;
    const QUuid uuid = QUuid::fromString(*text);
    if (uuid.isNull())
        fail(key, QStringLiteral("is not an identifier (“%1”)").arg(*text));
    return uuid;
}

std::optional<QDateTime> JsonReader::optionalDate(const QString &key) const
{
    const auto text = optionalString(key);
    if (!text)
        return std::nullopt;
    const QDateTime date = dateFromText(*text);
    if (!date.isValid())
        fail(key, QStringLiteral("is not a date (“%1”)").arg(*text));
    return date.toUTC();
}

JsonReader JsonReader::element(const QJsonArray &array, qsizetype index, const QString &subject) const
{
    if (!array.at(index).isObject()) {
        throw Error(QStringLiteral("JSON"),
                    QStringLiteral("Entry %1 of %2 is not a JSON object.").arg(index + 1).arg(m_subject));
    }
    return JsonReader(array.at(index).toObject(), subject);
}

void JsonWriter::newLine()
{
    m_bytes += '\n';
    m_bytes += QByteArray(m_depth * 2, ' ');
}

void JsonWriter::beforeValue()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_depth == 0)
        return;
    if (!m_isFirst)
        m_bytes += ',';
    newLine();
}

void JsonWriter::open(char bracket)
{
    beforeValue();
    m_bytes += bracket;
    ++m_depth;
    m_isFirst = true;
}

void JsonWriter::close(char bracket)
{
    --m_depth;
    if (!m_isFirst)
        newLine();
    m_bytes += bracket;
    m_isFirst = false;
}

void JsonWriter::beginObject()
{
    open('{');
}

void JsonWriter::endObject()
{
    close('}');
}

void JsonWriter::beginArray()
{
    open('[');
}

void JsonWriter::endArray()
{
    close(']');
}

void JsonWriter::key(QStringView key)
{
    beforeValue();
    m_bytes += scalarText(QJsonValue(key.toString())) + ": ";
    m_isFirst = false;
    m_afterKey = true;
}

void JsonWriter::value(const QJsonValue &scalar)
{
    beforeValue();
    m_bytes += scalarText(scalar);
    m_isFirst = false;
}

void JsonWriter::field(QStringView name, const QJsonValue &scalar)
{
    key(name);
    value(scalar);
}

void JsonWriter::strings(QStringView name, const QStringList &values)
{
    key(name);
    beginArray();
    for (const QString &text : values)
        value(text);
    endArray();
}

} // namespace moorix
