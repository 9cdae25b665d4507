// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "ui/TerminalBench.h"
#include "ui/terminal/TerminalFont.h"
#include "ui/terminal/TerminalPainter.h"

#include <QElapsedTimer>
#include <QPainter>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

struct Paints final : QObject
{
    int count = 0;
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

} // namespace

class TerminalPaintingTest final : public TerminalBench
{
    Q_OBJECT

private slots:
    void init() { open(); }
    void cleanup() { close(); }

    void coloursAndCellsArePaintedWhereTheyBelong()
    {
        TerminalColors colors = TerminalPalette::standard();
        m_terminal->setColors(colors);
        feed("\x1b[?25l\x1b[48;5;196m \x1b[48;5;244m \x1b[48;2;1;2;3m \x1b[41m \x1b[0;7m \x1b[0m\r\n"
             "\xe4\xb8\x80\x1b[42m \x1b[0m\r\n"
             "\xe2\x94\x80\xe2\x94\x80\xe2\x94\xbc\xe2\x94\x80\r\n  \xe2\x94\x82\r\n\xe2\x96\x88\xe2\x96\x80");
        const QImage image = painted();
        const QRgb expected[] = {qRgb(255, 0, 0), qRgb(128, 128, 128), qRgb(1, 2, 3), colors.ansi[1].rgb(),
                                 colors.foreground.rgb()};
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(image.pixel(cell(0, i).topLeft()), expected[i]);
            QCOMPARE(image.pixel(cell(0, i).bottomRight()), expected[i]);
        }
        // After a wide character, the third column.
        QCOMPARE(image.pixel(cell(1, 1).topRight()), colors.background.rgb());
        QCOMPARE(image.pixel(cell(1, 2).topLeft()), colors.ansi[2].rgb());
        // Lines join: no gap along the row, nor between it and the next.
        const auto isInk = [&](int x, int y) { return image.pixel(x, y) == colors.foreground.rgb(); };
        const QRect row = cell(2, 0, 4);
        int y = row.top();
        while (y < row.bottom() && !isInk(row.left(), y))
            ++y;
        for (int x = row.left(); x <= row.right(); ++x)
            QVERIFY2(isInk(x, y), qPrintable(QString::number(x)));
        int x = cell(3, 2).left();
        while (x < cell(3, 2).right() && !isInk(x, cell(3, 2).center().y()))
            ++x;
        for (y = cell(2, 2).top(); y <= cell(3, 2).bottom(); ++y)
            QVERIFY2(isInk(x, y), qPrintable(QString::number(y)));
        QVERIFY(isInk(cell(4, 0).left(), cell(4, 0).top()) && isInk(cell(4, 0).right(), cell(4, 0).bottom()));
        QVERIFY(isInk(cell(4, 1).left(), cell(4, 1).top()) && !isInk(cell(4, 1).left(), cell(4, 1).bottom()));
    }

    void blocksJoinWithoutASeamAtOneAndAHalfPixelsAPoint()
    {
        const TerminalColors colors = TerminalPalette::standard();
        feed("\x1b[?25l" + QByteArray("\xe2\x96\x88").repeated(9) + "\r\n" + QByteArray("\xe2\x96\x88").repeated(9) +
             "\r\n\x1b[41m         ");
        TerminalFont font(Theme::monospace(), 1.5);
        TerminalScene scene;
        scene.geometry = m_terminal->geometry();
        scene.geometry.cell = font.cell();
        scene.geometry.origin = {4, 4};
        scene.frame.take(emulator(), scene.geometry.top, scene.geometry.rows);
        QImage image(600, 300, QImage::Format_RGB32);
        image.setDevicePixelRatio(1.5);
        QPainter painter(&image);
        TerminalPainter(painter, emulator(), scene, TerminalPalette(colors), font)
            .paint({0, 0, 400, 200}, {0, 0, 400, 200});
        painter.end();
        // Whole pixels, so that no edge is blurred.
        const QSizeF cell = font.cell() * 1.5;
        QCOMPARE(cell, QSizeF(cell.toSize()));
        for (int y = 0; y < cell.height() * 3; ++y) {
            const QRgb expected = y < cell.height() * 2 ? colors.foreground.rgb() : colors.ansi[1].rgb();
            for (int x = 0; x < cell.width() * 9; ++x)
                QVERIFY2(image.pixel(6 + x, 6 + y) == expected, qPrintable(u"%1, %2"_s.arg(x).arg(y)));
        }
    }

    void linesOfDoubleSizeAreStretchedAndTheMouseKnows()
    {
        const QByteArray block = "\xe2\x96\x88";
        feed("\x1b[?25l\x1b#6" + block + "\xe2\x96\x80" + "b\r\n\x1b#3 \xe2\x96\x80\r\n\x1b#4 \xe2\x96\x80\r\n" +
             block);
        const QImage image = painted();
        const auto inkOf = [&](const QRect &rect) {
            const QRgb ink = m_terminal->colors().foreground.rgb();
            return image.pixel(rect.center()) == ink && image.pixel(rect.center().x(), rect.top() + 1) == ink;
        };
        const auto plain = [this](int row, int column) {
            return m_terminal->geometry().rectUnscaled({m_terminal->geometry().top + row, column}).toRect();
        };
        QVERIFY(inkOf(plain(0, 0)) && inkOf(plain(0, 1)) && inkOf(plain(3, 0)) && !inkOf(plain(3, 1)));
        // The upper half of a cell is all of its line's upper half.
        QVERIFY(inkOf(plain(1, 2)) && inkOf(plain(1, 3)) && !inkOf(plain(1, 1)) && !inkOf(plain(1, 4)));
        QVERIFY(!inkOf(plain(2, 2)) && !inkOf(plain(2, 3)));
        drag(at(0, 0), plain(0, 4).center());
        QCOMPARE(selected(), QString::fromUtf8(block) + u'▀');
        QCOMPARE(cell(0, 2).width(), 2 * plain(0, 0).width());
    }

    void programsChooseColorsUntilTheyGoBack()
    {
        const QByteArray block = "\xe2\x96\x88";
        feed("\x1b[?25l\x1b[31m" + block + "\x1b]11;#102030\a\x1b]4;1;rgb:40/50/60\x1b\\");
        const auto ground = [this] { return painted().pixel(cell(2, 2).center()); };
        const auto red = [this] { return painted().pixel(cell(0, 0).center()); };
        QCOMPARE(ground(), qRgb(0x10, 0x20, 0x30));
        QCOMPARE(red(), qRgb(0x40, 0x50, 0x60));
        // Another theme is no reason to forget them, and answers are of it from then on.
        TerminalColors theme = m_terminal->colors();
        theme.background = QColor(0x70, 0x80, 0x90);
        m_terminal->setColors(theme);
        QCOMPARE(ground(), qRgb(0x10, 0x20, 0x30));
        feed("\x1b]111\a\x1b]104;1\a");
        QCOMPARE(ground(), theme.background.rgb());
        QCOMPARE(red(), theme.ansi[1].rgb());
        (void)output();
        feed("\x1b]11;?\a");
        QCOMPARE(output(), QByteArray("\x1b]11;rgb:7070/8080/9090\a"));
    }

    void aBellFlashesAndOnlyBlinkingTextBlinks()
    {
        feed("\x1b[?25l");
        const QImage calm = painted();
        const auto shown = [this] { return m_terminal->viewport()->grab().toImage(); };
        feed("\a");
        QTRY_VERIFY(shown() != calm);
        QTRY_VERIFY(shown() == calm);
        feed("\x1b[5mX\x1b[0m");
        QTRY_VERIFY(shown() != calm);
        QTRY_VERIFY(shown() == calm);
        QTRY_VERIFY(shown() != calm);
        feed("\x1b[2J");
        QTRY_VERIFY(shown() == calm);
        Paints paints;
        m_terminal->viewport()->installEventFilter(&paints);
        // More than one period of blinking.
        QTest::qWait(700);
        QCOMPARE(paints.count, 0);
    }

    void whereWholeScreensGoByFewAreShownAndTheLastAlways()
    {
        Paints paints;
        m_terminal->viewport()->installEventFilter(&paints);
        QElapsedTimer clock;
        clock.start();
        for (int screen = 0; screen < 200; ++screen) {
            feed(QByteArray("a line\r\n").repeated(100));
            QTest::qWait(1);
        }
        // The cursor's blinking, and the first one before it is known that there is a flood.
        const qint64 most = clock.elapsed() / 33 + clock.elapsed() / 400 + 2;
        QVERIFY2(paints.count > 1 && paints.count <= most, qPrintable(QString::number(paints.count)));
        const QImage before = painted();
        feed("\x1b[2J\x1b[?25l");
        QVERIFY(painted() != before);
    }

    void anUpdateInTheMiddleIsNotPainted()
    {
        feed("\x1b[?25l\x1b[41m \x1b[0m");
        const QRgb red = TerminalPalette::standard().ansi[1].rgb();
        QCOMPARE(painted().pixel(cell(0, 0).center()), red);
        feed("\x1b[?2026h\x1b[1;1H\x1b[44m ");
        QCOMPARE(painted().pixel(cell(0, 0).center()), red);
        feed("\x1b[?2026l");
        QCOMPARE(painted().pixel(cell(0, 0).center()), TerminalPalette::standard().ansi[4].rgb());
    }

    void expectedCharactersLieOverTheScreen()
    {
        feed("\x1b[2;3H\x1b[?25l");
        const QImage before = painted();
        const TerminalPoint place{emulator().screenLine() + 1, 2};
        m_terminal->setOverlay({{{place, u"\u2588"_s}}, TerminalPoint{place.line, 3}});
        QCOMPARE(painted().pixel(cell(1, 2).center()), TerminalPalette::standard().foreground.rgb());
        QCOMPARE(m_terminal->inputMethodQuery(Qt::ImCursorRectangle).toRect(), cell(1, 3));
        m_terminal->setOverlay({});
        QCOMPARE(painted(), before);
    }

    void markedTextIsLegible()
    {
        const TerminalPalette palette;
        constexpr auto asSelected = TerminalPalette::Mark::selected;
        constexpr auto asFound = TerminalPalette::Mark::found;
        const QRgb ground = palette.marked({palette.foreground(), palette.background()}, asSelected).ground;
        // Text in the very colour of the selection would be gone.
        QVERIFY(palette.marked({ground, palette.background()}, asSelected).text != ground);
        const QRgb red = palette.colors().ansi[1].rgb();
        const QRgb light = palette.colors().ansi[7].rgb();
        QCOMPARE(palette.marked({light, palette.background()}, asFound).text, light);
        TerminalStyle style;
        style.reverse = true;
        QCOMPARE(palette.pair(style, false).ground, palette.foreground());
        QCOMPARE(palette.pair(style, true).ground, palette.background());
        style = {};
        style.foreground = TerminalColor::indexed(1);
        style.bold = true;
        QCOMPARE(palette.pair(style, false).text, red);
    }
};

MOORIX_TEST(TerminalPaintingTest)
#include "TerminalPaintingTest.moc"
