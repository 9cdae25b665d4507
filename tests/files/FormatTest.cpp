// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/Format.h"

#include "files/FileNames.h"
#include "files/FileSortKey.h"
#include "files/NativePath.h"
#include "support/TestMain.h"

#include <QLocale>
#include <QTest>

using namespace moorix;

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
        QTest::newRow("nothing in digits") << qint64(0) << QStringLiteral("0 bytes");
        QTest::newRow("singular") << qint64(1) << QStringLiteral("1 byte");
        QTest::newRow("last in bytes") << qint64(999) << QStringLiteral("999 bytes");
        QTest::newRow("first in kB") << qint64(1000) << QStringLiteral("1.0 kB");
        QTest::newRow("rounded") << qint64(1849) << QStringLiteral("1.8 kB");
        QTest::newRow("last with a decimal") << qint64(99949) << QStringLiteral("99.9 kB");
        QTest::newRow("first without a decimal") << qint64(99950) << QStringLiteral("100 kB");
        QTest::newRow("never 1000 of a unit") << qint64(999500) << QStringLiteral("1.0 MB");
        QTest::newRow("megabytes") << qint64(4600000) << QStringLiteral("4.6 MB");
        QTest::newRow("largest") << std::numeric_limits<qint64>::max() << QStringLiteral("9.2 EB");
    }
    void sizesAreShownInDecimalUnits()
    {
        QFETCH(qint64, bytes);
        QTEST(Format::byteCount(bytes), "text");
    }

    void sizesUseTheDecimalPointOfTheLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German));
        QCOMPARE(Format::byteCount(4600000), QStringLiteral("4,6 MB"));
    }

    void dateIsMediumWithAShortTime_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("text");
        QTest::newRow("weekday in front")
            << QLocale(QLocale::English, QLocale::UnitedStates) << QStringLiteral("Mar 5, 2024, 2:07 PM");
        QTest::newRow("day first") << QLocale(QLocale::German) << QStringLiteral("5. März 2024, 14:07");
        QTest::newRow("no seconds where Qt has no short time") << QLocale::c() << QStringLiteral("5 Mar 2024, 14:07");
        QTest::newRow("weekday at the end") << QLocale(QLocale::Chinese) << QStringLiteral("2024年3月5日, 14:07");
    }
    void dateIsMediumWithAShortTime()
    {
        QFETCH(QLocale, locale);
        QLocale::setDefault(locale);
        QTEST(Format::date(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9))), "text");
    }

    void absentDateIsAnEmDash() { QCOMPARE(Format::date(std::nullopt), QStringLiteral("—")); }

    void pathsAreJoinedWithOneSlash_data()
    {
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::newRow("empty base") << ""
                                    << "a"
                                    << "/a";
        QTest::newRow("root") << "/"
                              << "a"
                              << "/a";
        QTest::newRow("folder") << "/x"
                                << "a"
                                << "/x/a";
        QTest::newRow("trailing slash") << "/x/"
                                        << "a"
                                        << "/x/a";
        QTest::newRow("nothing is normalised") << "/x"
                                               << " ../."
                                               << "/x/ ../.";
    }
    void pathsAreJoinedWithOneSlash()
    {
        QFETCH(QString, base);
        QFETCH(QString, name);
        QTEST(Format::join(base, name), "path");
    }

    void pathsAreTakenApart_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("name");
        QTest::newRow("deep") << "/a/b/c"
                              << "/a/b"
                              << "c";
        QTest::newRow("top level") << "/a"
                                   << "/"
                                   << "a";
        QTest::newRow("root") << "/"
                              << "/"
                              << "";
        QTest::newRow("trailing slash") << "/a/b/"
                                        << "/a"
                                        << "b";
        QTest::newRow("doubled slash") << "/a//b"
                                       << "/a"
                                       << "b";
    }
    void pathsAreTakenApart()
    {
        QFETCH(QString, path);
        QTEST(Format::parent(path), "parent");
        QTEST(Format::fileName(path), "name");
    }

    void whatCannotBeSeenIsShownAsAnEscape_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("shown");
        QTest::newRow("ordinary") << QByteArray("a ü 🎈") << QStringLiteral("a ü 🎈");
        QTest::newRow("line break and tab") << QByteArray("a\nb\tc") << QStringLiteral("a\\nb\\tc");
        QTest::newRow("escape character") << QByteArray("\x1b[31m") << QStringLiteral("\\x1B[31m");
        QTest::newRow("not UTF-8") << QByteArray("a\xFF\x80z") << QStringLiteral("a\\xFF\\x80z");
        QTest::newRow("reversed reading") << QByteArray("a\xE2\x80\xAEgpj.exe") << QStringLiteral("a\\u202Egpj.exe");
    }
    void whatCannotBeSeenIsShownAsAnEscape()
    {
        QFETCH(QByteArray, bytes);
        QTEST(Format::display(NativePath::text(bytes)), "shown");
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

    void copiesAreNamedBeforeTheExtension_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("copy");
        QTest::newRow("extension") << "a.txt" << 1 << "a copy.txt";
        QTest::newRow("second") << "a.txt" << 2 << "a copy 2.txt";
        QTest::newRow("none") << "Makefile" << 1 << "Makefile copy";
        QTest::newRow("hidden") << ".bashrc" << 1 << ".bashrc copy";
        QTest::newRow("hidden with extension") << ".a.conf" << 3 << ".a copy 3.conf";
        QTest::newRow("packed archive") << "a.b.tar.gz" << 1 << "a.b copy.tar.gz";
        QTest::newRow("only looks packed") << ".tar.gz" << 1 << ".tar copy.gz";
        QTest::newRow("trailing dot") << "a." << 1 << "a. copy";
    }
    void copiesAreNamedBeforeTheExtension()
    {
        QFETCH(QString, name);
        QFETCH(int, number);
        QTEST(FileNames::copyOfFile(name, number), "copy");
    }

    void folderCopiesKeepDotsInTheirName()
    {
        QCOMPARE(FileNames::copyOfFolder(QStringLiteral("v1.2"), 2), QStringLiteral("v1.2 copy 2"));
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
        for (const FileSortKey key : allFileSortKeys)
            QCOMPARE(fileSortKeyFromRaw(rawText(key)), std::optional(key));
        QCOMPARE(fileSortKeyFromRaw(QStringLiteral("Name")), std::optional(FileSortKey::name));
        QVERIFY(!fileSortKeyFromRaw(QStringLiteral("colour")));
    }
};

MOORIX_TEST(FormatTest)
#include "FormatTest.moc"
