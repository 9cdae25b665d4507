// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"
#include "base/JsonFile.h"
#include "support/TestMain.h"

#include <QFileInfo>

#include <csignal>
#include <limits>
#include <sys/resource.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// Reads a record with one field of every kind.
QString problemOf(const QByteArray &bytes)
{
    return messageOf([&] {
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

/// JSON texts, and the files that hold them.
class JsonTest final : public QObject
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

    void aDocumentAndItsFolderAreForTheUserAlone()
    {
        const TestTree tree;
        jsonFile::write(tree.path("new/folder/doc.json"), "{}");
        const auto modeOf = [&tree](const char *path) { return QFile::permissions(tree.path(path)) & 0x7077; };
        QCOMPARE(modeOf("new/folder"), QFile::Permissions(0x7000));
        QCOMPARE(modeOf("new/folder/doc.json"), QFile::Permissions(0x6000));
        QCOMPARE(jsonFile::read(tree.path("new/folder/doc.json")), std::optional(QByteArray("{}")));
    }

    void aSaveThatFailsHalfwayKeepsTheOldDocument()
    {
        const TestTree tree{{"doc.json", "old"}};
        const auto before = tree.snapshot();
        // No file can grow beyond some bytes: a full disk, for root too.
        rlimit limit;
        ::getrlimit(RLIMIT_FSIZE, &limit);
        const rlim_t usual = std::exchange(limit.rlim_cur, 4096);
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const QString message = messageOf([&] { jsonFile::write(tree.path("doc.json"), QByteArray(100000, 'x')); });
        limit.rlim_cur = usual;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        QVERIFY2(message.startsWith(u"“%1” could not be saved: "_s.arg(tree.path("doc.json"))), qPrintable(message));
        QCOMPARE(tree.snapshot(), before);
    }

    void aLinkedDocumentStaysALink()
    {
        const TestTree tree{{"elsewhere/real.json", "old"}};
        tree.link("doc.json", tree.path("elsewhere/real.json"));
        jsonFile::write(tree.path("doc.json"), "new");
        QVERIFY(QFileInfo(tree.path("doc.json")).isSymLink());
        QCOMPARE(tree.read("elsewhere/real.json"), QByteArray("new"));
    }

    void anUnreadableDocumentIsNotTakenForAMissingOne()
    {
        const TestTree tree{{"folder/", ""}};
        tree.link("dangling", tree.path("gone"));
        QCOMPARE(jsonFile::read(tree.path("missing")), std::optional<QByteArray>());
        QVERIFY_THROWS_EXCEPTION(Error, jsonFile::read(tree.path("folder")));
        QVERIFY_THROWS_EXCEPTION(Error, jsonFile::read(tree.path("dangling")));
    }

    void settingAsideNeverReplacesAnything()
    {
        const TestTree tree{{"a", "1"}, {"taken", "2"}};
        QVERIFY(!jsonFile::setAside(tree.path("a"), tree.path("taken")));
        QVERIFY(jsonFile::setAside(tree.path("a"), tree.path("free")));
        QCOMPARE(tree.snapshot(), (TreeSnapshot{{u"free"_s, "1"}, {u"taken"_s, "2"}}));
    }
};

MOORIX_TEST(JsonTest)
#include "JsonTest.moc"
