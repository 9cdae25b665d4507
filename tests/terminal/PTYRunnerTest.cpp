// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/PTYRunner.h"

#include "support/TestMain.h"

#include <QElapsedTimer>

#include <csignal>
#include <fcntl.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

namespace {

/// A program on a terminal of 24 × 80, and what becomes of it.
struct Terminal
{
    PTYRunner runner;
    QByteArray output;
    QList<std::optional<int>> exits;
    /// How much had come when the end was told.
    qsizetype outputAtExit = -1;

    Terminal()
    {
        runner.onOutput = [this](QByteArrayView bytes) { output += bytes; };
        runner.onExit = [this](std::optional<int> code) {
            exits << code;
            outputAtExit = output.size();
        };
    }
    explicit Terminal(const QString &script)
        : Terminal()
    {
        runner.start({u"/bin/sh"_s, {u"-c"_s, script}, {u"PATH=/usr/bin:/bin"_s, u"ODD=a \"b"_s}, {}, {}}, 24, 80);
    }
    bool hasEnded() const { return !exits.isEmpty(); }
};

bool isAlive(qint64 processId)
{
    return processId > 0 && ::kill(pid_t(processId), 0) == 0;
}

} // namespace

class PTYRunnerTest : public QObject
{
    Q_OBJECT

private slots:
    void programGetsItsTerminalNameFolderEnvironmentAndNothingElse()
    {
        TestTree tree{{"here/", {}}};
        const int inherited = ::open("/dev/null", O_RDONLY);
        ::signal(SIGPIPE, SIG_IGN);
        Terminal terminal;
        const QString script = u"echo $0; stty size; pwd; env | grep -v -e PWD -e SHLVL -e _=; "
                               "tty >/dev/null && ls /proc/$$/fd | tr '\\n' ' '; grep -h Sig[BI] /proc/self/status; "
                               "echo x >/dev/tty"_s;
        terminal.runner.start(
            {u"/bin/bash"_s, {u"-c"_s, script, u"-sh"_s}, {u"ODD=a \"b"_s, u"PATH=/bin"_s}, {}, tree.path("here")}, 31,
            97);
        QTRY_VERIFY(terminal.hasEnded());
        ::close(inherited);
        QCOMPARE(QString::fromUtf8(terminal.output).split(u"\r\n"_s), (QStringList{u"-sh"_s,
                                                                                   u"31 97"_s,
                                                                                   tree.path("here"),
                                                                                   u"ODD=a \"b"_s,
                                                                                   u"PATH=/bin"_s,
                                                                                   u"0 1 2 SigBlk:\t0000000000000000"_s,
                                                                                   u"SigIgn:\t0000000000000000"_s,
                                                                                   u"x"_s,
                                                                                   {}}));
        Terminal named;
        named.runner.start({u"/bin/bash"_s, {}, {u"PS1=[$0]"_s}, u"-bash"_s, u"/nowhere/at/all"_s}, 24, 80);
        QVERIFY(named.runner.write("echo $0 $PWD; shopt -q login_shell && exit 5\n"));
        QTRY_VERIFY(named.hasEnded());
        QVERIFY2(named.output.contains("\n-bash /\r\n"), named.output);
        QCOMPARE(named.exits, QList{std::optional(5)});
    }

    void whatCannotBeStartedIsToldWithTheReason()
    {
        PTYRunner runner;
        const auto start = [&](const QString &program) {
            return test::messageOf([&] { runner.start({program, {}, {}, {}, u"/"_s}, 24, 80); });
        };
        QCOMPARE(start(u"/no/such"_s), u"“/no/such” could not be started: No such file or directory"_s);
        QCOMPARE(start(u"/etc/passwd"_s), u"“/etc/passwd” could not be started: Permission denied"_s);
        QVERIFY(!runner.isRunning() && !runner.write("x"));
    }

