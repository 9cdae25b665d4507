// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalWidget.h"
#include "support/TestMain.h"
#include "ui/Theme.h"
#include "ui/terminal/TerminalFont.h"
#include "ui/terminal/TerminalPainter.h"

#include <QAction>
#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

using namespace moorix;
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

/// A terminal in a window, with what it sends to its program and what it tells its owner.
class TerminalWidgetTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QWidget> m_window;
    TerminalWidget *m_terminal = nullptr;
    QByteArray m_output;
    QByteArray m_typed;

    TerminalEmulator &emulator() { return m_terminal->emulator(); }
    QByteArray output() { return std::exchange(m_output, {}); }
    void feed(const QByteArray &bytes) { emulator().feed(bytes); }
    QPoint at(int row, double column)
    {
        const TerminalGeometry &geometry = m_terminal->geometry();
        const QRectF cell = geometry.rect({geometry.top + row, 0});
        return QPointF(cell.x() + column * cell.width(), cell.center().y()).toPoint();
    }
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = {})
    {
        QWidget *view = m_terminal->viewport();
        QTest::mousePress(view, Qt::LeftButton, modifiers, from);
        move(to, Qt::LeftButton, modifiers);
        QTest::mouseRelease(view, Qt::LeftButton, modifiers, to);
    }
    void move(QPoint to, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers)
    {
        QMouseEvent event(QEvent::MouseMove, to, m_terminal->viewport()->mapToGlobal(to), Qt::NoButton, buttons,
                          modifiers);
        QApplication::sendEvent(m_terminal->viewport(), &event);
    }
    void wheel(int notches, Qt::KeyboardModifiers modifiers = {})
    {
        QWheelEvent event(at(1, 1), m_terminal->viewport()->mapToGlobal(at(1, 1)), {}, {0, 120 * notches}, {},
                          modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(m_terminal->viewport(), &event);
    }
    /// The view as it is once the last output is on it.
    QImage painted()
    {
        QTest::qWait(40);
        return m_terminal->viewport()->grab().toImage();
    }
    QRect cell(int row, int column, int width = 1)
    {
        return m_terminal->geometry().rect({m_terminal->geometry().top + row, column}, width).toRect();
    }
    template <class Widget>
    Widget *find(const QString &name)
    {
        return m_terminal->findChild<Widget *>(name);
    }
    QString selected() { return m_terminal->selection().text(); }

private slots:
    void init()
    {
        Theme::apply(*qApp, u"midnight"_s, 13);
        QApplication::clipboard()->clear();
        m_window = std::make_unique<QWidget>();
        auto *layout = new QVBoxLayout(m_window.get());
        layout->setContentsMargins({});
        m_terminal = new TerminalWidget;
        layout->addWidget(m_terminal);
        m_window->resize(700, 400);
        connect(&emulator(), &TerminalEmulator::output, this, [this](const QByteArray &bytes) { m_output += bytes; });
        connect(m_terminal, &TerminalWidget::typed, this, [this](const QByteArray &bytes) { m_typed += bytes; });
        m_window->show();
        m_window->activateWindow();
        m_terminal->setFocus();
        QTRY_VERIFY(m_terminal->hasFocus());
        m_output.clear();
        m_typed.clear();
    }
    void cleanup() { m_window.reset(); }

    void keysReachTheProgramAndShortcutsDoNotStealThem()
    {
        QShortcut filter(QKeySequence(Qt::CTRL | Qt::Key_L), m_window.get());
        QShortcut copyFile(QKeySequence(Qt::Key_F5), m_window.get());
        QShortcut library(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), m_window.get());
        QSignalSpy stolen(&filter, &QShortcut::activated);
        QSignalSpy stolenKey(&copyFile, &QShortcut::activated);
        QSignalSpy left(&library, &QShortcut::activated);
        const std::tuple<Qt::Key, Qt::KeyboardModifiers, QByteArray> keys[] = {
            {Qt::Key_L, Qt::ControlModifier, "\x0c"},
            {Qt::Key_F5, {}, "\x1b[15~"},
            {Qt::Key_Tab, {}, "\t"},
            {Qt::Key_Backtab, Qt::ShiftModifier, "\x1b[Z"},
            {Qt::Key_Escape, {}, "\x1b"},
            {Qt::Key_BracketLeft, Qt::ControlModifier, "\x1b"},
            {Qt::Key_Return, {}, "\r"},
            {Qt::Key_X, Qt::AltModifier, "\x1bx"}};
        for (const auto &[key, modifiers, bytes] : keys) {
            QTest::keyClick(m_terminal, key, modifiers);
            QCOMPARE(output(), bytes);
        }
        QTest::keyClick(m_terminal, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(output(), QByteArray());
        QCOMPARE(left.count(), 1);
        QCOMPARE(stolen.count() + stolenKey.count(), 0);
        QVERIFY(m_terminal->hasFocus());
    }

    void composedTextIsTypedAndDeviceReportsAreNot()
    {
        QInputMethodEvent composing(u"にほ"_s, {});
        QApplication::sendEvent(m_terminal, &composing);
        QCOMPARE(m_typed, QByteArray());
        QInputMethodEvent done;
        done.setCommitString(u"日本"_s);
        QApplication::sendEvent(m_terminal, &done);
        QCOMPARE(m_typed, QByteArray("日本"));
        feed("\x1b[6n\x1b[5;3H");
        QVERIFY(output().contains("\x1b["));
        QCOMPARE(m_typed, QByteArray("日本"));
        QTRY_COMPARE(m_terminal->inputMethodQuery(Qt::ImCursorRectangle).toRect(), cell(4, 2));
    }

    void theMouseSelectsAndNewTextUnderItEndsThat()
    {
        feed("one two three\r\nfour five six\r\nseven");
        (void)painted();
        drag(at(0, 4), at(1, 4));
        QCOMPARE(selected(), u"two three\nfour"_s);
        QTest::mouseClick(m_terminal->viewport(), Qt::LeftButton, Qt::ShiftModifier, at(0, 7));
        QCOMPARE(selected(), u"two"_s);
        drag(at(0, 4), at(1, 7), Qt::AltModifier);
        QCOMPARE(selected(), u"two\n fi"_s);
        QTest::mouseDClick(m_terminal->viewport(), Qt::LeftButton, {}, at(1, 6));
        QCOMPARE(selected(), u"five"_s);
        QTest::mousePress(m_terminal->viewport(), Qt::LeftButton, {}, at(1, 6));
        QCOMPARE(selected().trimmed(), u"four five six"_s);
        QTest::keyClick(m_terminal, Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(QApplication::clipboard()->text().trimmed(), u"four five six"_s);
        // Elsewhere, and in colour only, makes no difference.
        feed(" more\x1b[2;1H\x1b[31mfour");
        (void)painted();
        QVERIFY(!m_terminal->selection().isEmpty());
        feed("\x1b[2;6HFIVE");
        QTRY_VERIFY(m_terminal->selection().isEmpty());
    }

    void theMouseBelongsToAProgramThatAsksForIt()
    {
        feed("text\x1b[?1000h\x1b[?1006h");
        (void)painted();
        QTest::mouseClick(m_terminal->viewport(), Qt::LeftButton, {}, at(2, 4.5));
        QCOMPARE(output(), QByteArray("\x1b[<0;5;3M\x1b[<0;5;3m"));
        QVERIFY(m_terminal->selection().isEmpty());
        wheel(1);
        QVERIFY(output().startsWith("\x1b[<64;"));
        QCOMPARE(m_typed, QByteArray());
        drag(at(0, 0), at(0, 4), Qt::ShiftModifier);
        QCOMPARE(selected(), u"text"_s);
        QCOMPARE(output(), QByteArray());
    }

    void scrolledUpKeepsItsPlaceUntilSomethingIsTyped()
    {
        for (int i = 0; i < 100; ++i)
            feed("line " + QByteArray::number(i) + "\r\n");
        (void)painted();
        QTest::keyClick(m_terminal, Qt::Key_PageUp, Qt::ShiftModifier);
        QTest::keyClick(m_terminal, Qt::Key_Shift);
        wheel(2);
        const qint64 top = m_terminal->geometry().top;
        QVERIFY(top < emulator().screenLine());
        feed("more\r\nand more\r\n");
        (void)painted();
        QCOMPARE(m_terminal->geometry().top, top);
        QVERIFY(m_terminal->verticalScrollBar()->value() < m_terminal->verticalScrollBar()->maximum());
        QCOMPARE(output(), QByteArray());
        QTest::keyClick(m_terminal, Qt::Key_A);
        QTRY_COMPARE(m_terminal->geometry().top, emulator().screenLine());
        // Without a scrollback the wheel is the arrow keys.
        feed("\x1b[?1049h");
        output();
        wheel(1);
        QVERIFY(output().startsWith("\x1b[A\x1b[A"));
    }

    void searchGoesUpCountsAndCloses()
    {
        for (int i = 0; i < 200; ++i)
            feed(i % 50 == 10 ? "a Needle here\r\n" : "hay\r\n");
        (void)painted();
        const TerminalSize size = emulator().size();
        QTest::keyClick(m_terminal, Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        auto *edit = find<QLineEdit>(u"terminalSearchEdit"_s);
        auto *count = find<QLabel>(u"terminalSearchCount"_s);
        QTRY_VERIFY(edit->hasFocus());
        QTest::keyClicks(edit, u"needle"_s);
        QTRY_COMPARE(count->text(), u"4 of 4"_s);
        QVERIFY(m_terminal->geometry().shows(160));
        QTest::keyClick(edit, Qt::Key_Return);
        QTRY_COMPARE(count->text(), u"3 of 4"_s);
        QVERIFY(m_terminal->geometry().shows(110));
        QTest::keyClick(edit, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(edit, Qt::Key_Return, Qt::ShiftModifier);
        QTRY_COMPARE(count->text(), u"1 of 4"_s);
        feed("another needle\r\n");
        QTRY_COMPARE(count->text(), u"1 of 5"_s);
        QTest::mouseClick(find<QToolButton>(u"terminalSearchCase"_s), Qt::LeftButton);
        QTRY_COMPARE(count->text(), u"1 of 1"_s);
        edit->setText(u"straw"_s);
        QTRY_COMPARE(count->text(), u"No matches"_s);
        // What the bar has no use for is not meant for the program.
        QTest::keyClick(edit, Qt::Key_F5);
        QTest::keyClick(edit, Qt::Key_Escape);
        QVERIFY(m_terminal->hasFocus());
        QCOMPARE(output(), QByteArray());
        QCOMPARE(emulator().size(), size);
    }

    void linesAreNotPastedUnasked()
    {
        QApplication::clipboard()->setText(u"one line"_s);
        QTest::keyClick(m_terminal, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(output(), QByteArray("one line"));
        QVERIFY(m_typed.endsWith("one line"));
        auto *bar = find<QWidget>(u"terminalPasteBar"_s);
        m_terminal->paste(u"rm -rf /\n\x1b[201~exit\n"_s);
        QVERIFY(bar->isVisible());
        QCOMPARE(output(), QByteArray());
        const QString question = find<QLabel>(u"terminalPasteQuestion"_s)->text();
        QVERIFY(question.contains(u"2 lines"_s) && question.contains(u"One control character"_s));
        QVERIFY(find<QLabel>(u"terminalPastePreview"_s)->text().contains(u"rm -rf /"_s));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QVERIFY(!bar->isVisible() && m_terminal->hasFocus());
        QCOMPARE(output(), QByteArray());
        m_terminal->paste(u"a\nb\n"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QCOMPARE(output(), QByteArray("a\rb\r"));
        QVERIFY(!bar->isVisible());
        feed("\x1b[?2004h");
        m_terminal->paste(u"a\nb\x1b"_s);
        QVERIFY(!bar->isVisible());
        QCOMPARE(output(), QByteArray("\x1b[200~a\rb\x1b[201~"));
        QVERIFY(find<QLabel>(u"terminalNote"_s)->isVisible());
    }

    void linksAreShownBeforeTheyAreOpenedAndNotAllAre()
    {
        QSignalSpy opened(m_terminal, &TerminalWidget::linkActivated);
        feed("see (https://a.example/x_(y)). \x1b]8;;javascript:alert(1)\x07here\x1b]8;;\x07 "
             "\x1b]8;;https://b.example/\x07there\x1b]8;;\x07");
        (void)painted();
        auto *target = find<QLabel>(u"terminalLink"_s);
        move(at(0, 8.5), {}, {});
        QVERIFY(!target->isVisible());
        move(at(0, 8.5), {}, Qt::ControlModifier);
        QVERIFY(target->isVisible());
        QCOMPARE(target->text(), u"https://a.example/x_(y)"_s);
        QTest::mouseClick(m_terminal->viewport(), Qt::LeftButton, {}, at(0, 8.5));
        QCOMPARE(opened.count(), 0);
        QTest::mouseClick(m_terminal->viewport(), Qt::LeftButton, Qt::ControlModifier, at(0, 8.5));
        QCOMPARE(opened.takeFirst().first().toUrl(), QUrl(u"https://a.example/x_(y)"_s));
        QTest::mouseClick(m_terminal->viewport(), Qt::LeftButton, Qt::ControlModifier, at(0, 32.5));
        QCOMPARE(opened.count(), 0);
        QVERIFY(find<QLabel>(u"terminalNote"_s)->text().startsWith(u"Not opened:"_s));
        QTest::mouseClick(m_terminal->viewport(), Qt::LeftButton, Qt::ControlModifier, at(0, 37.5));
        QCOMPARE(opened.count(), 1);
    }

    void theMenuKnowsTheShellsFolder()
    {
        QSignalSpy opened(m_terminal, &TerminalWidget::folderActivated);
        feed("\x1b]7;file://web-01/srv/my%20site\x07");
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
        QApplication::sendEvent(m_terminal, &event);
        auto *menu = find<QMenu>(u"terminalMenu"_s);
        QVERIFY(menu);
        QVERIFY(!menu->findChild<QAction *>(u"terminalCopy"_s)->isEnabled());
        menu->findChild<QAction *>(u"terminalOpenFolder"_s)->trigger();
        menu->close();
        QCOMPARE(opened.first(), QVariantList({u"/srv/my site"_s, u"web-01"_s}));
    }

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

    void itsSizeIsToldWhileItIsResizedAndNotWhenItOpens()
    {
        auto *size = find<QLabel>(u"terminalSize"_s);
        QTest::qWait(450);
        QVERIFY(!size->isVisible());
        m_window->resize(600, 300);
        QTRY_VERIFY(size->isVisible());
        QCOMPARE(size->text(), u"%1 × %2"_s.arg(emulator().size().columns).arg(emulator().size().rows));
        QTRY_VERIFY(!size->isVisible());
    }

    void filesAreOfferedToTheOwnerAndOtherDropsRefused()
    {
        int offers = 0;
        connect(m_terminal, &TerminalWidget::filesOffered, this,
                [&](const QMimeData &data) { offers += data.urls() == QList{QUrl(u"file:///tmp/a%20b"_s)} ? 1 : 100; });
        const auto drop = [&](const QMimeData &data) {
            QDragEnterEvent enter({9, 9}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(m_terminal->viewport(), &enter);
            QDropEvent event({9, 9}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(m_terminal->viewport(), &event);
            return enter.isAccepted() && enter.dropAction() == Qt::CopyAction;
        };
        QMimeData page;
        page.setUrls({QUrl(u"https://example.org/"_s)});
        QVERIFY(!drop(page));
        QMimeData file;
        file.setUrls({QUrl::fromLocalFile(u"/tmp/a b"_s)});
        QVERIFY(drop(file));
        QCOMPARE(offers, 1);
        auto *copied = new QMimeData;
        copied->setUrls(file.urls());
        QApplication::clipboard()->setMimeData(copied);
        QTest::keyClick(m_terminal, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(offers, 2);
        QCOMPARE(output(), QByteArray());
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

    void theGridFollowsTheWindowAndTheFont()
    {
        QSignalSpy sizes(m_terminal, &TerminalWidget::sizeChanged);
        m_window->resize(900, 500);
        QTRY_COMPARE(sizes.count(), 1);
        const TerminalSize wide = emulator().size();
        QVERIFY(wide.columns * m_terminal->geometry().cell.width() <= m_terminal->viewport()->width());
        QFont font(u"No Such Family"_s);
        font.setPixelSize(26);
        m_terminal->setTerminalFont(font);
        QTRY_VERIFY(emulator().size().columns < wide.columns * 6 / 10);
        QSignalSpy steps(m_terminal, &TerminalWidget::fontSizeStepped);
        QTest::keyClick(m_terminal, Qt::Key_Plus, Qt::ControlModifier);
        QTest::keyClick(m_terminal, Qt::Key_0, Qt::ControlModifier);
        wheel(-1, Qt::ControlModifier);
        QCOMPARE(steps.count(), 3);
        QCOMPARE(steps[0].first().toInt() * 100 + steps[1].first().toInt() * 10 + steps[2].first().toInt(), 99);
        QCOMPARE(output(), QByteArray());
        m_terminal->setGPU(true);
        QCOMPARE(m_terminal->usesGPU(), false);
    }

    void promptsAreJumpedToOneByOne()
    {
        for (int i = 0; i < 4; ++i) {
            feed("\x1b]133;A\x07$ command\r\n");
            for (int line = 0; line < 40; ++line)
                feed("output\r\n");
        }
        (void)painted();
        constexpr auto both = Qt::ControlModifier | Qt::ShiftModifier;
        QTest::keyClick(m_terminal, Qt::Key_Up, both);
        QCOMPARE(m_terminal->geometry().top, 123);
        QTest::keyClick(m_terminal, Qt::Key_Up, both);
        QCOMPARE(m_terminal->geometry().top, 82);
        QTest::keyClick(m_terminal, Qt::Key_Down, both);
        QCOMPARE(m_terminal->geometry().top, 123);
        QTest::keyClick(m_terminal, Qt::Key_Down, both);
        QCOMPARE(m_terminal->geometry().top, emulator().screenLine());
        QCOMPARE(output(), QByteArray());
    }

    void aDragBeyondTheEdgeScrolls()
    {
        for (int i = 0; i < 100; ++i)
            feed("line " + QByteArray::number(i) + "\r\n");
        (void)painted();
        QTest::mousePress(m_terminal->viewport(), Qt::LeftButton, {}, at(3, 3));
        move({2, -40}, Qt::LeftButton, {});
        QTRY_COMPARE(m_terminal->geometry().top, 0);
        QTest::mouseRelease(m_terminal->viewport(), Qt::LeftButton, {}, {2, -40});
        QVERIFY(selected().startsWith(u"line 0\nline 1\n"_s));
        m_window->resize(500, 400);
        QTRY_VERIFY(m_terminal->selection().isEmpty());
    }

    void theMiddleButtonPastesWhatIsSelected()
    {
        feed("some words");
        (void)painted();
        drag(at(0, 0), at(0, 4));
        QTest::mouseClick(m_terminal->viewport(), Qt::MiddleButton, {}, at(3, 3));
        QCOMPARE(output(), QByteArray("some"));
        QTest::keyClick(m_terminal, Qt::Key_Insert, Qt::ShiftModifier);
        QCOMPARE(m_typed, QByteArray("somesome"));
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

    void programsMayCopyButItIsSaid()
    {
        feed("\x1b]52;c;aGVsbG8=\x07");
        QCOMPARE(QApplication::clipboard()->text(), u"hello"_s);
        QCOMPARE(find<QLabel>(u"terminalNote"_s)->text(), u"The program copied text to the clipboard"_s);
    }
};

MOORIX_TEST(TerminalWidgetTest)
#include "TerminalWidgetTest.moc"
