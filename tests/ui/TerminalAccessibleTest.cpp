// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "terminal/TerminalTranscript.h"
#include "ui/TerminalBench.h"
#include "ui/terminal/TerminalReader.h"

#include <QAccessible>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// What a screen reader was told, in words.
QStringList heard;

void hear(QAccessibleEvent *event)
{
    if (event->type() == QAccessible::TextInserted) {
        const auto &told = *static_cast<QAccessibleTextInsertEvent *>(event);
        heard << u"%1 + %2"_s.arg(told.changePosition()).arg(told.textInserted());
    } else if (event->type() == QAccessible::TextRemoved) {
        const auto &told = *static_cast<QAccessibleTextRemoveEvent *>(event);
        heard << u"%1 - %2"_s.arg(told.changePosition()).arg(told.textRemoved());
    } else if (event->type() == QAccessible::TextUpdated) {
        const auto &told = *static_cast<QAccessibleTextUpdateEvent *>(event);
        heard << u"%1 %2 > %3"_s.arg(told.changePosition()).arg(told.textRemoved(), told.textInserted());
    } else if (event->type() == QAccessible::TextCaretMoved) {
        heard << u"at %1"_s.arg(static_cast<QAccessibleTextCursorEvent *>(event)->cursorPosition());
    }
}

} // namespace

class TerminalAccessibleTest final : public TerminalBench
{
    Q_OBJECT

private slots:
    void init()
    {
        heard.clear();
        open();
        // Qt itself passes events on only where a platform's screen reader runs.
        connect(&m_terminal->reader(), &TerminalReader::telling, this, hear);
    }
    void cleanup()
    {
        QAccessible::setActive(false);
        close();
    }

    void theScreenIsATextWithPlaces()
    {
        QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(m_terminal);
        QCOMPARE(interface->role(), QAccessible::Terminal);
        QAccessibleTextInterface *const text = interface->textInterface();
        QVERIFY(text);
        const int columns = emulator().size().columns;
        const QString wrapped = QString(columns, u'w') + u"rap"_s;
        feed("one 漢 two\r\n" + wrapped.toUtf8() + "\r\n\x1b[1mbold\x1b[m $ ");
        (void)painted();
        const QString shown = u"one 漢 two\n"_s + wrapped + u"\nbold $ "_s;
        QCOMPARE(text->text(0, text->characterCount()), shown);
        QCOMPARE(text->cursorPosition(), int(shown.size()));

        int start = 0;
        int end = 0;
        QCOMPARE(text->textAtOffset(6, QAccessible::WordBoundary, &start, &end), u"two"_s);
        QCOMPARE(text->textAtOffset(12, QAccessible::LineBoundary, &start, &end), wrapped.first(columns));
        QCOMPARE(text->textAfterOffset(12, QAccessible::LineBoundary, &start, &end), u"rap\n"_s);
        QCOMPARE(text->textBeforeOffset(12, QAccessible::LineBoundary, &start, &end), u"one 漢 two\n"_s);
        QCOMPARE(std::pair(start, end), std::pair(0, 10));
        QCOMPARE(text->attributes(int(shown.indexOf(u'b')) + 1, &start, &end), u"font-weight:bold;"_s);
        QCOMPARE(end - start, 4);

        // The wide one takes two columns, so "two" begins in the eighth.
        const QRect rect = text->characterRect(6);
        QCOMPARE(rect.topLeft(), m_terminal->viewport()->mapToGlobal(cell(0, 7).topLeft()));
        QCOMPARE(text->offsetAtPoint(rect.center()), 6);
        text->setSelection(0, 4, 9);
        QCOMPARE(selected(), u"漢 two"_s);
        text->selection(0, &start, &end);
        QCOMPARE(std::pair(start, end), std::pair(4, 9));
        text->removeSelection(0);
        QCOMPARE(text->selectionCount(), 0);
    }

    void whatWasOneLineForTheProgramIsOne()
    {
        // Blanks in its middle belong to it, the place that a wide one did not fit into does not.
        const int columns = emulator().size().columns;
        feed(QByteArray(columns - 1, ' ') + "漢\r\n" + QByteArray(columns, ' ') + "x\r\n\x1b#6" +
             QByteArray(columns, 'y'));
        QAccessibleTextInterface *const text = QAccessible::queryAccessibleInterface(m_terminal)->textInterface();
        const QString first = QString(columns - 1, u' ') + u"漢\n"_s;
        const QString second = QString(columns, u' ') + u"x\n"_s;
        const QString third = QString(columns / 2, u'y');
        QVERIFY(text->text(0, text->characterCount()).startsWith(first + second + third + u'\n'));
        int start = 0;
        int end = 0;
        const int inSecond = int(first.size()) + 3;
        QCOMPARE(text->textAtOffset(inSecond, QAccessible::LineBoundary, &start, &end).size(), columns);
        QCOMPARE(text->textAtOffset(inSecond, QAccessible::ParagraphBoundary, &start, &end).trimmed(), u"x"_s);
        // Nothing is told while nobody listens.
        QCOMPARE(heard, QStringList());
    }

    void newOutputIsTold()
    {
        QAccessible::setActive(true);
        feed("$ ");
        QTRY_COMPARE(heard, QStringList(u"at 2"_s));
        heard.clear();
        feed("l");
        feed("s\r\nfile\r\n$ ");
        QTRY_COMPARE(heard, QStringList({u"2 + ls\nfile\n$ "_s, u"at 12"_s}));
        heard.clear();
        feed("\x1b[s\x1b[1;1H#\x1b[u");
        QTRY_COMPARE(heard, QStringList(u"0 $ > #"_s));

        // Lines far above are no longer part of the text.
        feed("\x1b[99;1H" + QByteArray("\r\nx").repeated(3 * TerminalTranscript::mostHistory));
        QAccessibleTextInterface *const text = QAccessible::queryAccessibleInterface(m_terminal)->textInterface();
        QVERIFY(text->characterCount() < 2 * (TerminalTranscript::mostHistory + emulator().size().rows));
        heard.clear();
        QTRY_VERIFY(heard.contains(u"at %1"_s.arg(text->cursorPosition())));
        QVERIFY(heard.first().startsWith("0 - # ls\nfile"_L1));
        text->scrollToSubstring(0, 1);
        QVERIFY(!text->characterRect(0).isEmpty());
        QVERIFY(text->characterRect(text->cursorPosition()).isEmpty());
    }
};

MOORIX_TEST(TerminalAccessibleTest)
#include "TerminalAccessibleTest.moc"
