// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/TextSearch.h"
#include "editor/Languages.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

/// What is found in a text and put in its place, and which language a text is of.
class TextSearchTest final : public QObject
{
    Q_OBJECT

private slots:
    void hitsAreBytesOfTheText()
    {
        using Hits = QList<TextSearch::Hit>;
        const QByteArray text = u"grün Grün 😀 a.b axb\r\ngrünlich\n"_s.toUtf8();
        const std::pair<TextSearch::Query, Hits> rows[] = {
            {{u"grün"_s, false, false, false}, {{0, 5}, {6, 11}, {26, 31}}},
            {{u"grün"_s, false, true, false}, {{0, 5}, {26, 31}}},
            {{u"grün"_s, false, true, true}, {{0, 5}}},
            {{u"a.b"_s, false, false, false}, {{17, 20}}},
            {{u"a.b"_s, true, false, false}, {{17, 20}, {21, 24}}},
            // Also before a carriage return, which is no part of the line.
            {{u"b$"_s, true, false, false}, {{23, 24}}},
            {{u"😀"_s, false, false, true}, {{12, 16}}},
            {{QString(), false, false, false}, {}},
        };
        for (const auto &[query, hits] : rows)
            QCOMPARE(TextSearch(query).hits(text, {}), hits);
        // A mark at the beginning counts.
        QCOMPARE(TextSearch({u"b"_s}).hits("\xEF\xBB\xBFxb", {}), (Hits{{4, 5}}));
    }

    void replacementsTakeGroupsOfPatternsOnly()
    {
        const std::tuple<TextSearch::Query, QString, QByteArray> rows[] = {
            {{u"(\\w+)=(\\w+)"_s, true, false, false}, u"$2=\\1"_s, "1=a 2=b"},
            {{u"(?<key>\\w+)="_s, true, false, false}, u"${key}: "_s, "a: 1 b: 2"},
            {{u"="_s, true, false, false}, u"\\n\\t\\\\$"_s, "a\n\t\\$1 b\n\t\\$2"},
            {{u"="_s, false, false, false}, u"\\1$1"_s, "a\\1$11 b\\1$12"},
            {{u"^"_s, true, false, false}, u"> "_s, "> a=1 b=2"},
            {{u"none"_s, false, false, false}, u"x"_s, "a=1 b=2"},
        };
        for (const auto &[query, replacement, after] : rows)
            QCOMPARE(TextSearch(query).replaceAll("a=1 b=2", replacement, {}).text, after);
    }

    void oneHitIsReplacedOnlyWhereItStillIs()
    {
        const TextSearch search({u"(ü)b"_s, true, false, false});
        QCOMPARE(search.replacementAt("\xC3\xBC"
                                      "b \xC3\xBC"
                                      "b",
                                      {4, 7}, u"<$1>"_s),
                 "<\xC3\xBC>");
        QVERIFY(!search.replacementAt("\xC3\xBC"
                                      "b \xC3\xBC"
                                      "b",
                                      {3, 7}, u"x"_s));
        QVERIFY(!search.replacementAt("\xC3\xBC"
                                      "b",
                                      {4, 7}, u"x"_s));
    }

    void brokenAndEndlessPatternsAreSaid()
    {
        QVERIFY(TextSearch({u"("_s, true, false, false}).problem().startsWith(u"No pattern: "_s));
        QVERIFY(TextSearch({u"("_s, false, false, false}).problem().isEmpty());
        QCOMPARE(TextSearch({u"("_s, true, false, false}).hits("((", {}).size(), 0);
        std::stop_source stop;
        stop.request_stop();
        QVERIFY_THROWS_EXCEPTION(std::exception,
                                 TextSearch({u"a"_s, false, false, false}).hits("aa", stop.get_token()));
    }

    void languageIsToldByNameOrFirstLine()
    {
        const std::tuple<QString, QByteArray, QString> rows[] = {
            {u"main.CPP"_s, "", u"C++"_s},
            {u"CMakeLists.txt"_s, "", u"CMake"_s},
            {u"nginx.conf.bak"_s, "", u"Configuration"_s},
            {u"Dockerfile"_s, "", u"Dockerfile"_s},
            {u"run"_s, "#!/usr/bin/env -S python3.11 -u\n", u"Python"_s},
            {u"run"_s, "#!/bin/sh -e\r\necho\n", u"Shell"_s},
            {u"page"_s, "<!DOCTYPE html>\n", u"HTML"_s},
            {u"c"_s, "int main;", u"Plain text"_s},
            {u"notes"_s, "#!\n", u"Plain text"_s},
        };
        for (const auto &[name, text, language] : rows)
            QCOMPARE(languages::of(name, text).name, language);
    }
};

MOORIX_TEST(TextSearchTest)
#include "TextSearchTest.moc"
