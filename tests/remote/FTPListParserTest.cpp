// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPListParser.h"
#include "files/FileServiceError.h"
#include "remote/RemoteCharset.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QDateTime now(QDate(2026, 11, 24), QTime(12, 0), Qt::UTC);

FTPListing parse(const QByteArray &text, const QString &charset = u"UTF-8"_s)
{
    return FTPListParser::parse(text, u"/dir"_s, RemoteCharset(charset), now);
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

class FTPListParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void lineBecomesAnEntry()
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
        struct Row
        {
            const char *charset;
            QByteArray bytes;
            QString name;
        };
        const QList<Row> rows{{"UTF-8", "\xC3\xBC\xE2\x98\xBA", u"ü☺"_s},
                              {"utf8", "caf\xE9", u"caf"_s + QChar(0xDCE9)},
                              {"UTF-8", "a\xE2\x98", u"a"_s + QChar(0xDCE2) + QChar(0xDC98)}, // half a character
                              {"ISO-8859-1", "caf\xE9", u"café"_s},
                              {"windows-1252", "\x80uro", u"€uro"_s},
                              {"windows-1252", "a\x81", u"a"_s + QChar(0xDC81)}, // unused byte
                              {"CP932", "\x93\xFA\x96{", u"日本"_s},
                              {"CP932", "\xFA\x54", QString(QChar(0xDCFA)) + u'T'}, // a character's second spelling
                              {"KOI8-R", "\xC6\xC1\xCA\xCC", u"файл"_s}};
        for (const auto &[charset, bytes, name] : rows) {
            const FTPListing listing =
                parse("-rw-r--r--   1 a b 7 Jan  5 10:00 " + bytes + '\n', QLatin1String(charset));
            QCOMPARE(namesOf(listing.items), QStringList{name});
            QCOMPARE(RemoteCharset(QLatin1String(charset)).encode(name), std::optional(bytes));
        }
    }

    void whatTheCharacterSetDoesNotHaveIsRefused()
    {
        QVERIFY(!RemoteCharset(u"ISO-8859-1"_s).encode(u"☺"_s));
        QVERIFY(!RemoteCharset(u"UTF-8"_s).encode(QString(QChar(0xD800))));
        for (const char *name : {"no-such-set", "UTF-16", "", "UTF-8//TRANSLIT"})
            QVERIFY_THROWS_EXCEPTION(FileServiceError, RemoteCharset(QString::fromLatin1(name)));
    }
};

MOORIX_TEST(FTPListParserTest)
#include "FTPListParserTest.moc"
