// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QUuid>

#include <optional>

namespace moorix {

/// Upper-case canonical text of a UUID, without braces: how identifiers are written everywhere.
QString uuidText(const QUuid &uuid);
/// A fresh random identifier.
QUuid newUuid();
/// ISO 8601 in UTC with milliseconds ("2026-03-01T12:00:00.000Z"): how dates are written in every document.
QString dateText(const QDateTime &date);

/// The JSON text of one text, number, switch or null, without a line break.
QByteArray scalarText(const QJsonValue &scalar);
/// Reads such a text back; nothing when it is anything else.
std::optional<QJsonValue> scalarFromText(const QByteArray &text);

/// Reads the fields of one JSON object. Every reader throws an Error that names the key and the object when a required
/// key is missing or null, or when any key holds another type. Optional readers return nothing for missing or null.
class JsonReader final
{
public:
    /// `subject` names the object in messages: "server “web-01”", "the server library".
    JsonReader(QJsonObject object, QString subject);
    /// Parses `bytes`; throws an Error naming `subject` and the position when they are not one JSON object.
    static JsonReader parse(const QByteArray &bytes, const QString &subject);

    QString requiredString(const QString &key) const;
    bool requiredBool(const QString &key) const;
    qint64 requiredInteger(const QString &key) const;
    QUuid requiredUuid(const QString &key) const;
    QJsonArray requiredArray(const QString &key) const;
    QJsonObject requiredObject(const QString &key) const;
    std::optional<QString> optionalString(const QString &key) const;
    std::optional<bool> optionalBool(const QString &key) const;
    std::optional<qint64> optionalInteger(const QString &key) const;
    std::optional<QUuid> optionalUuid(const QString &key) const;
    std::optional<QDateTime> optionalDate(const QString &key) const;
    std::optional<QStringList> optionalStrings(const QString &key) const;

    /// A reader over the object at `index` of an array read from this object.
    JsonReader element(const QJsonArray &array, qsizetype index, const QString &subject) const;
    [[noreturn]] void fail(const QString &key, const QString &problem) const;

private:
    QJsonValue require(const QString &key) const;
    std::optional<QJsonValue> find(const QString &key) const;

    QJsonObject m_object;
    QString m_subject;
};

/// Writes JSON text whose keys stay in the order they are given, which QJsonObject would sort. Indented by two.
class JsonWriter final
{
public:
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(QStringView key);
    void value(const QJsonValue &scalar);

    void field(QStringView name, const QJsonValue &scalar);
    /// Written as null when absent. For texts, identifiers and dates.
    template <class Value>
    void field(QStringView name, const std::optional<Value> &value)
    {
        field(name, value ? scalarOf(*value) : QJsonValue());
    }

    /// A list of texts.
    void strings(QStringView name, const QStringList &values);

    /// The text so far, with a final newline.
    QByteArray bytes() const { return m_bytes + '\n'; }

private:
    static QJsonValue scalarOf(const QString &text) { return text; }
    static QJsonValue scalarOf(const QUuid &uuid) { return uuidText(uuid); }
    static QJsonValue scalarOf(const QDateTime &date) { return dateText(date); }
    void beforeValue();
    void open(char bracket);
    void close(char bracket);
    void newLine();

    QByteArray m_bytes;
    int m_depth = 0;
    bool m_isFirst = true;
    bool m_afterKey = false;
};

} // namespace moorix
