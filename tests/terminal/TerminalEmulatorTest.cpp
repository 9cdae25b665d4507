// SPDX-License-Identifier: GPL-3.0-or-later
#include "Played.h"
#include "support/TestMain.h"

#include <QSignalSpy>
#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class TerminalEmulatorTest final : public QObject
{
    Q_OBJECT

private slots:
    void placesText_data();
    void placesText();
    void stylesCells();
    void erasesWithTheBackground();
    void combinesCharacters();
    void hasLinesOfDoubleSize();
    void keepsTheAlternateScreenApart();
    void answersQuestions_data();
    void answersQuestions();
    void knowsItsColors();
    void tellsWhatProgramsSay();
    void holdsPaintingForAMoment();
    void boundsTheScrollback();
    void findsPrompts();
};

void TerminalEmulatorTest::placesText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("screen");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    const auto row = [](const char *name, const QByteArray &bytes, const QStringList &screen, int y, int x) {
        QTest::newRow(name) << bytes << screen << y << x;
    };
    row("wrapped", "0123456789ab", {u"0123456789"_s, u"ab"_s}, 1, 2);
    row("waits at the end", "0123456789", {u"0123456789"_s}, 0, 9);
    row("wide does not fit", "012345678\xE6\xBC\xA2", {u"012345678"_s, u"漢"_s}, 1, 2);
    row("half overwritten", "\xE6\xBC\xA2\xE6\xBC\xA2\x1b[1;2HX\x1b[1;3HY", {u".XY"_s}, 0, 3);
    row("run over wide ones", "abcdefgh\r" + QByteArray("\xE6\xBC\xA2").repeated(4) + "\rabcdefgh", {u"abcdefgh"_s}, 0,
        8);
    row("half erased",
        "\xE6\xBC\xA2"
        "ab\x1b[1;2H\x1b[K",
        {}, 0, 1);
    row("wide cut by insertion", "12345678\xE6\xBC\xA2\x1b[1;1H\x1b[@", {u".12345678"_s}, 0, 0);
    row("wide inserted", "abc\r\x1b[4h\xE6\xBC\xA2", {u"漢abc"_s}, 0, 2);
    row("deleted", "abcdef\x1b[1;2H\x1b[2P", {u"adef"_s}, 0, 1);
    row("scroll region", "1\r\n2\r\n3\r\n4\x1b[2;3r\x1b[3;1H\n5", {u"1"_s, u"3"_s, u"5"_s, u"4"_s}, 2, 1);
    row("lines inserted", "1\r\n2\r\n3\x1b[2;1H\x1b[L", {u"1"_s, QString(), u"2"_s, u"3"_s}, 1, 0);
    row("repeated once", "a\x1b[3b\x1b[3b", {u"aaaa"_s}, 0, 4);
    row("nothing to repeat", "\x1b[2bx", {u"x"_s}, 0, 1);
    row("repeated over lines", "a\x1b[12b", {u"aaaaaaaaaa"_s, u"aaa"_s}, 1, 3);
    row("drawing", "\x1b(0qxy\xC3\xA9q\x1b(Bq", {u"─│≤é─q"_s}, 0, 6);
    row("other sets",
        "\x1b)0\x1b*0\x0eq\x1b"
        "7\x0fq\x1bNqq\x1bnq\x1b"
        "8q\x0fq",
        {u"──qq─"_s}, 0, 3);
    row("cursor saved both ways",
        "ab\x1b[s\x1b"
        "7\x1b[3;3Hc\x1b"
        "8d\x1b[uX",
        {u"abX"_s, QString(), u"  c"_s}, 0, 3);
    row("several modes at once", "\x1b[?25;7l0123456789ab", {u"012345678b"_s}, 0, 9);
    const QByteArray full = "1\r\n2\r\n3\r\n4\x1b[2;3r";
    row("up to the margin", full + "\x1b[3;5H\x1b[9Ax\x1b[9Fy", {u"1"_s, u"y   x"_s, u"3"_s, u"4"_s}, 1, 1);
    row("down to the margin", full + "\x1b[1;5H\x1b[9Bx\x1b[9Ey", {u"1"_s, u"2"_s, u"y   x"_s, u"4"_s}, 2, 1);
    row("shifted outside the margins", full + "\x1b[1;1H\x1b[2@\x1b[4;1H\x1b[P", {u"  1"_s, u"2"_s, u"3"_s}, 3, 0);
    row("no margins", full + "\x1b[4;2H\x1b[3;2r\x1b[2;2r\n", {u"1"_s, u"2"_s, u"3"_s, u"4"_s}, 3, 1);
    row("lines removed", full + "\x1b[2;2H\x1b[Mx", {u"1"_s, u"x"_s, QString(), u"4"_s}, 1, 1);
    row("columns removed", full + "\x1b[2;1H\x1b[ @", {u"1"_s, QString(), QString(), u"4"_s}, 1, 0);
    row("full of E", full + "\x1b[?6h\x1b#8x", {u"xEEEEEEEEE"_s, u"EEEEEEEEEE"_s, u"EEEEEEEEEE"_s, u"EEEEEEEEEE"_s}, 0,
        1);
    row("erased while waiting", "0123456789\x1b[Kx", {u"012345678x"_s}, 0, 9);
    row("fed a line while waiting", "\x1b[4;1H0123456789\nx", {QString(), QString(), u"0123456789"_s, u"         x"_s},
        3, 9);
    row("back while waiting", "01234567\xE6\xBC\xA2\bx", {u"01234567x"_s}, 0, 9);
    row("erased while waiting on", "0123456789\x1b[?1047l\x1b[Xx", {u"012345678x"_s}, 0, 9);
    row("no more waiting", "0123456789\x1b[?7lx", {u"012345678x"_s}, 0, 9);
    row("wide without wrapping", "\x1b[?7l12345678\xE6\xBC\xA2x\xE6\xBC\xA2", {u"12345678 x"_s}, 0, 9);
    row("protected", "\x1b[1\"qab\x1b[2\"qcd\x1b[1\"qe\x1b[?2K\x1b[1;2H\x1b[K\x1b[?J", {u"a"_s}, 0, 1);
    row("wide since lately", u"\U0001F970\U0001F7E2\u0600a\U0001F9D1\u200D\U0001F4BB"_s.toUtf8(),
        {u"\U0001F970\U0001F7E2\u0600a\U0001F9D1\u200D\U0001F4BB"_s}, 0, 9);
    row("flag", u"\U0001F1E9\U0001F1EA\bx"_s.toUtf8(), {u" x"_s}, 0, 2);
    row("flag cut by the end", u"\x1b[1;10H\U0001F1E9\U0001F1EA"_s.toUtf8(),
        {u"         \U0001F1E9"_s, u"\U0001F1EA"_s}, 1, 1);
    row("alternate screen kept", "\x1b[?47hab\x1b[?47lc\x1b[?47hd", {u"ab d"_s}, 0, 4);
    row("strings leave nothing", "a\x1b_x\x1b\\\x1bPq#\x1b\\b", {u"ab"_s}, 0, 2);
}

