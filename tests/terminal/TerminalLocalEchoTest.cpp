// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalLocalEcho.h"

#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// A terminal whose server answers when the test says so.
struct Line
{
    TerminalEmulator emulator{{6, 40}};
    QDateTime now = QDateTime::fromMSecsSinceEpoch(1'700'000'000'000);
    TerminalLocalEcho echo{emulator, [this] { return now; }};

    explicit Line(const QByteArray &screen)
    {
        echo.setEnabled(true);
        emulator.feed(screen);
        now = now.addSecs(5);
    }
    void type(const QByteArray &keys)
    {
        for (const QString &character : QString::fromUtf8(keys).split(QString(), Qt::SkipEmptyParts))
            echo.typed(character.toUtf8());
    }
    /// What the server sends, after its delay.
    void answer(const QByteArray &bytes, int milliseconds = 200)
    {
        now = now.addMSecs(milliseconds);
        emulator.feed(bytes);
    }
    /// A line that has echoed once and then rested.
    void warmUp()
    {
        type("l");
        answer("l");
        now = now.addSecs(2);
    }
    QString overlay() const
    {
        QString text;
        for (const auto &[place, character] : echo.cells())
            text += u"%1:%2 "_s.arg(place.column).arg(character);
        return text.trimmed();
    }
    int cursor() const { return echo.cursor() ? echo.cursor()->column : -1; }
};

} // namespace

class TerminalLocalEchoTest : public QObject
{
    Q_OBJECT

private slots:
    void typedCharactersShowAtOnceAndGiveWayToTheEcho()
    {
        Line line("$ ");
        line.warmUp();
        line.type("s -");
        QCOMPARE(line.overlay(), u"3:s 4:  5:-"_s);
        QCOMPARE(line.cursor(), 6);
        line.answer("s ");
        QCOMPARE(line.overlay(), u"5:-"_s);
        QCOMPARE(line.cursor(), 6);
        line.answer("-", 10);
        QVERIFY(line.overlay().isEmpty() && line.cursor() == -1);
        line.type("\u4e2dx");
        QCOMPARE(line.overlay(), u"6:\u4e2d 8:x"_s);
        line.answer("\u4e2dx");
        QCOMPARE(line.overlay(), QString());
    }

    void nothingShowsBeforeALineOrItsPromptHasEchoed()
    {
        Line line("host$ ");
        line.type("ab");
        QCOMPARE(line.overlay(), QString());
        line.answer("a");
        QCOMPARE(line.overlay(), u"7:b"_s);
        line.answer("b");
        line.type("\r");
        line.answer("\r\nhost$ ");
        line.now = line.now.addSecs(2);
        line.type("c");
        QCOMPARE(line.overlay(), u"6:c"_s);
        line.answer("c");
        // Another prompt has shown nothing yet, and a line without one never stands for others.
        line.type("\r");
        line.answer("\r\nname: ");
        line.now = line.now.addSecs(2);
        line.type("d");
        QCOMPARE(line.overlay(), QString());
    }

    void whatIsNotEchoedNeverShows_data()
    {
        QTest::addColumn<QByteArray>("prompt");
        QTest::addRow("sudo") << QByteArray("[sudo] password for ada: ");
        QTest::addRow("ssh key") << QByteArray("Enter passphrase for key 'x': ");
        QTest::addRow("no prompt") << QByteArray();
        QTest::addRow("unknown words") << QByteArray("Mot de passe : ");
    }
    void whatIsNotEchoedNeverShows()
    {
        QFETCH(QByteArray, prompt);
        Line line("$ ");
        line.warmUp();
        line.type("\r");
        line.answer("\r\n" + prompt);
        for (int round = 0; round < 3; ++round) {
            line.now = line.now.addSecs(2);
            for (const char key : QByteArray("secret")) {
                line.type(QByteArray(1, key));
                QVERIFY(line.overlay().isEmpty());
            }
            line.type("\r");
            line.answer("\r\n" + prompt);
        }
    }

    void wrongGuessesVanish()
    {
        Line line("$ ");
        line.warmUp();
        line.type("a");
        line.answer("*");
        QCOMPARE(line.overlay(), QString());
        Line silent("$ ");
        silent.warmUp();
        silent.type("a");
        QCOMPARE(silent.overlay(), u"3:a"_s);
        silent.now = silent.now.addMSecs(1000);
        QTRY_COMPARE(silent.overlay(), QString());
        // A prompt that has stopped echoing has to prove itself again.
        silent.now = silent.now.addSecs(2);
        silent.type("b");
        QCOMPARE(silent.overlay(), QString());
        Line moved("$ ");
        moved.warmUp();
        moved.type("a");
        moved.answer("\r\nBroadcast message\r\n");
        QCOMPARE(moved.overlay(), QString());
    }

    void backspaceTakesBackGuesses()
    {
        Line line("$ ");
        line.warmUp();
        line.type("ab\x7f"
                  "c");
        QCOMPARE(line.overlay(), u"3:a 4:c"_s);
        line.answer("a");
        line.answer("b", 1);
        QCOMPARE(line.overlay(), u"4:c"_s);
        line.answer("\b \b", 1);
        line.answer("c", 1);
        QVERIFY(line.overlay().isEmpty() && line.cursor() == -1);
        // Beyond the guesses nobody knows what a backspace does.
        line.type("\x7f\x7f"
                  "d");
        QCOMPARE(line.overlay(), QString());
    }

    void keysOfUnknownEffectPauseForTwoDelays()
    {
        Line line("$ ");
        line.warmUp();
        line.echo.typed("\x1b[D");
        line.type("x");
        QCOMPARE(line.overlay(), QString());
        line.answer("\b");
        line.now = line.now.addMSecs(300);
        // In front of other text everything would have to move.
        line.type("x");
        QCOMPARE(line.overlay(), QString());
        line.answer("xl\b");
        line.answer("l");
        line.now = line.now.addSecs(1);
        line.type("y");
        QCOMPARE(line.overlay(), u"4:y"_s);
        line.echo.typed(QByteArray("pasted text of some length"));
        QCOMPARE(line.overlay(), QString());
    }

    void fullScreenProgramsAndTheMarginArePaused()
    {
        Line line(QByteArray("$ ") + QByteArray(34, 'x'));
        line.warmUp();
        line.type("abcd");
        QCOMPARE(line.overlay(), QString());
        Line full("$ ");
        full.warmUp();
        full.emulator.feed("\x1b[?1049h");
        full.type("a");
        QCOMPARE(full.overlay(), QString());
        full.emulator.feed("\x1b[?1049l");
        full.now = full.now.addSecs(2);
        full.type("b");
        QCOMPARE(full.overlay(), u"3:b"_s);
        full.emulator.resize({6, 30});
        QCOMPARE(full.overlay(), QString());
    }
};

MOORIX_TEST(TerminalLocalEchoTest)

#include "TerminalLocalEchoTest.moc"
