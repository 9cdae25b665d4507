// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPListParser.h"
#include "remote/FTPListedZone.h"
#include "remote/RemoteCharset.h"
#include "remote/UnixListParser.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace moorix::test;

namespace {

const QDateTime spring(QDate(2026, 3, 10), QTime(12, 0));
const QDateTime autumn(QDate(2026, 11, 24), QTime(12, 0), Qt::UTC);

/// Of each item its kind, name, path and size.
QString named(const QList<FileItem> &items)
{
    QStringList lines;
    for (const FileItem &item : items) {
        const QChar kind = item.isDirectory ? u'd' : item.isSymlink ? u'l' : u'-';
        lines << u"%1|%2|%3|%4"_s.arg(kind).arg(item.name, item.path).arg(item.size);
    }
    return lines.join(u'\n');
}

FTPListing parse(const QByteArray &text, const QString &charset = u"UTF-8"_s)
{
    return FTPListParser::parse(text, u"/dir"_s, RemoteCharset(charset), autumn);
}

/// Kind, permissions, owner, size, time, name; "-" for what is not known.
QString described(const FileItem &item)
{
    const QString kind = item.isSymlink ? u"link"_s : item.isDirectory ? u"folder"_s : u"file"_s;
    const QString time = item.modified ? item.modified->toUTC().toString(u"yyyy-MM-dd HH:mm:ss"_s) : u"-"_s;
    return u"%1 %2 %3 %4 %5 <%6>"_s.arg(kind, item.permissions.value_or(u"-"_s), item.ownerName.value_or(u"-"_s),
                                        QString::number(item.size), time, item.name);
}

} // namespace