void TerminalEmulatorTest::placesText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, row);
    QFETCH(int, column);
    const auto emulator = played(bytes);
    QStringList expected = screenText(*emulator);
    expected.replaceInStrings(u"."_s, u" "_s);
    QFETCH(QStringList, screen);
    screen.replaceInStrings(u"."_s, u" "_s);
    QCOMPARE(expected, screen);
    QCOMPARE(cursorOf(*emulator), std::pair(row, column));
    QCOMPARE(fault(*emulator), QString());
}

void TerminalEmulatorTest::stylesCells()
{
    const auto emulator = played("\x1b[1;2;8;38;2;8;28;2ma\x1b[22mb\x1b[28;4:3;48:5:200mc\x1b[m\x1b[91md"
                                 "\x1b]8;id=1;http://x/\x1b\\e\x1b[0mf\x1b]8;;\x1b\\g");
    const auto style = [&](std::size_t column) { return emulator->line(0)[column].style; };
    QVERIFY(style(0).bold && style(0).dim && style(0).hidden);
    QVERIFY(style(0).foreground == TerminalColor::rgb(8, 28, 2));
    QVERIFY(!style(1).bold && !style(1).dim && style(1).hidden);
    QVERIFY(!style(2).hidden && style(2).underline == TerminalUnderline::curly);
    QVERIFY(style(2).background == TerminalColor::indexed(200));
    QVERIFY(style(3).foreground == TerminalColor::indexed(9) && style(3).background.isDefault());
    QCOMPARE(emulator->link(style(3).link), QString());
    QCOMPARE(emulator->link(style(4).link), u"http://x/"_s);
    QCOMPARE(style(5).link, style(4).link);
    QCOMPARE(style(6).link, quint16(0));
}

