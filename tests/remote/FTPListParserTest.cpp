// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPListParser.h"
#include "files/FileServiceError.h"
#include "remote/RemoteCharset.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;

namespace {

const QDateTime now(QDate(2026, 11, 24), QTime(12, 0), Qt::UTC);

FTPListing parse(const QByteArray &text, const QString &charset = QStringLiteral("UTF-8"))
{
    return FTPListParser::parse(text, QStringLiteral("/dir"), RemoteCharset(charset), now);
}

/// One line for an entry: kind, permissions, owner, size, time, name; "-" for what is not known.
QString described(const FileItem &item)
{
    const QString kind = item.isSymlink     ? QStringLiteral("link")
                         : item.isDirectory ? QStringLiteral("folder")
                                            : QStringLiteral("file");
    const QString time =
        item.modified ? item.modified->toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QStringLiteral("-");
    return QStringList{kind,
                       item.permissions.value_or(QStringLiteral("-")),
                       item.ownerName.value_or(QStringLiteral("-")),
                       QString::number(item.size),
                       time,
                       u'<' + item.name + u'>'}
        .join(u' ');
}

QStringList namesOf(const FTPListing &listing)
{
    QStringList names;
    for (const FileItem &item : listing.items)
        names << item.name;
    return names;
}

} // namespace

