// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"

#include "support/TestMain.h"

#include <csignal>
#include <thread>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

namespace {

ProcessRequest shell(const QString &script)
{
    ProcessRequest request;
    request.program = u"/bin/sh"_s;
    request.arguments = {u"-c"_s, script};
    return request;
}

ProcessResult runShell(const QString &script)
{
    return SystemProcessRunner().run(shell(script), {});
}

QString failureOf(const ProcessRequest &request, const std::stop_token &stop = {})
{
    return test::messageOf([&] { SystemProcessRunner().run(request, stop); });
}

/// Whether a process exists that is more than an entry waiting to be reaped.
bool isAlive(qint64 processId)
{
    const QByteArray line = test::contentOf(u"/proc/%1/stat"_s.arg(processId));
    return !line.isEmpty() && line.mid(line.lastIndexOf(')') + 2, 1) != "Z";
}

} // namespace

class SystemProcessRunnerTest : public QObject
{
    Q_OBJECT

private slots:
    void exitCodeSignalAndBothStreamsArriveWhole()
    {
        const ProcessResult exited = runShell(u"printf out; printf err >&2; exit 3"_s);
        QVERIFY(exited.exitCode == 3 && !exited.crashed);
        QVERIFY(exited.standardOutput == "out" && exited.standardError == "err");
        const ProcessResult killed = runShell(u"kill -9 $$"_s);
        QVERIFY(killed.exitCode == SIGKILL && killed.crashed);
        const ProcessResult result = runShell(u"head -c 9000000 /dev/zero & head -c 7000000 /dev/zero >&2; wait"_s);
        QCOMPARE(result.standardOutput.size(), 9000000);
        QCOMPARE(result.standardError.size(), 7000000);
        // What becomes of the one stream must not reach the other, though they are one.
        ProcessRequest together =
            shell(u"dd if=/dev/null oflag=nonblock >&2 2>/dev/null; head -c 9000000 /dev/zero; printf x >&2"_s);
        together.errorOutput = ErrorOutput::withinOutput;
        const ProcessResult both = SystemProcessRunner().run(together, {});
        QCOMPARE(both.standardOutput.size(), 9000001);
        QVERIFY(both.standardOutput.endsWith('x'));
    }

    void inputLargerThanAPipeComesBackWholeOrIsDroppedUnread()
    {
        ProcessRequest request = shell(u"exec cat"_s);
        for (int line = 0; line < 200000; ++line)
            request.standardInput += QByteArray::number(line) + '\n';
        QCOMPARE(SystemProcessRunner().run(request, {}).standardOutput, request.standardInput);
        request.arguments.last() = u"exit 4"_s;
        QCOMPARE(SystemProcessRunner().run(request, {}).exitCode, 4);
    }

    void aHelperThatKeepsThePipesOpenDoesNotHoldTheRunUp()
    {
        const ProcessResult result = runShell(u"sleep 600 & echo $!; head -c 60000 /dev/zero >&2"_s);
        const qint64 helper = result.standardOutput.trimmed().toLongLong();
        QVERIFY(isAlive(helper));
        QCOMPARE(result.standardError.size(), 60000);
        ::kill(pid_t(helper), SIGKILL);
    }

    void endlessOutputIsEndedAtTheLimit()
    {
        for (const QString &script : {u"exec yes"_s, u"exec yes >&2"_s}) {
            ProcessRequest request = shell(script);
            request.outputLimitBytes = 100000;
            QCOMPARE(failureOf(request), u"“/bin/sh” printed more than 100000 bytes and was ended."_s);
        }
    }

    void aMissingProgramIsNamed()
    {
        ProcessRequest request;
        request.program = u"/nonexistent/tool"_s;
        QCOMPARE(failureOf(request), u"“/nonexistent/tool” could not be started: No such file or directory"_s);
    }

    void theGivenEnvironmentIsTheWholeEnvironment()
    {
        ProcessRequest request = shell(u"printf '%s|%s' \"$MARK\" \"$HOME\""_s);
        request.environment.emplace();
        request.environment->insert(u"MARK"_s, u"here"_s);
        QCOMPARE(SystemProcessRunner().run(request, {}).standardOutput, QByteArray("here|"));
    }

    void nothingStartsAfterAStop()
    {
        std::stop_source source;
        source.request_stop();
        const TestTree tree;
        QCOMPARE(failureOf(shell(u"touch '%1/started'"_s.arg(tree.path())), source.get_token()), Cancelled().message());
        QVERIFY(!tree.exists("started"));
    }

    void cancelEndsTheWholeGroup()
    {
        const QString note = u"echo $$ $! > '%1/new'; mv '%1/new' '%1/pids'; "_s;
        for (const QString &script :
             {u"sleep 600 & "_s + note + u"wait"_s, u"trap '' TERM; sleep 600 & "_s + note + u"wait"_s,
              u"sleep 600 & "_s + note + u"yes"_s, u"(trap '' TERM; exec sleep 600) & "_s + note + u"wait"_s}) {
            const TestTree tree;
            std::stop_source source;
            std::jthread canceller([&] {
                while (!tree.exists("pids"))
                    std::this_thread::yield();
                source.request_stop();
            });
            QCOMPARE(failureOf(shell(script.arg(tree.path())), source.get_token()), Cancelled().message());
            const QList<QByteArray> pids = tree.read("pids").trimmed().split(' ');
            QCOMPARE(pids.size(), 2);
            for (const QByteArray &pid : pids)
                QTRY_VERIFY2(!isAlive(pid.toLongLong()), qPrintable(script));
        }
    }

    void whileRunningSeesTheChild()
    {
        const TestTree tree;
        ProcessRequest request = shell(u"echo $$; while [ ! -e '%1/go' ]; do sleep 0.02; done"_s.arg(tree.path()));
        qint64 seen = 0;
        request.whileRunning = [&](qint64 processId) {
            seen = processId;
            tree.write("go", "");
        };
        const ProcessResult result = SystemProcessRunner().run(request, {});
        QCOMPARE(seen, result.standardOutput.trimmed().toLongLong());
    }

    void manyRunsAtOnceDoNotMixUp()
    {
        std::vector<std::jthread> threads;
        std::vector<QByteArray> outputs(16);
        for (std::size_t index = 0; index < outputs.size(); ++index) {
            threads.emplace_back(
                [&output = outputs[index], index] { output = runShell(u"echo %1; cat"_s.arg(index)).standardOutput; });
        }
        threads.clear();
        for (std::size_t index = 0; index < outputs.size(); ++index)
            QCOMPARE(outputs[index], QByteArray::number(index) + '\n');
    }
};

MOORIX_TEST(SystemProcessRunnerTest)
#include "SystemProcessRunnerTest.moc"