void TerminalEmulatorTest::erasesWithTheBackground()
{
    const auto emulator = played("abc\x1b[4;44m\r\x1b[K\x1b[4;1H\n");
    for (const qint64 number : {emulator->screenLine() - 1, emulator->endLine() - 1}) {
        QCOMPARE(emulator->line(number).size(), std::size_t(10));
        for (const TerminalCell &cell : emulator->line(number)) {
            QVERIFY(cell.style.background == TerminalColor::indexed(4));
            QVERIFY(cell.character == 0 && cell.style.underline == TerminalUnderline::none);
        }
    }
}

void TerminalEmulatorTest::combinesCharacters()
{
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s;
    const QString flag = u"\U0001F1E9\U0001F1EA"_s;
    // Also at the end of the line, and in a piece of its own.
    const auto emulator = played((u"e\u0301"_s + family + flag + u"u"_s).toUtf8());
    emulator->feed(u"\u0308"_s.toUtf8());
    QCOMPARE(screenText(*emulator), QStringList(u"e\u0301"_s + family + flag + u"u\u0308"_s));
    QCOMPARE(cursorOf(*emulator), std::pair(0, 9));
    QCOMPARE(emulator->line(0)[1].width, quint8(2));
    // Shells count two columns for each person.
    QCOMPARE(emulator->line(0)[7].width, quint8(2));
    QCOMPARE(emulator->text(emulator->line(0)[7]), flag);

    const auto endless = played("a" + QByteArray("\xCC\x81").repeated(100'000));
    QVERIFY(endless->text(endless->line(0)[0]).size() < 20);
    QCOMPARE(cursorOf(*endless), std::pair(0, 1));

    // One that takes the whole line lets the cursor wait where the line begins.
    QCOMPARE(allText(*played("\xE6\xBC\xA2\r\nx", {1, 2})), u"漢\nx"_s);
    QCOMPARE(allText(*played("\xE6\xBC\xA2\rx", {1, 2})), u"x"_s);
}

void TerminalEmulatorTest::hasLinesOfDoubleSize()
{
    using enum TerminalLineSize;
    const auto emulator = played("0123456789\r\x1b#6abcdefg\x1b[3;9H\x1b#3\x1b[4;1H\x1b#4z");
    const auto sizes = [&] {
        std::vector<TerminalLineSize> found;
        for (qint64 line = emulator->screenLine(); line < emulator->endLine(); ++line)
            found.push_back(emulator->lineSize(line));
        return found;
    };
    using Sizes = std::vector<TerminalLineSize>;
    QCOMPARE(screenText(*emulator), QStringList({u"abcde"_s, u"fg"_s, QString(), u"z"_s}));
    QVERIFY(!emulator->wraps(0));
    QVERIFY(sizes() == Sizes({wide, single, upperHalf, lowerHalf}));
    // Runs that are put at once keep to the half, too, and the cursor waits behind it.
    emulator->feed("\x1b[99C");
    QCOMPARE(cursorOf(*emulator), std::pair(3, 4));
    emulator->feed("\x1b[2;1H\x1b[2K\x1b[1;1H123456789");
    QCOMPARE(screenText(*emulator).first(2), QStringList({u"12345"_s, u"6789"_s}));
    emulator->feed("\x1b[1;5HX\x1b[6n\x1b[SY");
    QVERIFY(sizes() == Sizes({single, upperHalf, lowerHalf, single}));
    // What was hidden comes back.
    QCOMPARE(lineText(*emulator, emulator->firstLine()), u"1234X56789"_s);
    QVERIFY(emulator->lineSize(emulator->firstLine()) == single);

    emulator->feed("\x1b[2;3r\x1b[?6h\x1b[1;5H\x1b[?1049h\x1b[?6l\x1b[3;1H123456789");
    QVERIFY(sizes() == Sizes(4, single));
    QCOMPARE(lineText(*emulator, emulator->endLine() - 2), u"123456789"_s);
    emulator->feed("\x1b[?1049l");
    QVERIFY(sizes() == Sizes({single, upperHalf, lowerHalf, single}));
    QCOMPARE(cursorOf(*emulator), std::pair(1, 4));
    emulator->feed("\x1b[99C");
    QCOMPARE(cursorOf(*emulator), std::pair(1, 4));
    emulator->resize({5, 12});
    QCOMPARE(fault(*emulator), QString());
    emulator->feed("\x1b[?6l\x1b#6\x1b[2J\x1b[9C");
    QVERIFY(sizes() == Sizes(5, single));
    // A change of the width that is not one empties the screen, where it is allowed.
    emulator->feed("x\x1b[?3h");
    QVERIFY(!screenText(*emulator).isEmpty());
    emulator->feed("\x1b#6\x1b[2;4r\x1b[?40h\x1b[?3l");
    QVERIFY(screenText(*emulator).isEmpty() && sizes() == Sizes(5, single));
    QCOMPARE(cursorOf(*emulator), std::pair(0, 0));
    // Lines that a scroll brings are single, whatever was there.
    for (const char *scroll : {"\r\nab", "\x1b[5;6Hxy", "\x1b[L", "\x1b[M", "\x1b[S", "\x1b\x44"}) {
        emulator->feed(QByteArray("\x1b[!p\x1b[2J\x1b[5;1H\x1b#6") + scroll + "\r0123456789ab\x1b[99C");
        QVERIFY2(cursorOf(*emulator) == std::pair(4, 11) && sizes().back() == single, scroll);
    }
}

void TerminalEmulatorTest::keepsTheAlternateScreenApart()
{
    const auto emulator = played("1\r\n2\r\n3\r\n4\r\n5\x1b[?1049h\x1b[Hfull\x1b[4;1H\n\n\n");
    QVERIFY(emulator->showsAlternateScreen());
    QCOMPARE(emulator->firstLine(), emulator->screenLine());
    emulator->feed("\x1b[?1049l");
    QVERIFY(!emulator->showsAlternateScreen());
    QCOMPARE(allText(*emulator), u"1\n2\n3\n4\n5"_s);
    QCOMPARE(cursorOf(*emulator), std::pair(3, 1));
    emulator->feed("\x1b[?1049hx\x1b"
                   "c");
    QVERIFY(!emulator->showsAlternateScreen());
}

void TerminalEmulatorTest::answersQuestions_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("what are you") << QByteArray("\x1b[c") << QByteArray("\x1b[?1;2c");
    QTest::newRow("where is the cursor") << QByteArray("ab\r\nc\x1b[6n") << QByteArray("\x1b[2;2R");
    QTest::newRow("style") << QByteArray("\x1b[1;38;5;9;4m\x1bP$qm\x1b\\") << QByteArray("\x1bP1$r0;1;4;91m\x1b\\");
    QTest::newRow("modes") << QByteArray("\x1b[?2026h\x1b[?2026$p\x1b[?1049$p\x1b[?2004h\x1b[?2004$p")
                           << QByteArray("\x1b[?2026;1$y\x1b[?1049;2$y\x1b[?2004;1$y");
    QTest::newRow("where within margins") << QByteArray("\x1b[3;9r\x1b[?6h\x1b[2;3H\x1b[6n") << QByteArray("\x1b[2;3R");
    QTest::newRow("behind a wide one") << QByteArray("\x1b[1;79H\xE6\xBC\xA2\x1b[6n") << QByteArray("\x1b[1;80R");
    QTest::newRow("more modes")
        << QByteArray(
               "\x1b[4h\x1b[4$p\x1b[99$p\x1b[?1006h\x1b[?1005l\x1b[?1006$p\x1b[?2004h\x1b[!p\x1b[?2004$p\x1b[?9$p")
        << QByteArray("\x1b[4;1$y\x1b[99;0$y\x1b[?1006;1$y\x1b[?2004;1$y\x1b[?9;2$y");
    QTest::newRow("how large") << QByteArray("\x1b[14t\x1b[18t") << QByteArray("\x1b[8;24;80t");
    QTest::newRow("not the clipboard") << QByteArray("\x1b]52;c;?\a") << QByteArray();
}

void TerminalEmulatorTest::answersQuestions()
{
    QFETCH(QByteArray, bytes);
    TerminalEmulator emulator;
    QByteArray said;
    connect(&emulator, &TerminalEmulator::output, this, [&](const QByteArray &more) { said += more; });
    emulator.feed(bytes);
    QTEST(said, "answer");
}

void TerminalEmulatorTest::knowsItsColors()
{
    TerminalEmulator emulator;
    TerminalColorTable::Colors theme = TerminalColorTable::plain();
    theme[1] = 0xCC0102;
    theme[TerminalColorTable::foreground] = 0xD6DEEB;
    theme[TerminalColorTable::background] = 0x0F1420;
    emulator.setThemeColors(theme);
    QByteArray said;
    connect(&emulator, &TerminalEmulator::output, this, [&](const QByteArray &more) { said += more; });
    const QSignalSpy changes(&emulator, &TerminalEmulator::colorsChanged);
    const auto answer = [&](const QByteArray &bytes) {
        said.clear();
        emulator.feed(bytes);
        return said;
    };
    // As they were asked, with one answer each.
    QCOMPARE(answer("\x1b]11;?\x1b\\\x1b]10;?;?\a"),
             QByteArray("\x1b]11;rgb:0f0f/1414/2020\x1b\\\x1b]10;rgb:d6d6/dede/ebeb\a\x1b]11;rgb:0f0f/1414/2020\a"));
    QCOMPARE(answer("\x1b]4;1;?;226;?;255;?;256;?;x;?\a"),
             QByteArray("\x1b]4;1;rgb:cccc/0101/0202\a\x1b]4;226;rgb:ffff/ffff/0000\a\x1b]4;255;rgb:eeee/eeee/eeee\a"));
    QCOMPARE(changes.size(), 0);
    QCOMPARE(answer("\x1b]4;1;rgb:f/80/7fff;1;?\a\x1b]11;#123456;?\a\x1b]11;red\a\x1b]11;rgb:1/2\a\x1b]11;?\a"),
             QByteArray("\x1b]4;1;rgb:ffff/8080/7f7f\a\x1b]12;rgb:0000/0000/0000\a\x1b]11;rgb:1212/3434/5656\a"));
    QCOMPARE(changes.size(), 1);
    QVERIFY(!emulator.colors().chosen(2));
    QCOMPARE(answer("\x1b]104;1\a\x1b]4;1;?\a\x1b]111\a\x1b]11;?\a"),
             QByteArray("\x1b]4;1;rgb:cccc/0101/0202\a\x1b]11;rgb:0f0f/1414/2020\a"));
    emulator.feed("\x1b]4;7;#fff\a\x1b]12;#000000\a\x1b]104\a");
    QVERIFY(!emulator.colors().chosen(7) && emulator.colors().chosen(TerminalColorTable::cursor));
    emulator.feed("\x1b"
                  "c");
    QVERIFY(!emulator.colors().hasChosen());
}

void TerminalEmulatorTest::tellsWhatProgramsSay()
{
    TerminalEmulator emulator;
    const QSignalSpy titles(&emulator, &TerminalEmulator::titleChanged);
    const QSignalSpy folders(&emulator, &TerminalEmulator::workingFolderChanged);
    const QSignalSpy clipboard(&emulator, &TerminalEmulator::clipboardWritten);
    const QSignalSpy changes(&emulator, &TerminalEmulator::changed);
    emulator.feed("\x1b]2;a\x01\xC2\x9B"
                  "b\a\x1b]7;file://host/a%20b/%C3%A4\x1b\\\x1b]52;c;aMOp\a\x1b]52;c;!!\a");
    QCOMPARE(titles.size(), 1);
    QCOMPARE(emulator.title(), u"ab"_s);
    QCOMPARE(folders.size(), 1);
    QCOMPARE(emulator.workingFolder(), u"/a b/ä"_s);
    QCOMPARE(emulator.workingHost(), u"host"_s);
    QCOMPARE(clipboard.size(), 1);
    QCOMPARE(clipboard[0][0].toString(), u"hé"_s);
    QCOMPARE(changes.size(), 1);
    emulator.feed("\x1b[22;0t\x1b]2;c\a\x1b[23;0t\x1b[23t");
    QCOMPARE(emulator.title(), u"ab"_s);
    emulator.feed("\x1b]7;http://host/x\a\x1b]0;" + QByteArray(5000, 'x') + "\a\x1b[5 q\x1b[?25l");
    QCOMPARE(emulator.workingFolder(), u"/a b/ä"_s);
    QCOMPARE(emulator.title().size(), 256);
    QCOMPARE(emulator.cursor().shape, TerminalCursor::Shape::bar);
    QVERIFY(!emulator.cursor().visible);
}

void TerminalEmulatorTest::holdsPaintingForAMoment()
{
    TerminalEmulator emulator;
    emulator.feed("\x1b[?2026hx");
    QVERIFY(emulator.holdsPainting());
    emulator.feed("\x1b[?2026l");
    QVERIFY(!emulator.holdsPainting());
    emulator.feed("\x1b[?2026h");
    QSignalSpy changes(&emulator, &TerminalEmulator::changed);
    QTRY_COMPARE(changes.size(), 1);
    QVERIFY(!emulator.holdsPainting());
}

void TerminalEmulatorTest::boundsTheScrollback()
{
    TerminalEmulator emulator({5, 40});
    emulator.setScrollbackLimit(100);
    for (int number = 0; number < 1000; ++number)
        emulator.feed("\x1b[3" + QByteArray::number(number % 8) + "mline " + QByteArray::number(number) + "\r\n");
    QCOMPARE(emulator.endLine(), 1001);
    QCOMPARE(emulator.firstLine(), 896);
    QCOMPARE(lineText(emulator, 896), u"line 896"_s);
    QVERIFY(emulator.line(900)[3].style.foreground == TerminalColor::indexed(900 % 8));
    emulator.feed("\x1b[3J");
    QCOMPARE(emulator.firstLine(), emulator.screenLine());
    QCOMPARE(lineText(emulator, 999), u"line 999"_s);

    // A line without an end counts as lines, too, and keeps its text together.
    emulator.feed(QByteArray(30'000, 'x'));
    emulator.resize({5, 60});
    QVERIFY(emulator.line(emulator.firstLine()).size() > 0);
    QCOMPARE(fault(emulator), QString());
}

void TerminalEmulatorTest::findsPrompts()
{
    QByteArray bytes;
    for (int number = 0; number < 4; ++number)
        bytes += "\x1b]133;A\a$ \x1b]133;B\arun\r\n\x1b]133;C\aout\r\nput\r\n";
    const auto emulator = played(bytes);
    QCOMPARE(emulator->promptAbove(emulator->endLine()), 9);
    QCOMPARE(emulator->promptAbove(9), 6);
    QCOMPARE(emulator->promptAbove(0), std::nullopt);
    QCOMPARE(emulator->promptBelow(0), 3);
    QCOMPARE(emulator->promptBelow(8), 9);
    QCOMPARE(emulator->promptBelow(9), std::nullopt);
}

MOORIX_TEST(TerminalEmulatorTest)
#include "TerminalEmulatorTest.moc"
