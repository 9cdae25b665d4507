// SPDX-License-Identifier: GPL-3.0-or-later
#include "Played.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class TerminalKeysTest final : public QObject
{
    Q_OBJECT

private slots:
    void sendsKeys();
    void pastesNothingButText();
    void reportsTheMouseAsAsked();
};

namespace {

constexpr TerminalModifiers none;
constexpr TerminalModifiers shift{.shift = true};
constexpr TerminalModifiers alt{.alt = true};
constexpr TerminalModifiers control{.control = true};

/// What is sent to a program that has sent `modes` when `act` happens.
template <class Act>
QByteArray sent(const QByteArray &modes, Act act)
{
    const auto emulator = played(modes);
    QByteArray bytes;
    QObject::connect(emulator.get(), &TerminalEmulator::output, emulator.get(),
                     [&](const QByteArray &more) { bytes += more; });
    act(*emulator);
    return bytes;
}

QByteArray key(TerminalKey key, TerminalModifiers modifiers, const QByteArray &modes = {})
{
    return sent(modes, [&](TerminalEmulator &emulator) { emulator.sendKey(key, modifiers); });
}

QByteArray typed(char32_t character, TerminalModifiers modifiers)
{
    return sent({}, [&](TerminalEmulator &emulator) { emulator.sendCharacter(character, modifiers); });
}

} // namespace

void TerminalKeysTest::sendsKeys()
{
    QCOMPARE(key(TerminalKey::up, none), "\x1b[A");
    QCOMPARE(key(TerminalKey::up, none, "\x1b[?1h"), "\x1bOA");
    QCOMPARE(key(TerminalKey::up, none, "\x1b[?1h\x1b[!p"), "\x1b[A");
    QCOMPARE(key(TerminalKey::left, control, "\x1b[?1h"), "\x1b[1;5D");
    QCOMPARE(key(TerminalKey::f1, none), "\x1bOP");
    QCOMPARE(key(TerminalKey::f4, shift), "\x1b[1;2S");
    QCOMPARE(key(TerminalKey::f5, none), "\x1b[15~");
    QCOMPARE(key(TerminalKey::f12, alt), "\x1b[24;3~");
    QCOMPARE(key(TerminalKey::del, control), "\x1b[3;5~");
    QCOMPARE(key(TerminalKey::tab, shift), "\x1b[Z");
    QCOMPARE(key(TerminalKey::enter, shift), "\r");
    QCOMPARE(key(TerminalKey::enter, none, "\x1b[20h"), "\r\n");
    QCOMPARE(key(TerminalKey::backspace, none), "\x7f");
    QCOMPARE(key(TerminalKey::backspace, alt), "\x1b\x7f");
    QCOMPARE(key(TerminalKey::keypadEnter, none), "\r");
    QCOMPARE(key(TerminalKey::keypad7, none), "7");
    QCOMPARE(key(TerminalKey::keypad7, none, "\x1b="), "\x1bOw");
    QCOMPARE(key(TerminalKey::keypadEqual, none, "\x1b="), "\x1bOX");
    QCOMPARE(typed(U'c', control), "\x03");
    QCOMPARE(typed(U'i', control), "\t");
    QCOMPARE(typed(U' ', control), QByteArray(1, '\0'));
    QCOMPARE(typed(U'/', control), "\x1f");
    QCOMPARE(typed(U'x', alt), "\x1bx");
    QCOMPARE(typed(U'ä', alt), "\x1b\xC3\xA4");
    QCOMPARE(typed(U'x', (TerminalModifiers{.alt = true, .control = true})), "\x1b\x18");
}

void TerminalKeysTest::pastesNothingButText()
{
    const auto paste = [](const QString &text, const QByteArray &modes) {
        return sent(modes, [&](TerminalEmulator &emulator) { emulator.paste(text); });
    };
    QCOMPARE(paste(u"a\r\nb\nc\rd\te"_s, {}), "a\rb\rc\rd\te");
    QCOMPARE(paste(u"x\u001b[201~\u009b201~\u0003rm\u007f"_s, "\x1b[?2004h"),
             QByteArray("\x1b[200~x[201~201~rm\x1b[201~"));
    QCOMPARE(paste(u"\u001b"_s, "\x1b[?2004h"), QByteArray());
}

void TerminalKeysTest::reportsTheMouseAsAsked()
{
    const auto drag = [](const QByteArray &modes) {
        return sent(modes, [](TerminalEmulator &emulator) {
            emulator.sendMouseMove(0, 5, none);
            emulator.sendMouseButton(1, true, 1, 2, control);
            emulator.sendMouseMove(1, 3, none);
            emulator.sendMouseMove(1, 3, none);
            emulator.sendMouseButton(1, false, 1, 3, none);
            emulator.sendMouseButton(5, true, 9, 99, none);
            emulator.sendMouseButton(5, false, 1, 3, none);
            emulator.sendFocus(true);
        });
    };
    QCOMPARE(drag({}), QByteArray());
    // Presses only, without modifiers, and the wheel.
    QCOMPARE(drag("\x1b[?9h"), "\x1b[M #\"\x1b[Ma*$");
    QCOMPARE(drag("\x1b[?1000;1006h"), "\x1b[<16;3;2M\x1b[<0;4;2m\x1b[<65;10;4M");
    QCOMPARE(drag("\x1b[?1002;1006;1004h"), "\x1b[<16;3;2M\x1b[<32;4;2M\x1b[<0;4;2m\x1b[<65;10;4M\x1b[I");
    QCOMPARE(drag("\x1b[?1003h"), "\x1b[MC&!\x1b[M0#\"\x1b[M@$\"\x1b[M#$\"\x1b[Ma*$");
    QCOMPARE(drag("\x1b[?1003h\x1b[?1003l"), QByteArray());
}

MOORIX_TEST(TerminalKeysTest)
#include "TerminalKeysTest.moc"
