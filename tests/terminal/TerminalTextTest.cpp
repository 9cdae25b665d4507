// SPDX-License-Identifier: GPL-3.0-or-later
#include "Played.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class TerminalTextTest final : public QObject
{
    Q_OBJECT

private slots:
    void copiesRanges();
    void selectsWordsAndLines();
    void findsBothWays();
    void findsWhatAnyoneWouldFind();
};

namespace {

// Three lines, of which the first two are wrapped, partly in the scrollback: 漢字 stands across the second break.
const QByteArray sample = "see ./a/long-path.txt now\r\n12345678\xE6\xBC\xA2\xE5\xAD\x97 x  \r\nlast";

} // namespace

void TerminalTextTest::copiesRanges()
{
    const auto emulator = played(sample, {3, 9});
    QCOMPARE(emulator->firstLine(), 0);
    QCOMPARE(emulator->screenLine(), 3);
    QCOMPARE(allText(*emulator), u"see ./a/long-path.txt now\n12345678漢字 x\nlast"_s);
    QCOMPARE(emulator->text(TerminalRange{{0, 4}, {2, 3}}), u"./a/long-path.txt"_s);
    QCOMPARE(emulator->text(TerminalRange{{3, 7}, {4, 2}}), u"8漢"_s);
    QCOMPARE(emulator->text(TerminalRange{{2, 4}, {4, 0}}), u"now\n12345678"_s);
    QCOMPARE(emulator->text(TerminalRange{{2, 2}, {4, 5}, true}), u"t n\n345\n字"_s);
    QCOMPARE(emulator->text(TerminalRange{{-5, 0}, {0, 3}}), u"see"_s);
    QCOMPARE(emulator->text(TerminalRange{{1, 3}, {1, 3}}), QString());
}

void TerminalTextTest::selectsWordsAndLines()
{
    const auto emulator = played(sample, {3, 9});
    QCOMPARE(emulator->wordAt({1, 4}), (TerminalRange{{0, 4}, {2, 3}}));
    QCOMPARE(emulator->wordAt({4, 1}), (TerminalRange{{3, 0}, {4, 4}}));
    QVERIFY(emulator->wordAt({0, 3}).isEmpty());
    QVERIFY(emulator->wordAt({99, 3}).isEmpty());
    QCOMPARE(emulator->text(emulator->lineAt({4, 0})), u"12345678漢字 x"_s);
    QCOMPARE(emulator->lineAt({1, 1}), (TerminalRange{{0, 0}, {2, 9}}));
}

void TerminalTextTest::findsBothWays()
{
    const auto emulator = played(sample, {3, 9});
    const TerminalPoint end{emulator->endLine(), 0};
    const TerminalRange wide{{3, 7}, {4, 2}};
    QCOMPARE(emulator->findBackward(u"8漢"_s, end, Qt::CaseSensitive), wide);
    QCOMPARE(emulator->findForward(u"8漢"_s, {0, 0}, Qt::CaseSensitive), wide);
    QCOMPARE(emulator->findForward(u"8漢"_s, wide.end, Qt::CaseSensitive), std::nullopt);
    QCOMPARE(emulator->findBackward(u"8漢"_s, wide.start, Qt::CaseSensitive), std::nullopt);
    QCOMPARE(emulator->findForward(u"LONG-path"_s, {0, 0}, Qt::CaseInsensitive), (TerminalRange{{0, 8}, {1, 8}}));
    QCOMPARE(emulator->findForward(u"LONG-path"_s, {0, 0}, Qt::CaseSensitive), std::nullopt);
    QCOMPARE(emulator->findForward(QString(), {0, 0}, Qt::CaseSensitive), std::nullopt);
    const auto all = emulator->findAll(u"a"_s, 0, emulator->endLine(), Qt::CaseSensitive);
    QCOMPARE(all.size(), std::size_t(3));
    QCOMPARE(all[2], (TerminalRange{{5, 1}, {5, 2}}));
    QCOMPARE(emulator->findAll(u"a"_s, 3, 5, Qt::CaseSensitive).size(), std::size_t(0));
}

void TerminalTextTest::findsWhatAnyoneWouldFind()
{
    std::mt19937 random(11);
    for (int round = 0; round < 100; ++round) {
        TerminalEmulator emulator({2, int(random() % 9) + 2});
        for (auto count = random() % 200; count > 0; --count)
            emulator.feed(QByteArrayList{"a", "b", "\xC3\xA4", "\xE6\xBC\xA2", "\r\n"}[qsizetype(random() % 5)]);
        const QString needle = QStringList{u"ab"_s, u"漢a"_s, u"bb漢"_s, u"ä"_s}[qsizetype(random() % 4)];
        const auto expected = allText(emulator).count(needle);
        qsizetype forward = 0;
        TerminalPoint from{emulator.firstLine(), 0};
        while (const auto found = emulator.findForward(needle, from, Qt::CaseSensitive)) {
            QCOMPARE(emulator.text(*found), needle);
            from = found->end;
            ++forward;
        }
        qsizetype backward = 0;
        from = {emulator.endLine(), 0};
        while (const auto found = emulator.findBackward(needle, from, Qt::CaseSensitive)) {
            QCOMPARE(emulator.text(*found), needle);
            from = found->start;
            ++backward;
        }
        QCOMPARE(forward, expected);
        QCOMPARE(backward, expected);
    }
}

MOORIX_TEST(TerminalTextTest)
#include "TerminalTextTest.moc"
