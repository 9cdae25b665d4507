// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "ui/TerminalBench.h"
#include "ui/terminal/TerminalFont.h"

#include <QAction>
#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QShortcut>
#include <QToolButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class TerminalWidgetTest final : public TerminalBench
{
    Q_OBJECT

private slots:
    void init() { open(); }
    void cleanup() { close(); }

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

    void programsMayCopyButItIsSaid()
    {
        feed("\x1b]52;c;aGVsbG8=\x07");
        QCOMPARE(QApplication::clipboard()->text(), u"hello"_s);
        QCOMPARE(find<QLabel>(u"terminalNote"_s)->text(), u"The program copied text to the clipboard"_s);
    }
};

MOORIX_TEST(TerminalWidgetTest)
#include "TerminalWidgetTest.moc"