class FTPListParserTest final : public QObject
{
    Q_OBJECT

private slots:
    void lineBecomesAnEntry_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("entry");
        const auto row = [](const char *title, const char *line, const char *entry) {
            QTest::newRow(title) << QByteArray(line) << QString::fromUtf8(entry);
        };
        row("vsftpd file", "-rw-r--r--    1 1000     1000         1023 Nov 24 09:05 notes.txt",
            "file rw-r--r-- 1000 1023 2026-11-24 09:05:00 <notes.txt>");
        row("ProFTPD folder", "drwxr-x---   3 ann      users        4096 May  2  2024 src",
            "folder rwxr-x--- ann 4096 2024-05-02 00:00:00 <src>");
        row("no group column", "-rw-r--r--   1 ann        42 Jan  5 10:00 one",
            "file rw-r--r-- ann 42 2026-01-05 10:00:00 <one>");
        row("group with a blank", "-rw-r--r--   1 ann Domain Users        42 Jan  5 10:00 one",
            "file rw-r--r-- ann 42 2026-01-05 10:00:00 <one>");
        row("larger than 32 bits", "-rw-r--r--   1 a b 5000000000 Jan  5 10:00 big",
            "file rw-r--r-- a 5000000000 2026-01-05 10:00:00 <big>");
        row("special bits and a mark", "-rwsr-xr-t+  1 a b 1 Jan  5 10:00 x",
            "file rwsr-xr-t a 1 2026-01-05 10:00:00 <x>");
        row("device", "crw-rw-rw-   1 root root    1,   3 Jan  5 10:00 null",
            "file rw-rw-rw- root 3 2026-01-05 10:00:00 <null>");
        row("long ISO date", "-rw-r--r-- 1 a b 7 2025-03-01 23:59 x", "file rw-r--r-- a 7 2025-03-01 23:59:00 <x>");
        row("link", "lrwxrwxrwx   1 a b 7 Jan  5 10:00 bin -> usr/bin", "link rwxrwxrwx a 7 2026-01-05 10:00:00 <bin>");
        row("arrow in a file's name", "-rw-r--r--   1 a b 7 Jan  5 10:00 a -> b",
            "file rw-r--r-- a 7 2026-01-05 10:00:00 <a -> b>");
        row("blanks around a name", "-rw-r--r--   1 a b 7 Jan  5 10:00   x  y ",
            "file rw-r--r-- a 7 2026-01-05 10:00:00 <  x  y >");
        row("name like a line", "-rw-r--r--   1 a b 7 Jan  5 10:00 9 Feb 03 11:00 x",
            "file rw-r--r-- a 7 2026-01-05 10:00:00 <9 Feb 03 11:00 x>");
        row("impossible date", "-rw-r--r--   1 a b 7 Feb 30  2024 x", "file rw-r--r-- a 7 - <x>");
        row("later today", "-rw-r--r--   1 a b 7 Nov 24 23:00 x", "file rw-r--r-- a 7 2026-11-24 23:00:00 <x>");
        row("in two days", "-rw-r--r--   1 a b 7 Nov 26 12:00 x", "file rw-r--r-- a 7 2025-11-26 12:00:00 <x>");
        row("year ahead", "-rw-r--r--   1 a b 7 Jan 05  2027 x", "file rw-r--r-- a 7 2027-01-05 00:00:00 <x>");
        row("IIS folder", "11-24-26  03:15PM       <DIR>          Program Files",
            "folder - - 0 2026-11-24 15:15:00 <Program Files>");
        row("IIS file after midnight", "02-09-99  12:05AM                 1234  x",
            "file - - 1234 1999-02-09 00:05:00 < x>");
        row("IIS four-digit year and commas", "02-09-2024  22:05         1,234,567 a b",
            "file - - 1234567 2024-02-09 22:05:00 <a b>");
        row("IIS year first", "2002-09-02  18:48       <DIR>          x", "folder - - 0 2002-09-02 18:48:00 <x>");
        row("IIS junction", "11-24-26  03:15PM    <JUNCTION>     all [C:\\ProgramData]",
            "link - - 0 2026-11-24 15:15:00 <all>");
        row("facts of a file", "modify=20260301120005;type=file;size=12;UNIX.mode=0640;UNIX.ownername=ann; a b",
            "file rw-r----- ann 12 2026-03-01 12:00:05 <a b>");
        row("facts of a folder", "Type=dir;Modify=20260301120005.123;  x", "folder - - 0 2026-03-01 12:00:05 < x>");
        row("facts of a link", "type=OS.unix=symlink;UNIX.mode=0777; x", "link rwxrwxrwx - 0 - <x>");
        row("facts of a link with a target", "type=OS.unix=slink:/etc; x", "link - - 0 - <x>");
    }

    void lineBecomesAnEntry()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, entry);
        const FTPListing listing = parse(line + "\r\n");
        QCOMPARE(listing.items.size(), 1);
        QCOMPARE(described(listing.items.constFirst()), entry);
        QCOMPARE(listing.items.constFirst().path, QStringLiteral("/dir/") + listing.items.constFirst().name);
    }

    void namesThatLeadElsewhereAreLeftOut()
    {
        const QByteArray head("-rw-r--r--   1 a b 7 Jan  5 10:00 ");
        QByteArray text("total 12\n");
        for (const QByteArray &name : {QByteArray("."), QByteArray(".."), QByteArray(""), QByteArray("../etc/passwd"),
                                       QByteArray("a\0b", 3), QByteArray("kept")})
            text += head + name + '\n';
        text += "type=cdir; here\ntype=pdir; above\ntype=file; /etc/passwd\n";
        QCOMPARE(namesOf(parse(text)), QStringList{QStringLiteral("kept")});
    }

    void onlyAListingOfUnknownLinesIsForeign()
    {
        QVERIFY(!parse("").isForeign());
        QVERIFY(!parse("total 0\r\n").isForeign());
        QVERIFY(!parse("drwxr-xr-x   2 a b 7 Jan  5 10:00 .\r\n").isForeign());
        QVERIFY(!parse("-rw-r--r--   1 a b 7 Jan  5 10:00 x\nrest of a broken name\n").isForeign());
        QVERIFY(parse("d [RWCEAFMS] admin 512 Jan 12 1994 SYS\r\n").isForeign());
    }

    void bytesOfNamesSurviveBothWays_data()
    {
        QTest::addColumn<QString>("charset");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("name");
        const auto row = [](const char *title, const char *charset, const QByteArray &bytes, const QString &name) {
            QTest::newRow(title) << QString::fromLatin1(charset) << bytes << name;
        };
        row("UTF-8", "UTF-8", "\xC3\xBC\xE2\x98\xBA", QStringLiteral("ü☺"));
        row("no UTF-8", "utf8", "caf\xE9", QStringLiteral("caf") + QChar(0xDCE9));
        row("half a character", "UTF-8", "a\xE2\x98", QStringLiteral("a") + QChar(0xDCE2) + QChar(0xDC98));
        row("Latin-1", "ISO-8859-1", "caf\xE9", QStringLiteral("café"));
        row("euro sign", "windows-1252", "\x80uro", QStringLiteral("€uro"));
        row("unused byte", "windows-1252", "a\x81", QStringLiteral("a") + QChar(0xDC81));
        row("Shift-JIS", "CP932", "\x93\xFA\x96{", QStringLiteral("日本"));
        row("Shift-JIS by its second spelling", "CP932", "\xFA\x54", QString(QChar(0xDCFA)) + QLatin1Char('T'));
        row("Cyrillic", "KOI8-R", "\xC6\xC1\xCA\xCC", QStringLiteral("файл"));
    }

    void bytesOfNamesSurviveBothWays()
    {
        QFETCH(QString, charset);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, name);
        const FTPListing listing = parse("-rw-r--r--   1 a b 7 Jan  5 10:00 " + bytes + '\n', charset);
        QCOMPARE(namesOf(listing), QStringList{name});
        QCOMPARE(RemoteCharset(charset).encode(name), std::optional(bytes));
    }

    void whatTheCharacterSetDoesNotHaveIsRefused()
    {
        QVERIFY(!RemoteCharset(QStringLiteral("ISO-8859-1")).encode(QStringLiteral("☺")));
        QVERIFY(!RemoteCharset(QStringLiteral("UTF-8")).encode(QString(QChar(0xD800))));
        for (const char *name : {"no-such-set", "UTF-16", "", "UTF-8//TRANSLIT"})
            QVERIFY_THROWS_EXCEPTION(FileServiceError, RemoteCharset(QString::fromLatin1(name)));
    }
};

MOORIX_TEST(FTPListParserTest)
#include "FTPListParserTest.moc"
