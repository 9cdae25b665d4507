// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/Format.h"

#include "files/FileNames.h"
#include "files/FileSortKey.h"
#include "files/NativePath.h"
#include "support/TestMain.h"

#include <QLocale>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

class FormatTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void sizesAreShownInDecimalUnits_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing in digits") << qint64(0) << u"0 bytes"_s;
        QTest::newRow("singular") << qint64(1) << u"1 byte"_s;
        QTest::newRow("last in bytes") << qint64(999) << u"999 bytes"_s;
        QTest::newRow("first in kB") << qint64(1000) << u"1.0 kB"_s;
        QTest::newRow("last with a decimal") << qint64(99949) << u"99.9 kB"_s;
        QTest::newRow("first without a decimal") << qint64(99950) << u"100 kB"_s;
        QTest::newRow("never 1000 of a unit") << qint64(999500) << u"1.0 MB"_s;
        QTest::newRow("largest") << std::numeric_limits<qint64>::max() << u"9.2 EB"_s;
    }
    void sizesAreShownInDecimalUnits()
    {
        QFETCH(qint64, bytes);
        QTEST(Format::byteCount(bytes), "text");
    }

    void datesAndSizesFollowTheLocale()
    {
        const QDateTime date(QDate(2024, 3, 5), QTime(14, 7, 9));
        QCOMPARE(Format::date(date), u"Mar 5, 2024, 2:07 PM"_s);
        QLocale::setDefault(QLocale(QLocale::German));
        QCOMPARE(Format::date(date), u"5. März 2024, 14:07"_s);
        QCOMPARE(Format::byteCount(4600000), u"4,6 MB"_s);
        QLocale::setDefault(QLocale(QLocale::Chinese)); // weekday at the end
        QCOMPARE(Format::date(date), u"2024年3月5日, 14:07"_s);
        QLocale::setDefault(QLocale::c()); // Qt has no short time without seconds for it
        QCOMPARE(Format::date(date), u"5 Mar 2024, 14:07"_s);
        QCOMPARE(Format::date(std::nullopt), u"—"_s);
    }

    void pathsAreJoinedWithOneSlash()
    {
        for (const QString &root : {u""_s, u"/"_s})
            QCOMPARE(Format::join(root, u"a"_s), u"/a"_s);
        for (const QString &folder : {u"/x"_s, u"/x/"_s})
            QCOMPARE(Format::join(folder, u" ../."_s), u"/x/ ../."_s);
    }

    void pathsAreTakenApart()
    {
        const auto parts = [](const QString &path) { return Format::parent(path) + u'|' + Format::fileName(path); };
        QCOMPARE(parts(u"/a/b/c"_s), u"/a/b|c"_s);
        QCOMPARE(parts(u"/a"_s), u"/|a"_s);
        QCOMPARE(parts(u"/"_s), u"/|"_s);
        QCOMPARE(parts(u"/a/b/"_s), u"/a|b"_s);
        QCOMPARE(parts(u"/a//b"_s), u"/a|b"_s);
    }

    void whatCannotBeSeenIsShownAsAnEscape()
    {
        const auto shown = [](const QByteArray &bytes) { return Format::display(NativePath::text(bytes)); };
        QCOMPARE(shown("a ü 🎈"), u"a ü 🎈"_s);
        QCOMPARE(shown("a\nb\tc"), u"a\\nb\\tc"_s);
        QCOMPARE(shown("\x1b[31m"), u"\\x1B[31m"_s);
        QCOMPARE(shown("a\xFF\x80z"), u"a\\xFF\\x80z"_s);
        QCOMPARE(shown("a\xE2\x80\xAEgpj.exe"), u"a\\u202Egpj.exe"_s); // right-to-left override
    }

    void anyNameSurvivesTheWayToTextAndBack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("ASCII") << QByteArray("plain.txt");
        QTest::newRow("every length of UTF-8") << QByteArray("aü€🎈");
        QTest::newRow("byte order mark in front") << QByteArray("\xEF\xBB\xBF\xEF\xBB\xBFname");
        QTest::newRow("Latin-1") << QByteArray("M\xFCller.txt");
        QTest::newRow("cut sequence at the end") << QByteArray("a\xE2\x82");
        QTest::newRow("cut sequence before ASCII") << QByteArray("\xF0\x9F"
                                                                 "abc");
        QTest::newRow("overlong slash") << QByteArray("\xC0\xAF\xE0\x80\xAF\xF0\x80\x80\xAF");
        QTest::newRow("encoded surrogates") << QByteArray("\xED\xA0\xBD\xED\xBC\x88");
        QTest::newRow("beyond Unicode") << QByteArray("\xF4\x90\x80\x80\xF8\xFF");
        QTest::newRow("emoji before a stray byte") << QByteArray("🎈\x88🎈");
    }
    void anyNameSurvivesTheWayToTextAndBack()
    {
        QFETCH(QByteArray, bytes);
        const QString text = NativePath::text(bytes);
        QCOMPARE(NativePath::bytes(text).toHex(' '), bytes.toHex(' '));
        QVERIFY(!text.contains(u'/') && !text.contains(QChar::ReplacementCharacter));
        QCOMPARE(NativePath::isUnicode(text), QByteArrayView(bytes).isValidUtf8());
    }

    void copiesAreNamedBeforeTheExtension()
    {
        QCOMPARE(FileNames::copyOfFile(u"a.txt"_s, 1), u"a copy.txt"_s);
        QCOMPARE(FileNames::copyOfFile(u"Makefile"_s, 1), u"Makefile copy"_s);
        QCOMPARE(FileNames::copyOfFile(u".bashrc"_s, 1), u".bashrc copy"_s);
        QCOMPARE(FileNames::copyOfFile(u".a.conf"_s, 3), u".a copy 3.conf"_s);
        QCOMPARE(FileNames::copyOfFile(u"a.b.tar.gz"_s, 1), u"a.b copy.tar.gz"_s);
        QCOMPARE(FileNames::copyOfFile(u".tar.gz"_s, 1), u".tar copy.gz"_s);
        QCOMPARE(FileNames::copyOfFile(u"a."_s, 1), u"a. copy"_s);
        QCOMPARE(FileNames::copyOfFolder(u"v1.2"_s, 2), u"v1.2 copy 2"_s);
    }

    void namesThatCannotBeAreRefused()
    {
        for (const char *name : {"", ".", "..", "a/b", "/", "a\nb", "\x7f"})
            QVERIFY2(FileNames::problem(QString::fromLatin1(name)), name);
        for (const char *name : {"a", " ", "...", ".a", "a\\b", "-x", "*", "ü"})
            QVERIFY2(!FileNames::problem(QString::fromUtf8(name)), name);
    }

    void storedSortKeysAreReadInAnyCapitalisation()
    {
        QCOMPARE(fileSortKeyFromRaw(u"Name"_s), std::optional(FileSortKey::name));
        QVERIFY(!fileSortKeyFromRaw(u"colour"_s));
    }
};

MOORIX_TEST(FormatTest)
#include "FormatTest.moc"
