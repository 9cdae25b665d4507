// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalStreamGate.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// Writes down what arrives, text in one piece.
class Listener final : public TerminalStreamGate::Receiver
{
public:
    QByteArrayList heard;

    void plain(QByteArrayView bytes) override
    {
        if (!heard.isEmpty() && heard.last().startsWith("text "))
            heard.last() += bytes.toByteArray();
        else
            heard << "text " + bytes.toByteArray();
    }
    void combining(char32_t character) override { heard << "mark " + QByteArray::number(character, 16); }
    void escape(QByteArrayView bytes) override { heard << "escape " + bytes.toByteArray(); }
    void sequence(const TerminalSequence &sequence) override
    {
        QByteArray text = "sequence ";
        for (const TerminalPen::Parameter &parameter : sequence.parameters)
            text += (parameter.joined ? ":" : ";") + QByteArray::number(parameter.value);
        for (const char c : {sequence.leader, sequence.intermediate, sequence.final})
            text += c == 0 ? QByteArray("-") : QByteArray(1, c);
        heard << text;
    }
    void operatingSystemCommand(QByteArrayView text) override { heard << "command " + text.toByteArray(); }
    void deviceControl(QByteArrayView text) override { heard << "device " + text.toByteArray(); }
};

QByteArrayList heard(const QByteArray &bytes, qsizetype chunk)
{
    Listener listener;
    TerminalStreamGate gate(listener);
    for (qsizetype at = 0; at < bytes.size(); at += chunk)
        gate.feed(bytes.mid(at, chunk));
    return listener.heard;
}

} // namespace

class TerminalStreamGateTest final : public QObject
{
    Q_OBJECT

private slots:
    void takesApart_data();
    void takesApart();
    void boundsWhatHasNoEnd();
};

void TerminalStreamGateTest::takesApart_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArrayList>("expected");
    const auto row = [](const char *name, const QByteArray &bytes, const QByteArrayList &expected) {
        QTest::newRow(name) << bytes << expected;
    };
    row("text and controls", "a\r\n\xC3\xA4\xF0\x9F\x99\x82", {"text a\r\n\xC3\xA4\xF0\x9F\x99\x82"});
    row("numbers", "\x1b[m\x1b[?25;1h\x1b[4:3;;38:2::1:2:3m\x1b[2 q\x1b[>99999999999c",
        {"sequence ;-1--m", "sequence ;25;1?-h", "sequence ;4:3;-1;38:2:-1:1:2:3--m", "sequence ;2- q",
         "sequence ;9999>-c"});
    row("a control within", "\x1b[3\r1mx", {"text \r", "sequence ;31--m", "text x"});
    row("an escape ends another",
        "\x1b[3\x1b[4mx\x1b\x1b"
        "7\x1b[5\x18y",
        {"sequence ;4--m", "text x", "escape 7", "text y"});
    row("sets", "\x1b(0\x1b)B\x1b=\x1b#8", {"escape (0", "escape )B", "escape =", "escape #8"});
    row("strings", "\x1b]0;t\xC3\xA4\a\x1b]8;;u\x1b\\\x1bP$qm\x1b\\\x1b_hidden\x1b\\\x1b^x\x1b\\z",
        {"command 0;t\xC3\xA4", "command 8;;u", "device $qm", "text z"});
    row("a string that is left", "\x1b]0;t\x1b[1mx\x1b]2;u\x18y", {"sequence ;1--m", "text xy"});
    row("marks", "e\xCC\x81x\xE2\x80\x8By", {"text e", "mark 301", "text x", "mark 200b", "text y"});
    row("joined", "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA\xF0\x9F\x87\xA9",
        {"text \xF0\x9F\x91\xA9", "mark 200d", "text \xF0\x9F\x87\xA9", "mark 1f1ea", "text \xF0\x9F\x87\xA9"});
    row("controls within an escape", "\x1b\n(\r0a\x1bPb\ac\x1b\\d",
        {"text \n\r", "escape (0", "text a", "device b\ac", "text d"});
    row("broken", "a\x80\xE2\x82z\xF4\x90\x80\x80\xC0\xAF\xED\xA0\x80",
        {"text a\xEF\xBF\xBD\xEF\xBF\xBDz" + QByteArray("\xEF\xBF\xBD").repeated(9)});
    row("controls above 0x7F",
        "a\xC2\x9B"
        "31mb",
        {"text a31mb"});
}

void TerminalStreamGateTest::takesApart()
{
    QFETCH(QByteArray, bytes);
    for (qsizetype chunk = 1; chunk <= bytes.size(); ++chunk)
        QTEST(heard(bytes, chunk), "expected");
}

void TerminalStreamGateTest::boundsWhatHasNoEnd()
{
    const QByteArray many = "\x1b[" + QByteArray("1;").repeated(40) + "mx";
    QCOMPARE(heard(many, many.size()), QByteArrayList{"text x"});
    for (const qsizetype chunk : {qsizetype(1), qsizetype(1000), qsizetype(1) << 30}) {
        QCOMPARE(heard("\x1b[" + QByteArray(100'000, '1') + "mx", chunk), QByteArrayList{"text x"});
        const QByteArray longest(TerminalStreamGate::longestString, 'a');
        QCOMPARE(heard("\x1b]" + longest + "\ax", chunk), (QByteArrayList{"command " + longest, "text x"}));
        QCOMPARE(heard("\x1b]" + longest + "b\ax", chunk), QByteArrayList{"text x"});
    }
}

MOORIX_TEST(TerminalStreamGateTest)
#include "TerminalStreamGateTest.moc"
