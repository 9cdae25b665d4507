// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/UnixListParser.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

const QDateTime now(QDate(2026, 3, 10), QTime(12, 0));

/// One line per item: kind, name, the end of the path, size.
QStringList described(const QList<FileItem> &items)
{
    QStringList lines;
    for (const FileItem &item : items) {
        const QChar kind = item.isDirectory ? u'd' : item.isSymlink ? u'l' : u'-';
        lines << u"%1|%2|%3|%4"_s.arg(kind).arg(item.name, item.path).arg(item.size);
    }
    return lines;
}

} // namespace

class UnixListParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void rowsBecomeItems_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("item");
        const auto row = [](const char *name, const char *text, const char *item) {
            QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(item);
        };
        row("new client", "-rw-r--r--    ? ada      staff         5 Mar  1 10:00 /d/a.txt", "-|a.txt|/d/a.txt|5");
        row("old client", "-rw-r--r--    1 ada      staff         5 Mar  1 10:00 a.txt", "-|a.txt|/d/a.txt|5");
        row("link with target", "lrwxrwxrwx 1 ada staff 4 Mar  1 10:00 docs -> /srv/docs", "l|docs|/d/docs|4");
        row("link, new client", "lrwxrwxrwx    ? ada staff 4 Mar  1 10:00 /d/a -> b", "l|a -> b|/d/a -> b|4");
        row("file with an arrow", "-rw-r--r-- 1 ada staff 4 Mar  1 10:00 a -> b", "-|a -> b|/d/a -> b|4");
        row("two spaces inside", "-rw-r--r-- 1 ada staff 4 Mar  1 10:00 a  b", "-|a b|/d/a  b|4");
        row("spaces around", "-rw-r--r--    ? ada staff 4 Mar  1 10:00 /d/ a ", "-| a |/d/ a |4");
        row("spaces around, old client", "-rw-r--r--    1 ada staff 4 Mar  1 10:00  a ", "-|a|/d/ a |4");
        row("device", "crw-rw---- 1 root tty 4, 64 Mar  1 10:00 ttyS0", "-|ttyS0|/d/ttyS0|64");
        row("group of two words", "-rw-r--r-- 1 ada domain users 77 Mar  1 10:00 a", "-|a|/d/a|77");
        row("size no number", "-rw-r--r-- 1 ada staff ? Mar  1 10:00 a", "-|a|/d/a|0");
        row("looks like an escape", "-rw-r--r-- 1 ada staff 1 Mar  1 10:00 a\\101", "-|a\\101|/d/a\\101|1");
        row("CR LF", "-rw-r--r-- 1 ada staff 1 Mar  1 10:00 a\r", "-|a|/d/a|1");
        row("self", "drwxr-xr-x    ? ada staff 1 Mar  1 10:00 /d/.", "");
        row("parent", "drwxr-xr-x 1 ada staff 1 Mar  1 10:00 ..", "");
        row("total", "total 12", "");
        row("rest of a name with a newline", "second half", "");
        row("short mode", "drwx 1 ada staff 1 Mar  1 10:00 x", "");
        row("unknown kind", "?rwxr-xr-x 1 ada staff 1 Mar  1 10:00 x", "");
        row("no name", "-rw-r--r-- 1 ada staff 1 Mar  1 10:00", "");
        row("blank", "   ", "");
    }

    void rowsBecomeItems()
    {
        QFETCH(QString, row);
        QFETCH(QString, item);
        QCOMPARE(described(UnixListParser::parse(row, u"/d"_s, now)).join(u'\n'), item);
    }

    void bothFormsGiveTheSameItems()
    {
        const QString bare = u"drwxr-xr-x    2 ada      staff      4096 Jan  2  2020 sub\n"
                             "-rw-r-----    1 ada      staff        12 Mar  9 08:30 größe.txt\n"_s;
        QString prefixed = bare;
        prefixed.replace(u" 2 ada"_s, u" ? ada"_s)
            .replace(u" 1 ada"_s, u" ? ada"_s)
            .replace(u"sub"_s, u"/srv/sub"_s)
            .replace(u"größe"_s, u"/srv/größe"_s);
        const QList<FileItem> items = UnixListParser::parse(bare, u"/srv"_s, now);
        QCOMPARE(items, UnixListParser::parse(prefixed, u"/srv"_s, now));
        QCOMPARE(items.at(1).permissions, u"rw-r-----"_s);
        QCOMPARE(items.at(1).ownerName, u"ada"_s);
        QCOMPARE(items.at(1).modified, QDateTime(QDate(2026, 3, 9), QTime(8, 30)));
    }

    void folderOfThePathIsStripped()
    {
        const auto item = [](const QString &dir, const QString &shown) {
            const QString row = u"-rw-r--r--    ? ada staff 1 Mar  1 10:00 "_s + shown;
            return described(UnixListParser::parse(row, dir, now)).join(u'\n');
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
        const auto nameOfRow = [&](qsizetype bytes) {
            const QString row = start + QString(bytes - start.size(), u'n');
            return UnixListParser::parse(row, u"/d"_s, now).constFirst().name;
        };
        QVERIFY(nameOfRow(1022).endsWith(u'n'));
        QVERIFY(nameOfRow(1023).endsWith(u'…'));
    }

    void datesAreReadAsLocalTime_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDateTime>("expected");
        const auto at = [](int y, int m, int d, int h = 0, int min = 0) {
            return QDateTime(QDate(y, m, d), QTime(h, min));
        };
        QTest::newRow("this year") << "Mar 10 11:59" << at(2026, 3, 10, 11, 59);
        QTest::newRow("last year") << "Dec 31 23:59" << at(2025, 12, 31, 23, 59);
        QTest::newRow("server's clock ahead") << "Mar 11 11:00" << at(2026, 3, 11, 11);
        QTest::newRow("more than a day ahead") << "Mar 12 11:00" << at(2025, 3, 12, 11);
        QTest::newRow("leap day") << "Feb 29 01:00" << at(2024, 2, 29, 1);
        QTest::newRow("year") << "Jan 2 2020" << at(2020, 1, 2);
        QTest::newRow("no such day") << "Feb 31 2020" << QDateTime();
        QTest::newRow("no such month") << "Foo 3 2020" << QDateTime();
        QTest::newRow("between two months") << "anF 3 2020" << QDateTime();
    }

    void datesAreReadAsLocalTime()
    {
        QFETCH(QString, text);
        QFETCH(QDateTime, expected);
        const QStringList parts = text.split(u' ');
        QCOMPARE(UnixListParser::parseDate(parts.at(0), parts.at(1), parts.at(2), now).value_or(QDateTime()), expected);
    }

    void listingCutShortByTheServerIsRecognised()
    {
        const QString self = u"drwxr-xr-x    ? ada staff 1 Mar  1 10:00 /d/.\n"_s;
        QVERIFY(UnixListParser::listsTheFolderItself(self, u"/d"_s));
        QVERIFY(!UnixListParser::listsTheFolderItself(QString(), u"/d"_s));
    }
};

MOORIX_TEST(UnixListParserTest)
#include "UnixListParserTest.moc"
