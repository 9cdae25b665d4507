// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/UnixListParser.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

const QDateTime now(QDate(2026, 3, 10), QTime(12, 0));

/// Of each item its kind, name, path and size.
QString described(const QList<FileItem> &items)
{
    QStringList lines;
    for (const FileItem &item : items) {
        const QChar kind = item.isDirectory ? u'd' : item.isSymlink ? u'l' : u'-';
        lines << u"%1|%2|%3|%4"_s.arg(kind).arg(item.name, item.path).arg(item.size);
    }
    return lines.join(u'\n');
}

} // namespace

class UnixListParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void rowsBecomeItems()
    {
        const std::pair<const char *, const char *> rows[] = {
            {"-rw-r--r--    ? ada      staff         5 Mar  1 10:00 /d/a.txt", "-|a.txt|/d/a.txt|5"}, // new client
            {"-rw-r--r--    1 ada      staff         5 Mar  1 10:00 a.txt", "-|a.txt|/d/a.txt|5"},    // old client
            {"drwxr-xr-x    2 ada      staff      4096 Jan  2  2020 sub", "d|sub|/d/sub|4096"},       // folder
            {"lrwxrwxrwx 1 ada staff 4 Mar  1 10:00 docs -> /srv/docs", "l|docs|/d/docs|4"}, // link with target
            {"lrwxrwxrwx    ? ada staff 4 Mar  1 10:00 /d/a -> b", "l|a -> b|/d/a -> b|4"},  // link, new client
            {"-rw-r--r-- 1 ada staff 4 Mar  1 10:00 a -> b", "-|a -> b|/d/a -> b|4"},        // file with an arrow
            {"-rw-r--r-- 1 ada staff 4 Mar  1 10:00 a  b", "-|a b|/d/a  b|4"},               // two spaces inside
            {"-rw-r--r--    ? ada staff 4 Mar  1 10:00 /d/ a ", "-| a |/d/ a |4"},           // spaces around
            {"-rw-r--r--    1 ada staff 4 Mar  1 10:00  a ", "-|a|/d/ a |4"},          // spaces around, old client
            {"crw-rw---- 1 root tty 4, 64 Mar  1 10:00 ttyS0", "-|ttyS0|/d/ttyS0|64"}, // device
            {"-rw-r--r-- 1 ada domain users 77 Mar  1 10:00 a", "-|a|/d/a|77"},        // group of two words
            {"-rw-r--r-- 1 ada staff ? Mar  1 10:00 a", "-|a|/d/a|0"},                 // size no number
            {"-rw-r--r-- 1 ada staff 1 Mar  1 10:00 a\\101", "-|a\\101|/d/a\\101|1"},  // looks like an escape
            {"-rw-r--r-- 1 ada staff 1 Mar  1 10:00 a\r", "-|a|/d/a|1"},               // CR LF
        };
        for (const auto &[row, item] : rows)
            QCOMPARE(described(UnixListParser::parse(QString::fromUtf8(row), u"/d"_s, now)), QString::fromUtf8(item));
        for (const char *nothing :
             {"drwxr-xr-x    ? ada staff 1 Mar  1 10:00 /d/.", "drwxr-xr-x 1 ada staff 1 Mar  1 10:00 ..", "total 12",
              "second half of a name with a newline", "drwx 1 ada staff 1 Mar  1 10:00 short mode",
              "?rwxr-xr-x 1 ada staff 1 Mar  1 10:00 unknown kind", "-rw-r--r-- 1 ada staff 1 Mar  1 10:00", "   "})
            QCOMPARE(described(UnixListParser::parse(QLatin1String(nothing), u"/d"_s, now)), QString());
    }

    void ownerModeAndTimeAreRead()
    {
        const QString row = u"-rw-r-----    1 ada      staff        12 Mar  9 08:30 größe.txt"_s;
        const FileItem item = UnixListParser::parse(row, u"/srv"_s, now).constFirst();
        QCOMPARE(item.permissions, u"rw-r-----"_s);
        QCOMPARE(item.ownerName, u"ada"_s);
        QCOMPARE(item.modified, QDateTime(QDate(2026, 3, 9), QTime(8, 30)));
    }

    void folderOfThePathIsStripped()
    {
        const auto item = [](const QString &dir, const QString &shown) {
            const QString row = u"-rw-r--r--    ? ada staff 1 Mar  1 10:00 "_s + shown;
            return described(UnixListParser::parse(row, dir, now));
        };
        QCOMPARE(item(u"/"_s, u"/etc"_s), u"-|etc|/etc|1"_s);
        QCOMPARE(item(u"/d/"_s, u"/d/a"_s), u"-|a|/d/a|1"_s);
        QCOMPARE(item(u"/d/a"_s, u"/d/a"_s), u"-|a|/d/a|1"_s); // a file listed by its own path
        QCOMPARE(item(u"/d"_s, u"/d/sub/"_s), u"-|sub|/d/sub|1"_s);
        QCOMPARE(item(u"."_s, u"./a"_s), u"-|a|./a|1"_s);
    }

    void bytesThatCannotBeNamedAreNeverAddressable()
    {
        const QList<FileItem> items = UnixListParser::parse(
            u"-rw-r--r-- 1 a b 1 Mar  1 10:00 x\\377y\n-rw-r--r-- 1 a b 1 Mar  1 10:00 bell\\007\n"_s, u"/d"_s, now);
        QCOMPARE(items.at(0).path, u"/d/x"_s + QChar(0xdcff) + u'y');
        QCOMPARE(items.at(1).path, u"/d/bell"_s + QChar(7));
    }

    void rowsTheClientHasCutAreMarked()
    {
        const QString start = u"-rw-r--r--    ? ada staff 1 Mar  1 10:00 /d/"_s;
        const auto pathOfRow = [&](qsizetype bytes) {
            const QString row = start + QString(bytes - start.size(), u'n');
            return UnixListParser::parse(row, u"/d"_s, now).constFirst().path;
        };
        QVERIFY(pathOfRow(1022).endsWith(u'n'));
        QVERIFY(pathOfRow(1023).endsWith(u'…'));
    }

    void datesAreReadAsLocalTime()
    {
        const std::pair<const char *, const char *> rows[] = {
            {"Mar 10 11:59", "2026-03-10 11:59"}, // this year
            {"Dec 31 23:59", "2025-12-31 23:59"}, // last year
            {"Mar 11 11:00", "2026-03-11 11:00"}, // server's clock ahead
            {"Mar 12 11:00", "2025-03-12 11:00"}, // more than a day ahead
            {"Feb 29 01:00", "2024-02-29 01:00"}, // leap day
            {"Jan 2 2020", "2020-01-02 00:00"},
            {"Feb 31 2020", ""},
            {"Foo 3 2020", ""},
            {"anF 3 2020", ""}, // between two months
        };
        for (const auto &[text, expected] : rows) {
            const QStringList parts = QString::fromLatin1(text).split(u' ');
            const auto date = UnixListParser::parseDate(parts.at(0), parts.at(1), parts.at(2), now);
            QCOMPARE(date.value_or(QDateTime()).toString(u"yyyy-MM-dd HH:mm"_s), QLatin1String(expected));
        }
    }
};

MOORIX_TEST(UnixListParserTest)
#include "UnixListParserTest.moc"
