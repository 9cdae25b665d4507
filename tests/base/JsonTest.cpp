// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"

#include "support/TestMain.h"

#include <QTest>

#include <limits>

using namespace moorix;

namespace {

/// Reads a record with one field of every kind; returns "fine" or the sentence of the failure.
QString readAll(const QByteArray &bytes)
{
    try {
        const JsonReader reader = JsonReader::parse(bytes, QStringLiteral("server “web”"));
        reader.requiredString(QStringLiteral("text"));
        reader.optionalInteger(QStringLiteral("number"));
        reader.optionalUuid(QStringLiteral("uuid"));
        reader.optionalDate(QStringLiteral("date"));
        for (qsizetype index = 0; const QJsonValue &each : reader.requiredArray(QStringLiteral("list"))) {
            Q_UNUSED(each)
            reader.element(reader.requiredArray(QStringLiteral("list")), index++, QStringLiteral("entry"))
                .requiredBool(QStringLiteral("on"));
        }
        return QStringLiteral("fine");
    } catch (const Error &error) {
        return error.message();
    }
}

} // namespace

class JsonTest : public QObject
{
    Q_OBJECT

private slots:
    void badDocumentsAreNamedExactly_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("outcome");
        const auto row = [](const char *name, const char *bytes, const QString &outcome) {
            // Single quotes stand for double ones.
            QTest::newRow(name) << QByteArray(bytes).replace('\'', '"') << outcome;
        };
        row("all there", "{'text':'','list':[{'on':true}]}", QStringLiteral("fine"));
        row("optional keys null", "{'text':'','list':[],'number':null,'uuid':null,'date':null}",
            QStringLiteral("fine"));
        row("not JSON",
            "{'text':", QStringLiteral("The text of server “web” is not JSON: unterminated object at byte 8."));
        row("a list", "[1]", QStringLiteral("The text of server “web” is not a JSON object."));
        row("missing", "{'list':[]}", QStringLiteral("The key “text” of server “web” is missing."));
        row("null", "{'text':null,'list':[]}", QStringLiteral("The key “text” of server “web” is missing."));
        row("number for text", "{'text':5,'list':[]}", QStringLiteral("The key “text” of server “web” is not a text."));
        row("fraction", "{'text':'','list':[],'number':2.5}",
            QStringLiteral("The key “number” of server “web” is not a whole number."));
        row("number as text", "{'text':'','list':[],'number':'22'}",
            QStringLiteral("The key “number” of server “web” is not a whole number."));
        row("beyond 64 bits", "{'text':'','list':[],'number':1e19}",
            QStringLiteral("The key “number” of server “web” is not a whole number."));
        row("not a UUID", "{'text':'','list':[],'uuid':'web'}",
            QStringLiteral("The key “uuid” of server “web” is not an identifier (“web”)."));
        row("not a date", "{'text':'','list':[],'date':'yesterday'}",
            QStringLiteral("The key “date” of server “web” is not a date (“yesterday”)."));
        row("list entry", "{'text':'','list':[{'on':true},7]}",
            QStringLiteral("Entry 2 of server “web” is not a JSON object."));
        row("in list entry", "{'text':'','list':[{'on':1}]}",
            QStringLiteral("The key “on” of entry is not true or false."));
    }
    void badDocumentsAreNamedExactly()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, outcome);
        QCOMPARE(readAll(bytes), outcome);
    }

    void writtenTextKeepsTheOrderOfItsKeys()
    {
        JsonWriter writer;
        writer.beginObject();
        writer.field(u"zebra", QJsonValue(QStringLiteral("\"quoted\"\n")));
        writer.field(u"absent", std::optional<QString>());
        writer.key(u"list");
        writer.beginArray();
        writer.beginObject();
        writer.field(u"n", 1);
        writer.field(u"on", true);
        writer.endObject();
        writer.value(2);
        writer.endArray();
        writer.key(u"empty");
        writer.beginArray();
        writer.endArray();
        writer.endObject();
        const QByteArray expected("{\n"
                                  "  \"zebra\": \"\\\"quoted\\\"\\n\",\n"
                                  "  \"absent\": null,\n"
                                  "  \"list\": [\n"
                                  "    {\n"
                                  "      \"n\": 1,\n"
                                  "      \"on\": true\n"
                                  "    },\n"
                                  "    2\n"
                                  "  ],\n"
                                  "  \"empty\": []\n"
                                  "}\n");
        QCOMPARE(writer.bytes(), expected);
    }

    void valuesSurviveWritingAndReading()
    {
        const QUuid uuid = newUuid();
        const QDateTime date(QDate(2026, 3, 1), QTime(12, 0, 0, 7), Qt::UTC);
        const QString text = QStringLiteral("Zürich ✓ \U0001F5C2 \\ \u0001");
        JsonWriter writer;
        writer.beginObject();
        writer.field(u"text", text);
        writer.field(u"largest", std::numeric_limits<qint64>::max());
        writer.field(u"smallest", std::numeric_limits<qint64>::min());
        writer.field(u"uuid", std::optional(uuid));
        // The same instant, said in another zone.
        writer.field(u"date", std::optional(date.toOffsetFromUtc(5400)));
        writer.endObject();

        const JsonReader reader = JsonReader::parse(writer.bytes(), QStringLiteral("it"));
        QCOMPARE(reader.requiredString(QStringLiteral("text")), text);
        QCOMPARE(reader.requiredInteger(QStringLiteral("largest")), std::numeric_limits<qint64>::max());
        QCOMPARE(reader.requiredInteger(QStringLiteral("smallest")), std::numeric_limits<qint64>::min());
        QCOMPARE(reader.requiredUuid(QStringLiteral("uuid")), uuid);
        QCOMPARE(reader.optionalDate(QStringLiteral("date")), std::optional(date));
        QVERIFY(writer.bytes().contains("\"2026-03-01T12:00:00.007Z\""));
        QVERIFY(writer.bytes().contains('"' + uuid.toByteArray(QUuid::WithoutBraces).toUpper() + '"'));
    }

    void scalarTextIsReadBackAndNothingElseIs()
    {
        for (const QJsonValue &value : {QJsonValue(QStringLiteral("a]\"")), QJsonValue(2.5), QJsonValue(false)})
            QCOMPARE(scalarFromText(scalarText(value)), std::optional(value));
        for (const char *text : {"", "1,2", "[1]", "{}", "\"half", "1]"})
            QVERIFY2(!scalarFromText(text), text);
    }
};

MOORIX_TEST(JsonTest)
#include "JsonTest.moc"
