// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"

#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <QTest>

#include <limits>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// Reads a record with one field of every kind.
QString problemOf(const QByteArray &bytes)
{
    return test::messageOf([&] {
        const JsonReader reader = JsonReader::parse(bytes, u"server “web”"_s);
        reader.requiredString(u"text"_s);
        reader.optionalInteger(u"number"_s);
        reader.optionalUuid(u"uuid"_s);
        reader.optionalDate(u"date"_s);
        const QJsonArray list = reader.requiredArray(u"list"_s);
        for (qsizetype index = 0; index < list.size(); ++index)
            reader.element(list, index, u"entry"_s).requiredBool(u"on"_s);
    });
}

} // namespace

class JsonTest : public QObject
{
    Q_OBJECT

private slots:
    void badDocumentsAreNamedExactly()
    {
        // Single quotes stand for double ones.
        const std::pair<QByteArray, const char *> rows[] = {
            {"{'text':'','list':[{'on':true}]}", ""},
            {"{'text':'','list':[],'number':null,'uuid':null,'date':null}", ""},
            {"{'text':", "The text of server “web” is not JSON: unterminated object at byte 8."},
            {"[1]", "The text of server “web” is not a JSON object."},
            {"{'list':[]}", "The key “text” of server “web” is missing."},
            {"{'text':null,'list':[]}", "The key “text” of server “web” is missing."},
            {"{'text':5,'list':[]}", "The key “text” of server “web” is not a text."},
            {"{'text':'','list':[],'number':2.5}", "The key “number” of server “web” is not a whole number."},
            {"{'text':'','list':[],'number':1e19}", "The key “number” of server “web” is not a whole number."},
            {"{'text':'','list':[],'uuid':'web'}", "The key “uuid” of server “web” is not an identifier (“web”)."},
            {"{'text':'','list':[],'date':'today'}", "The key “date” of server “web” is not a date (“today”)."},
            {"{'text':'','list':[{'on':true},7]}", "Entry 2 of server “web” is not a JSON object."},
            {"{'text':'','list':[{'on':1}]}", "The key “on” of entry is not true or false."},
        };
        for (const auto &[text, problem] : rows)
            QCOMPARE(problemOf(QByteArray(text).replace('\'', '"')), QString::fromUtf8(problem));
    }

    void valuesSurviveWritingAndReading()
    {
        const QDateTime date(QDate(2026, 3, 1), QTime(12, 0, 0, 7), Qt::UTC);
        const QString text = u"Zürich ✓ \U0001F5C2 \\ \u0001"_s;
        JsonWriter writer;
        writer.beginObject();
        writer.field(u"text", text);
        writer.field(u"largest", std::numeric_limits<qint64>::max());
        writer.field(u"smallest", std::numeric_limits<qint64>::min());
        // The same instant, said in another zone.
        writer.field(u"date", std::optional(date.toOffsetFromUtc(5400)));
        writer.endObject();

        const JsonReader reader = JsonReader::parse(writer.bytes(), u"it"_s);
        QCOMPARE(reader.requiredString(u"text"_s), text);
        QCOMPARE(reader.requiredInteger(u"largest"_s), std::numeric_limits<qint64>::max());
        QCOMPARE(reader.requiredInteger(u"smallest"_s), std::numeric_limits<qint64>::min());
        QCOMPARE(reader.optionalDate(u"date"_s), std::optional(date));
        QVERIFY(writer.bytes().contains("\"2026-03-01T12:00:00.007Z\""));
    }

    void scalarTextIsReadBackAndNothingElseIs()
    {
        for (const QJsonValue &value : {QJsonValue(u"a]\""_s), QJsonValue(2.5), QJsonValue(false)})
            QCOMPARE(scalarFromText(scalarText(value)), std::optional(value));
        for (const char *text : {"", "1,2", "[1]", "{}", "\"half", "1]"})
            QVERIFY2(!scalarFromText(text), text);
    }
};

MOORIX_TEST(JsonTest)
#include "JsonTest.moc"