    void exitCodesSignalsAndAllOutputComeOnce_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("size");
        QTest::addRow("silent") << u"exit 3"_s << 3 << 0;
        QTest::addRow("killed") << u"printf abc; kill -9 $$"_s << 128 + SIGKILL << 3;
        QTest::addRow("much at the end") << u"head -c 60000 /dev/zero; exit 1"_s << 1 << 60000;
        QTest::addRow("a program is left behind") << u"sleep 60 & printf abc"_s << 0 << 3;
        QTest::addRow("streams closed before the end")
            << u"printf abc; exec <&- >&- 2>&-; sleep 0.2; exit 4"_s << 4 << 3;
    }
    void exitCodesSignalsAndAllOutputComeOnce()
    {
        QFETCH(QString, script);
        Terminal terminal(script);
        QTRY_VERIFY(terminal.hasEnded());
        QTest::qWait(1);
        QCOMPARE(terminal.exits.size(), 1);
        QTEST(terminal.exits.first().value_or(-1), "code");
        QTEST(int(terminal.outputAtExit), "size");
        QVERIFY(!terminal.runner.isRunning());
    }

    void floodIsWholeInOrderAndLetsOtherEventsThrough()
    {
        Terminal terminal(u"seq 1 7000000"_s);
        qint64 bytes = 0;
        qint64 sinceTurn = 0;
        qint64 mostInOneTurn = 0;
        qint64 next = 1;
        QByteArray begun;
        terminal.runner.onOutput = [&](QByteArrayView piece) {
            bytes += piece.size();
            mostInOneTurn = std::max(mostInOneTurn, sinceTurn += piece.size());
            begun += piece;
            qsizetype from = 0;
            for (qsizetype end; (end = begun.indexOf("\r\n", from)) >= 0; from = end + 2)
                next += begun.mid(from, end - from).toLongLong() == next ? 1 : -bytes;
            begun.remove(0, from);
        };
        QTimer other;
        connect(&other, &QTimer::timeout, this, [&] { sinceTurn = 0; });
        other.start(0);
        QTRY_VERIFY_WITH_TIMEOUT(terminal.hasEnded(), 60000);
        QCOMPARE(next, 7000001);
        QVERIFY(bytes > 50'000'000);
        // Reading alone manages gigabytes in the time of the flood; a turn that never ends would show here.
        QVERIFY2(mostInOneTurn < bytes / 10, qPrintable(QString::number(mostInOneTurn)));
    }

    void interruptReachesAFlood()
    {
        Terminal terminal(u"yes"_s);
        QTRY_VERIFY(terminal.output.size() > 1'000'000);
        QVERIFY(terminal.runner.write("\x03"));
        QTRY_VERIFY(terminal.hasEnded());
        QCOMPARE(terminal.exits.first().value_or(-1), 128 + SIGINT);
    }

    void inputThatIsNotReadWaitsWithoutHoldingUpAndArrivesWhole()
    {
        TestTree tree;
        const QByteArray input = QByteArray("0123456789abcde\n").repeated(40000);
        Terminal terminal(
            u"stty raw -echo; printf r; read x </proc/self/fd/0; sleep 0.3; cat > %1"_s.arg(tree.path("taken")));
        QTRY_COMPARE(terminal.output, "r");
        QVERIFY(terminal.runner.write("go\n"));
        QVERIFY(terminal.runner.write(input));
        QVERIFY(!terminal.runner.write(QByteArray(PTYRunner::mostPendingInput, 'x')));
        // To a program that takes the characters themselves it is one like all others.
        QVERIFY(terminal.runner.write("\x03"));
        // The last byte of the first line is what `read` took beyond it at most.
        QTRY_VERIFY_WITH_TIMEOUT(tree.read("taken").endsWith(input + "\x03"), 20000);
        terminal.runner.terminate();
        QTRY_VERIFY(terminal.hasEnded());
    }

    void interruptDoesNotWaitBehindWhatIsNotRead_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<int>("signal");
        QTest::addRow("Ctrl+C") << QByteArray("\x03") << SIGINT;
        QTest::addRow("Ctrl+\\") << QByteArray("\x1c") << SIGQUIT;
        QTest::addRow("another key") << QByteArray("k") << SIGINT;
    }
    void interruptDoesNotWaitBehindWhatIsNotRead()
    {
        QFETCH(QByteArray, key);
        Terminal terminal(
            u"ulimit -c 0; stty -echo %1; echo ready; exec sleep 100"_s.arg(key == "k" ? u"intr k"_s : u""_s));
        QTRY_VERIFY(terminal.output.contains("ready"));
        QVERIFY(terminal.runner.write(QByteArray("0123456789abcde\n").repeated(65536)));
        QTest::qWait(1);
        QVERIFY(terminal.runner.write(key));
        QTRY_VERIFY(terminal.hasEnded());
        QFETCH(int, signal);
        QCOMPARE(terminal.exits, QList{std::optional(128 + signal)});
    }

    void stoppedProgramLeavesTheShellACleanPrompt()
    {
        Terminal terminal;
        terminal.runner.start({u"/bin/bash"_s, {u"--norc"_s, u"-i"_s}, {u"PS1=> "_s, u"PATH=/bin"_s}, {}, {}}, 24, 80);
        QTRY_VERIFY(terminal.output.contains("> "));
        QVERIFY(terminal.runner.write("sleep 100\r"));
        QTRY_VERIFY(terminal.runner.hasForegroundProgram());
        QVERIFY(terminal.runner.write(QByteArray("echo not this\n").repeated(65536)));
        QTest::qWait(1);
        QVERIFY(terminal.runner.write("\x1a"));
        QTRY_VERIFY(terminal.output.contains("Stopped"));
        terminal.output.clear();
        QVERIFY(terminal.runner.write("echo a$((1+1))b\r"));
        QTRY_VERIFY(terminal.output.contains("a2b"));
        QVERIFY(!terminal.output.contains("not this"));
    }

    void sizeIsToldWhileItRuns()
    {
        Terminal terminal(u"trap 'stty size; exit' WINCH; echo ready; while :; do sleep 0.05; done"_s);
        QTRY_VERIFY(terminal.output.contains("ready"));
        terminal.runner.resize(50, 132);
        QTRY_VERIFY(terminal.output.contains("50 132"));
    }

    void terminatingHangsUpThenKills()
    {
        Terminal polite(u"trap 'echo bye; exit 7' HUP; echo ready; while :; do sleep 0.05; done"_s);
        Terminal deaf(u"trap '' HUP; echo ready; while :; do sleep 0.05; done"_s);
        for (Terminal *terminal : {&polite, &deaf}) {
            QTRY_VERIFY(terminal->output.contains("ready"));
            terminal->runner.terminate();
        }
        QTRY_COMPARE(polite.exits, QList{std::optional(7)});
        QVERIFY(polite.output.contains("bye"));
        QTRY_COMPARE(deaf.exits, QList{std::optional(128 + SIGKILL)});
    }

    void nothingIsLeftOfARunnerThatIsDestroyed()
    {
        auto terminal = std::make_unique<Terminal>(u"trap '' HUP; echo $$; while :; do sleep 0.05; done"_s);
        QTRY_VERIFY(terminal->output.contains('\n'));
        const pid_t id = terminal->runner.processId();
        QCOMPARE(id, terminal->output.trimmed().toInt());
        QVERIFY(!terminal->runner.hasForegroundProgram() && isAlive(id));
        terminal.reset();
        // Not even an entry that nobody reaped: that would still count as alive.
        QTRY_VERIFY(!isAlive(id));
    }
};

MOORIX_TEST(PTYRunnerTest)

#include "PTYRunnerTest.moc"