/// What servers print about their folders.
class ListParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void rowsOfSSHServersBecomeItems()
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
            QCOMPARE(named(UnixListParser::parse(QString::fromUtf8(row), u"/d"_s, spring)), QString::fromUtf8(item));
        for (const char *nothing :
             {"drwxr-xr-x    ? ada staff 1 Mar  1 10:00 /d/.", "drwxr-xr-x 1 ada staff 1 Mar  1 10:00 ..", "total 12",
              "second half of a name with a newline", "drwx 1 ada staff 1 Mar  1 10:00 short mode",
              "?rwxr-xr-x 1 ada staff 1 Mar  1 10:00 unknown kind", "-rw-r--r-- 1 ada staff 1 Mar  1 10:00", "   "})
            QCOMPARE(named(UnixListParser::parse(QLatin1String(nothing), u"/d"_s, spring)), QString());
    }

    void ownerModeAndTimeAreRead()
    {
        const QString row = u"-rw-r-----    1 ada      staff        12 Mar  9 08:30 größe.txt"_s;
        const FileItem item = UnixListParser::parse(row, u"/srv"_s, spring).constFirst();
        QCOMPARE(item.permissions, u"rw-r-----"_s);
        QCOMPARE(item.ownerName, u"ada"_s);
        QCOMPARE(item.modified, QDateTime(QDate(2026, 3, 9), QTime(8, 30)));
    }

    void folderOfThePathIsStripped()
    {
        const auto item = [](const QString &dir, const QString &shown) {
            const QString row = u"-rw-r--r--    ? ada staff 1 Mar  1 10:00 "_s + shown;
            return named(UnixListParser::parse(row, dir, spring));
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
            u"-rw-r--r-- 1 a b 1 Mar  1 10:00 x\\377y\n-rw-r--r-- 1 a b 1 Mar  1 10:00 bell\\007\n"_s, u"/d"_s, spring);
        QCOMPARE(items.at(0).path, u"/d/x"_s + QChar(0xdcff) + u'y');
        QCOMPARE(items.at(1).path, u"/d/bell"_s + QChar(7));
    }

    void rowsTheClientHasCutAreMarked()
    {
        const QString start = u"-rw-r--r--    ? ada staff 1 Mar  1 10:00 /d/"_s;
        const auto pathOfRow = [&](qsizetype bytes) {
            const QString row = start + QString(bytes - start.size(), u'n');
            return UnixListParser::parse(row, u"/d"_s, spring).constFirst().path;
        };
        QVERIFY(pathOfRow(1022).endsWith(u'n'));
        QVERIFY(pathOfRow(1023).endsWith(u'…'));
    }

    void datesAreReadAsLocalTime()
    {
        // This year, last year, a server whose clock is ahead, one more than a day ahead; leap day; between two months.
        const std::pair<const char *, const char *> rows[] = {{"Mar 10 11:59", "2026-03-10 11:59"},
                                                              {"Dec 31 23:59", "2025-12-31 23:59"},
                                                              {"Mar 11 11:00", "2026-03-11 11:00"},
                                                              {"Mar 12 11:00", "2025-03-12 11:00"},
                                                              {"Feb 29 01:00", "2024-02-29 01:00"},
                                                              {"anF 3 2020", ""},
                                                              {"Jan 2 2020", "2020-01-02 00:00"},
                                                              {"Feb 31 2020", ""},
                                                              {"Foo 3 2020", ""}};
        for (const auto &[text, expected] : rows) {
            const QStringList parts = QString::fromLatin1(text).split(u' ');
            const auto date = UnixListParser::parseDate(parts.at(0), parts.at(1), parts.at(2), spring);
            QCOMPARE(date.value_or(QDateTime()).toString(u"yyyy-MM-dd HH:mm"_s), QLatin1String(expected));
        }
    }

    void linesOfFTPServersBecomeItems()
    {
        const std::pair<const char *, const char *> rows[] = {
            // vsftpd file
            {"-rw-r--r--    1 1000     1000         1023 Nov 24 09:05 notes.txt",
             "file rw-r--r-- 1000 1023 2026-11-24 09:05:00 <notes.txt>"},
            // ProFTPD folder
            {"drwxr-x---   3 ann      users        4096 May  2  2024 src",
             "folder rwxr-x--- ann 4096 2024-05-02 00:00:00 <src>"},
            // no group column
            {"-rw-r--r--   1 ann        42 Jan  5 10:00 one", "file rw-r--r-- ann 42 2026-01-05 10:00:00 <one>"},
            // group with a blank
            {"-rw-r--r--   1 ann Domain Users        42 Jan  5 10:00 one",
             "file rw-r--r-- ann 42 2026-01-05 10:00:00 <one>"},
            // larger than 32 bits
            {"-rw-r--r--   1 a b 5000000000 Jan  5 10:00 big", "file rw-r--r-- a 5000000000 2026-01-05 10:00:00 <big>"},
            // special bits and a mark
            {"-rwsr-xr-t+  1 a b 1 Jan  5 10:00 x", "file rwsr-xr-t a 1 2026-01-05 10:00:00 <x>"},
            // device
            {"crw-rw-rw-   1 root root    1,   3 Jan  5 10:00 null",
             "file rw-rw-rw- root 3 2026-01-05 10:00:00 <null>"},
            {"-rw-r--r-- 1 a b 7 2025-03-01 23:59 x", "file rw-r--r-- a 7 2025-03-01 23:59:00 <x>"}, // long ISO date
            // link
            {"lrwxrwxrwx   1 a b 7 Jan  5 10:00 bin -> usr/bin", "link rwxrwxrwx a 7 2026-01-05 10:00:00 <bin>"},
            // link with an arrow in its name
            {"lrwxrwxrwx   1 a b 1 Jan  5 10:00 a -> b -> c", "link rwxrwxrwx a 1 2026-01-05 10:00:00 <a -> b>"},
            // month of another language
            {"-rw-r--r--   1 a b 7 f\xC3\xA9vr. 5 10:00 x", "file rw-r--r-- a 7 - <x>"},
            // arrow in a file's name
            {"-rw-r--r--   1 a b 7 Jan  5 10:00 a -> b", "file rw-r--r-- a 7 2026-01-05 10:00:00 <a -> b>"},
            // blanks around a name
            {"-rw-r--r--   1 a b 7 Jan  5 10:00   x  y ", "file rw-r--r-- a 7 2026-01-05 10:00:00 <  x  y >"},
            // name like a line
            {"-rw-r--r--   1 a b 7 Jan  5 10:00 9 Feb 03 11:00 x",
             "file rw-r--r-- a 7 2026-01-05 10:00:00 <9 Feb 03 11:00 x>"},
            {"-rw-r--r--   1 a b 7 Feb 30  2024 x", "file rw-r--r-- a 7 - <x>"},                   // impossible date
            {"-rw-r--r--   1 a b 7 Nov 24 23:00 x", "file rw-r--r-- a 7 2026-11-24 23:00:00 <x>"}, // later today
            {"-rw-r--r--   1 a b 7 Nov 26 12:00 x", "file rw-r--r-- a 7 2025-11-26 12:00:00 <x>"}, // in two days
            {"-rw-r--r--   1 a b 7 Jan 05  2027 x", "file rw-r--r-- a 7 2027-01-05 00:00:00 <x>"}, // year ahead
            // IIS folder
            {"11-24-26  03:15PM       <DIR>          Program Files",
             "folder - - 0 2026-11-24 15:15:00 <Program Files>"},
            // IIS file after midnight
            {"02-09-99  12:05AM                 1234  x", "file - - 1234 1999-02-09 00:05:00 < x>"},
            // IIS four-digit year and commas
            {"02-09-2024  22:05         1,234,567 a b", "file - - 1234567 2024-02-09 22:05:00 <a b>"},
            {"2002-09-02  18:48       <DIR>          x", "folder - - 0 2002-09-02 18:48:00 <x>"}, // IIS year first
            // IIS junction
            {"11-24-26  03:15PM    <JUNCTION>     all [C:\\ProgramData]", "link - - 0 2026-11-24 15:15:00 <all>"},
            // facts of a file
            {"modify=20260301120005;type=file;size=12;UNIX.mode=0640;UNIX.ownername=ann; a b",
             "file rw-r----- ann 12 2026-03-01 12:00:05 <a b>"},
            {"Type=dir;Modify=20260301120005.123;  x", "folder - - 0 2026-03-01 12:00:05 < x>"}, // facts of a folder
            {"type=OS.unix=symlink;UNIX.mode=0777; x", "link rwxrwxrwx - 0 - <x>"},              // facts of a link
            {"type=OS.unix=slink:/etc; x", "link - - 0 - <x>"}, // facts of a link with a target
        };
        for (const auto &[line, entry] : rows) {
            const FTPListing listing = parse(line + QByteArray("\r\n"));
            QCOMPARE(listing.items.size(), 1);
            QCOMPARE(described(listing.items.constFirst()), QString::fromUtf8(entry));
            QCOMPARE(listing.items.constFirst().path, u"/dir/"_s + listing.items.constFirst().name);
        }
    }

    void namesThatLeadElsewhereAreLeftOut()
    {
        const QByteArray head("-rw-r--r--   1 a b 7 Jan  5 10:00 ");
        QByteArray text("total 12\n" + head + QByteArray("a\0b\n", 4));
        for (const char *name : {".", "..", "", "../etc/passwd", "kept"})
            text += head + name + '\n';
        text += "type=cdir; here\ntype=pdir; above\ntype=file; /etc/passwd\n";
        QCOMPARE(namesOf(parse(text).items), QStringList{u"kept"_s});
    }

    void rowsInsideANameMakeNoFolderOfALink()
    {
        const QByteArray rows("-rw-r--r--   1 a b 7 Jan  5 10:00 x\ndrwxr-xr-x   1 a b 7 Jan  5 10:00 a -> b\n"
                              "lrwxrwxrwx   1 a b 6 Jan  5 10:00 a -> b -> /other\n");
        QCOMPARE(named(parse(rows).items), u"-|x|/dir/x|7\nl|a -> b|/dir/a -> b|6"_s);
        const QString sftpRows = u"lrwxrwxrwx    ? a b 6 Jan  5 10:00 /d/l\n-rw-r--r--    ? a b 7 Jan  5 10:00 /d/x\n"
                                 "drwxr-xr-x    ? a b 7 Jan  5 10:00 l\n"_s;
        QCOMPARE(named(UnixListParser::parse(sftpRows, u"/d"_s, spring)), u"l|l|/d/l|6\n-|x|/d/x|7"_s);
    }

    void onlyAListingOfUnknownLinesIsForeign()
    {
        QVERIFY(!parse("").isForeign());
        QVERIFY(!parse("total 0\r\n").isForeign());
        QVERIFY(!parse("drwxr-xr-x   2 a b 7 Jan  5 10:00 .\r\n").isForeign());
        QVERIFY(!parse("-rw-r--r--   1 a b 7 Jan  5 10:00 x\nrest of a broken name\n").isForeign());
        QVERIFY(parse("d [RWCEAFMS] admin 512 Jan 12 1994 SYS\r\n").isForeign());
    }

    void bytesOfNamesSurviveBothWays()
    {
        // No UTF-8 at all; half a character; an unused byte; a character's second spelling.
        const std::tuple<QString, QByteArray, QString> rows[] = {
            {u"UTF-8"_s, "\xC3\xBC\xE2\x98\xBA", u"ü☺"_s},
            {u"utf8"_s, "caf\xE9", u"caf"_s + QChar(0xDCE9)},
            {u"UTF-8"_s, "a\xE2\x98", u"a"_s + QChar(0xDCE2) + QChar(0xDC98)},
            {u"ISO-8859-1"_s, "caf\xE9", u"café"_s},
            {u"windows-1252"_s, "\x80uro", u"€uro"_s},
            {u"windows-1252"_s, "a\x81", u"a"_s + QChar(0xDC81)},
            {u"CP932"_s, "\xFA\x54", QString(QChar(0xDCFA)) + u'T'},
            {u"CP932"_s, "\x93\xFA\x96{", u"日本"_s},
            {u"KOI8-R"_s, "\xC6\xC1\xCA\xCC", u"файл"_s}};
        for (const auto &[charset, bytes, name] : rows) {
            QCOMPARE(namesOf(parse("-rw-r--r--   1 a b 7 Jan  5 10:00 " + bytes + '\n', charset).items), {name});
            QCOMPARE(RemoteCharset(charset).encode(name), std::optional(bytes));
        }
    }

    void whatTheCharacterSetDoesNotHaveIsRefused()
    {
        QVERIFY(!RemoteCharset(u"ISO-8859-1"_s).encode(u"☺"_s));
        QVERIFY(!RemoteCharset(u"UTF-8"_s).encode(QString(QChar(0xD800))));
        for (const char *name : {"no-such-set", "UTF-16", "", "UTF-8//TRANSLIT"})
            QVERIFY_THROWS_EXCEPTION(FileServiceError, RemoteCharset(QString::fromLatin1(name)));
    }

    void zoneOfAServerIsWhatItsFilesAgreeOn()
    {
        // By how many seconds each file is listed later than MDTM says; of the second, one has changed meanwhile.
        const std::pair<QList<int>, int> rows[] = {
            {{-12659}, -12600}, {{-7200, 3600, 3600}, 3600}, {{400, 900}, 900}, {{400}, -1}, {{86400}, -1}, {{}, -1}};
        for (const auto &[differences, expected] : rows) {
            QList<FileItem> files(differences.size());
            for (qsizetype i = 0; i < files.size(); ++i)
                files[i].modified = autumn.addSecs(differences.at(i));
            const QList<FTPReply> replies(files.size(), {213, autumn.toString(u"yyyyMMddHHmmss"_s).toLatin1()});
            QCOMPARE(FTPListedZone::aheadOfUTC(files, replies).value_or(-1s).count(), expected);
        }
    }
};

MOORIX_TEST(ListParserTest)
#include "ListParserTest.moc"
