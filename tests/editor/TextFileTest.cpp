// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/TextFile.h"
#include "base/Error.h"
#include "files/LocalFileService.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

unsigned modeOf(const QString &path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

/// Text files from the disk and back.
class TextFileTest final : public QObject
{
    Q_OBJECT

    LocalFileService m_disk;

    textFile::Reading load(const TestTree &tree, const char *name)
    {
        return textFile::load(m_disk, tree.path(QString::fromLatin1(name)), std::nullopt, {});
    }

private slots:
    void everyTextComesBackAsTheVeryBytesItWas()
    {
        const std::tuple<QByteArray, TextEncoding, LineEnds> rows[] = {
            {"", TextEncoding::utf8, {LineEnd::lf, false}},
            {"a\nb", TextEncoding::utf8, {LineEnd::lf, false}},
            {"a\r\nb\r\n", TextEncoding::utf8, {LineEnd::crlf, false}},
            {"a\rb\r", TextEncoding::utf8, {LineEnd::cr, false}},
            {"a\r\nb\r\nc\n", TextEncoding::utf8, {LineEnd::crlf, true}},
            {"\xEF\xBB\xBFgr\xC3\xBC\xC3\x9F\n", TextEncoding::utf8Marked, {LineEnd::lf, false}},
            {"gr\xFC\xDF\r\n", TextEncoding::latin1, {LineEnd::crlf, false}},
            {QByteArray("\xFF\xFE\x61\0\x0A\0", 6), TextEncoding::utf16LittleEndian, {LineEnd::lf, false}},
        };
        for (const auto &[bytes, encoding, lineEnds] : rows) {
            const TestTree tree({{"a", bytes}});
            const auto reading = load(tree, "a");
            QCOMPARE(reading.obstacle, textFile::Obstacle::none);
            QCOMPARE(reading.loaded.encoding, encoding);
            QCOMPARE(reading.loaded.lineEnds, lineEnds);
            QCOMPARE(encodedText(QString::fromUtf8(reading.loaded.text), encoding), bytes);
        }
    }

    void whatIsNoTextOrTooMuchOfItIsNotRead()
    {
        const TestTree tree({{"binary", QByteArray("a\0b", 3)}, {"large", ""}, {"folder/", ""}});
        QVERIFY(QFile::resize(tree.path("large"), textFile::maxBytes + 1));
        QCOMPARE(load(tree, "binary").obstacle, textFile::Obstacle::noText);
        const auto large = load(tree, "large");
        QCOMPARE(large.obstacle, textFile::Obstacle::tooLarge);
        QCOMPARE(large.size, textFile::maxBytes + 1);
        QVERIFY_THROWS_EXCEPTION(Error, load(tree, "folder"));
        QVERIFY_THROWS_EXCEPTION(Error, load(tree, "missing"));
    }

    void savingKeepsTheModeAndTheLinkAndLeavesNothingBeside()
    {
        const TestTree tree({{"real/a", "old"}});
        QVERIFY(QFile::link(tree.path("real/a"), tree.path("link")));
        QCOMPARE(::chmod(QFile::encodeName(tree.path("real/a")).constData(), 0640), 0);
        const auto known = load(tree, "link").loaded.version;
        const auto saving = textFile::save(m_disk, tree.path("link"), "new text", known, {});
        QCOMPARE(saving.standing, textFile::Standing::same);
        QCOMPARE(saving.version.size, 8);
        QVERIFY(QFileInfo(tree.path("link")).isSymLink());
        QCOMPARE(tree.read("real/a"), "new text");
        QCOMPARE(modeOf(tree.path("real/a")), 0640U);
        QCOMPARE(QDir(tree.path("real")).entryList(QDir::Files | QDir::Hidden), QStringList{u"a"_s});
        QCOMPARE(textFile::standing(m_disk, tree.path("link"), saving.version, {}), textFile::Standing::same);
    }

    void whatSomebodyElseWroteIsNeverReplacedUnasked()
    {
        const TestTree tree({{"a", "old text"}});
        const auto known = load(tree, "a").loaded.version;
        // As long as before: the size alone does not tell.
        tree.write("a", "OLD TEXT");
        QCOMPARE(textFile::save(m_disk, tree.path("a"), "mine", known, {}).standing, textFile::Standing::changed);
        QCOMPARE(tree.read("a"), "OLD TEXT");
        // Only touched.
        tree.write("a", "old text");
        QCOMPARE(textFile::save(m_disk, tree.path("a"), "mine", known, {}).standing, textFile::Standing::same);
        QVERIFY(QFile::remove(tree.path("a")));
        QCOMPARE(textFile::save(m_disk, tree.path("a"), "again", known, {}).standing, textFile::Standing::gone);
        QVERIFY(!tree.exists("a"));
        QCOMPARE(textFile::save(m_disk, tree.path("a"), "again", std::nullopt, {}).standing, textFile::Standing::same);
        QCOMPARE(tree.read("a"), "again");
    }

    void protectionIsToldWithItsReason()
    {
        const TestTree tree({{"a", ""}, {"b", ""}});
        QCOMPARE(::chmod(QFile::encodeName(tree.path("b")).constData(), 0444), 0);
        QVERIFY(textFile::protectionOf(tree.path("a")).reason.isEmpty());
        QVERIFY(!textFile::protectionOf(tree.path("b")).reason.isEmpty());
        QVERIFY(textFile::protectionOf(tree.path("missing")).reason.isEmpty());
    }

    void charactersWithoutBytesAreNamedWithTheirLine()
    {
        const QString text = u"grün\r\nfünf\r→ 😀"_s;
        const auto arrow = textFile::firstUnencodable(text, TextEncoding::latin1);
        QVERIFY(arrow);
        QCOMPARE(arrow->character, u"→"_s);
        QCOMPARE(arrow->line, 3);
        QVERIFY(!textFile::firstUnencodable(text, TextEncoding::utf8));
        QVERIFY(!textFile::firstUnencodable(u"grün"_s, TextEncoding::latin1));
    }

    void lineEndsAreMadeAlike()
    {
        QCOMPARE(withLineEnds("a\r\nb\rc\n\n\r", LineEnd::lf), "a\nb\nc\n\n\n");
        QCOMPARE(withLineEnds("a\nb\r\n", LineEnd::crlf), "a\r\nb\r\n");
        QCOMPARE(withLineEnds("a\r\n", LineEnd::cr), "a\r");
    }

    void indentationIsThatOfMostLines()
    {
        QCOMPARE(Indentation::of("a\n\tb\n\t\tc\n  d\n"), (Indentation{true, 4}));
        QCOMPARE(Indentation::of("a:\n  b:\n    c: 1\n  d: 2\n"), (Indentation{false, 2}));
        QCOMPARE(Indentation::of("f() {\r\n        x;\r\n\r\n        y;\r\n}\r\n"), (Indentation{false, 8}));
        QCOMPARE(Indentation::of("a\nb\n"), (Indentation{false, 4}));
    }
};

MOORIX_TEST(TextFileTest)
#include "TextFileTest.moc"
