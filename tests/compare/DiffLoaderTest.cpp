// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffLoader.h"
#include "compare/DiffLayout.h"
#include "compare/DiffSearch.h"
#include "files/LocalFileService.h"
#include "support/TestMain.h"

#include <QFile>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Files of this machine.
class DiffLoaderTest final : public QObject
{
    Q_OBJECT

    TestTree m_tree;

    FileItem put(const char *name, const QByteArray &bytes) const
    {
        m_tree.write(name, bytes);
        return entryAt(m_tree.path(name), bytes.size());
    }
    static DiffContent load(const FileItem &a, const FileItem &b)
    {
        const auto disk = std::make_shared<LocalFileService>();
        return DiffLoader::load({QUuid::createUuid(), a, b, disk, disk}, {}, neverStops);
    }
    DiffContent load(const QByteArray &a, const QByteArray &b) const { return load(put("a", a), put("b", b)); }

private slots:
    void fiveMebibytesAreComparedAndOneByteMoreIsRefused()
    {
        const QString tooLarge = u"One or both files exceed 5 MB — diff is limited to smaller files."_s;
        const QByteArray most(5'242'880, 'x');
        const FileItem a = put("a", most);
        QVERIFY(load(a, put("b", most)).isSame);
        // By the listing alone, whatever is there.
        FileItem missing = entryAt(m_tree.path("missing"), 5'242'881);
        QCOMPARE(messageOf([&] { load(a, missing); }), tooLarge);
        QCOMPARE(messageOf([&] { load(missing, a); }), tooLarge);
        // Grown since it was listed.
        FileItem grown = put("b", most + 'y');
        grown.size = 1;
        QCOMPARE(messageOf([&] { load(a, grown); }), tooLarge);
        missing.size = 1;
        QCOMPARE(messageOf([&] { load(a, missing); }), u"Not found: "_s + missing.path);
        m_tree.write("folder/", {});
        QCOMPARE(messageOf([&] { load(a, entryAt(m_tree.path("folder"))); }), u"“folder” is a folder."_s);
        QVERIFY(QFile::link(m_tree.path("a"), m_tree.path("link")));
        QVERIFY(load(a, entryAt(m_tree.path("link"))).isSame);
    }

    void bytesBecomeTextOrAreToldToBeNone()
    {
        const DiffContent mixed = load("gr\xC3\xBC\xC3\x9F", "gr\xFC\xDF");
        QCOMPARE(mixed.left.encoding, TextEncoding::utf8);
        QCOMPARE(mixed.right.encoding, TextEncoding::latin1);
        QCOMPARE(mixed.right.text.text(), u"grüß"_s);
        QVERIFY(!mixed.isSame);
        QCOMPARE(DiffEngine::stats(mixed.runs), DiffEngine::Stats{});
        QCOMPARE(load("\xEF\xBB\xBFx", "x").left.encoding, TextEncoding::utf8Marked);
        const DiffContent ends = load("a\r\nb\r\n\r", "a\nb\r\n");
        QCOMPARE(ends.left.text.lineEnds(), DiffLineEnds::crlf);
        QCOMPARE(ends.right.text.lineEnds(), DiffLineEnds::mixed);
        QCOMPARE(load("\xFF\xFEx" + QByteArray(1, '\0'), "x").left.text.text(), u"x"_s);
        const QByteArray zeros("ab\0cd", 5);
        QCOMPARE(load(zeros, "text").obstacle, u"“a” (left) is no text. They differ from byte 1 on."_s);
        QCOMPARE(load(zeros, zeros).obstacle, u"“a” and “b” are no texts. Both hold the same bytes."_s);
        QCOMPARE(load(zeros, zeros + 'e').obstacle, u"“a” and “b” are no texts. They differ from byte 6 on."_s);
    }

    void equalStretchesFoldAndOpenAndEachLineKeepsItsRow()
    {
        QStringList left;
        for (int i = 0; i < 40; ++i)
            left << QString::number(i);
        QStringList right = left;
        right.replace(20, u"other"_s);
        right.insert(21, u"more"_s);
        const DiffContent content = load(left.join(u'\n').toUtf8(), right.join(u'\n').toUtf8());
        DiffLayout layout(content.runs);
        using Kind = DiffLayout::Row::Kind;
        QCOMPARE(layout.rowCount(), 1 + 3 + 2 + 3 + 1);
        QCOMPARE(layout.row(0), (DiffLayout::Row{Kind::fold, 0, 0, 17}));
        QCOMPARE(layout.changes(), std::vector<qsizetype>{4});
        QCOMPARE(layout.row(4), (DiffLayout::Row{Kind::changed, 20, 20}));
        QCOMPARE(layout.row(5), (DiffLayout::Row{Kind::changed, -1, 21}));
        QCOMPARE(layout.row(9), (DiffLayout::Row{Kind::fold, 24, 25, 16}));
        QCOMPARE(layout.reveal(DiffSide::right, 30), 9 + 5);
        QCOMPARE(layout.row(14), (DiffLayout::Row{Kind::equal, 29, 30}));
        for (const bool isFolded : {true, false}) {
            layout.setFolded(isFolded);
            for (qsizetype row = 0; row < layout.rowCount(); ++row) {
                for (const DiffSide side : {DiffSide::left, DiffSide::right}) {
                    if (const qsizetype line = layout.row(row).line(side); line >= 0)
                        QCOMPARE(layout.rowOf(side, line), row);
                }
            }
        }
        QCOMPARE(DiffLayout(load("same\n\n\n\n\n\n\n", "same\n\n\n\n\n\n\n").runs).rowCount(), 8);
    }

    void textIsFoundOnBothSidesInOrderAndRoundTheEnds()
    {
        const DiffContent content =
            load("Needle\nx\nneedle left\nlast", "Needle\nx\nright needle\nanother NEEDLE\nlast");
        const DiffLayout layout(content.runs);
        const QList<DiffPlace> places{
            {DiffSide::left, 0}, {DiffSide::left, 2}, {DiffSide::right, 2}, {DiffSide::right, 3}};
        for (qsizetype i = 0; i < places.size(); ++i) {
            const auto next = places.at((i + 1) % places.size());
            QCOMPARE(*DiffSearch::find(content, layout, places.at(i), u"needle"_s, DiffSearch::Step::next), next);
            QCOMPARE(*DiffSearch::find(content, layout, next, u"needle"_s, DiffSearch::Step::previous), places.at(i));
        }
        QVERIFY(!DiffSearch::find(content, layout, {}, u"needles"_s, DiffSearch::Step::next));
    }
};

MOORIX_TEST(DiffLoaderTest)
#include "DiffLoaderTest.moc"
