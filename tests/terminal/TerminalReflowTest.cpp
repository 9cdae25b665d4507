// SPDX-License-Identifier: GPL-3.0-or-later
#include "Played.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class TerminalReflowTest final : public QObject
{
    Q_OBJECT

private slots:
    void anyWidthShowsTheSameText();
    void typingGoesOnWhereItWas();
    void linesComeBackFromTheScrollback();
    void alternateScreenIsOnlyCut();
};

void TerminalReflowTest::anyWidthShowsTheSameText()
{
    std::mt19937 random(3);
    for (int round = 0; round < 60; ++round) {
        TerminalEmulator emulator({int(random() % 10) + 1, int(random() % 30) + 2});
        QStringList paragraphs;
        for (auto count = random() % 30; count > 0; --count) {
            QString text;
            for (auto length = random() % 70; length > 0; --length)
                text += QStringList{u"a"_s, u"b"_s, u"漢"_s, u"e\u0301"_s, u"x"_s}[qsizetype(random() % 5)];
            paragraphs << text;
            emulator.feed(u"\x1b[%1m%2\r\n"_s.arg(30 + random() % 8).arg(text).toUtf8());
        }
        const QString typed = u"prompt$ %1"_s.arg(random() % 100'000);
        emulator.feed(typed.toUtf8());
        paragraphs << typed;
        const QString all = paragraphs.join(u'\n');
        QCOMPARE(allText(emulator), all);
        for (int change = 0; change < 12; ++change) {
            emulator.resize({int(random() % 10) + 1, int(random() % 40) + 2});
            QCOMPARE(allText(emulator), all);
            QCOMPARE(fault(emulator), QString());
        }
        emulator.feed("-more");
        QCOMPARE(allText(emulator), QString(all + u"-more"_s));
    }
}

void TerminalReflowTest::typingGoesOnWhereItWas()
{
    // The cursor waits behind the last column, and there is room for more then; and the other way round.
    const auto emulator = played("0123456789", {4, 10});
    QCOMPARE(cursorOf(*emulator), std::pair(0, 9));
    emulator->resize({4, 12});
    QCOMPARE(cursorOf(*emulator), std::pair(0, 10));
    emulator->resize({4, 5});
    emulator->feed("ab");
    QCOMPARE(screenText(*emulator), QStringList({u"01234"_s, u"56789"_s, u"ab"_s}));

    // In the middle of a line that is wrapped.
    const auto middle = played("abcdefghij\x1b[1;4H", {4, 10});
    middle->resize({4, 3});
    QCOMPARE(cursorOf(*middle), std::pair(1, 0));
    middle->feed("D");
    middle->resize({4, 10});
    QCOMPARE(screenText(*middle), QStringList(u"abcDefghij"_s));
}

void TerminalReflowTest::linesComeBackFromTheScrollback()
{
    const auto emulator = played("1\r\n2\r\n3\r\n4\r\n5", {3, 10});
    QCOMPARE(emulator->firstLine(), 0);
    QCOMPARE(emulator->screenLine(), 2);
    emulator->resize({5, 10});
    QCOMPARE(emulator->screenLine(), 0);
    QCOMPARE(cursorOf(*emulator), std::pair(4, 1));
    emulator->resize({2, 10});
    QCOMPARE(screenText(*emulator), QStringList({u"4"_s, u"5"_s}));

    // A screen with room at its bottom does not bring back what was scrolled away.
    emulator->feed("\x1b[2J\x1b[Hnew");
    emulator->resize({4, 10});
    QCOMPARE(screenText(*emulator), QStringList(u"new"_s));
    QCOMPARE(lineText(*emulator, emulator->screenLine() - 1), u"3"_s);
}

void TerminalReflowTest::alternateScreenIsOnlyCut()
{
    const auto emulator = played("shell line\x1b[?1049h\x1b[H0123456789", {3, 10});
    emulator->resize({3, 5});
    QCOMPARE(screenText(*emulator), QStringList(u"01234"_s));
    QCOMPARE(emulator->firstLine(), emulator->screenLine());
    emulator->feed("\x1b[?1049l!");
    QCOMPARE(screenText(*emulator), QStringList({u"shell"_s, u" line"_s, u"!"_s}));
}

MOORIX_TEST(TerminalReflowTest)
#include "TerminalReflowTest.moc"
