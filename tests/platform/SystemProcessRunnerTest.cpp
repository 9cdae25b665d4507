// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"

#include "base/Error.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QTest>

#include <csignal>
#include <thread>

using namespace moorix;
using moorix::test::TestTree;

namespace {

ProcessRequest shell(const QString &script)
{
    ProcessRequest request;
    request.program = QStringLiteral("/bin/sh");
    request.arguments = {QStringLiteral("-c"), script};
    return request;
}

ProcessResult runShell(const QString &script)
{
    return SystemProcessRunner().run(shell(script), {});
}

/// The error's sentence, or "no error".
QString failureOf(const ProcessRequest &request, const std::stop_token &stop = {})
{
    try {
        SystemProcessRunner().run(request, stop);
    } catch (const Error &error) {
        return error.message();
    }
    return QStringLiteral("no error");
}

/// Whether a process exists that is more than an entry waiting to be reaped.
bool isAlive(qint64 processId)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(processId));
    if (processId <= 0 || !status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray line = status.readAll();
    return line.mid(line.lastIndexOf(')') + 2, 1) != "Z";
}

} // namespace

class SystemProcessRunnerTest : public QObject
{
    Q_OBJECT

private slots:
    void exitCodeSignalAndBothStreamsArrive()
    {
        const ProcessResult exited = runShell(QStringLiteral("printf out; printf err >&2; exit 3"));
        QVERIFY(exited.exitCode == 3 && !exited.crashed);
        QCOMPARE(exited.standardOutput, QByteArray("out"));
        QCOMPARE(exited.standardError, QByteArray("err"));
        const ProcessResult killed = runShell(QStringLiteral("kill -9 $$"));
        QVERIFY(killed.exitCode == SIGKILL && killed.crashed);
    }

    void bigOutputOnBothStreamsIsWhole()
    {
        const ProcessResult result =
            runShell(QStringLiteral("head -c 9000000 /dev/zero & head -c 7000000 /dev/zero >&2; wait"));
        QCOMPARE(result.standardOutput.size(), 9000000);
        QCOMPARE(result.standardError.size(), 7000000);
    }

    void inputLargerThanAPipeComesBackWholeOrIsDroppedUnread()
    {
        ProcessRequest request = shell(QStringLiteral("exec cat"));
        for (int line = 0; line < 200000; ++line)
            request.standardInput += QByteArray::number(line) + '\n';
        QCOMPARE(SystemProcessRunner().run(request, {}).standardOutput, request.standardInput);
        request.arguments.last() = QStringLiteral("exit 4");
        QCOMPARE(SystemProcessRunner().run(request, {}).exitCode, 4);
    }

    void aHelperThatKeepsThePipesOpenDoesNotHoldTheRunUp()
    {
        const ProcessResult result = runShell(QStringLiteral("sleep 600 & echo $!; head -c 60000 /dev/zero >&2"));
        const qint64 helper = result.standardOutput.trimmed().toLongLong();
        QVERIFY(isAlive(helper));
        QCOMPARE(result.standardError.size(), 60000);
        ::kill(pid_t(helper), SIGKILL);
    }

    void endlessOutputIsEndedAtTheLimit()
    {
        for (const QString &script : {QStringLiteral("exec yes"), QStringLiteral("exec yes >&2")}) {
            ProcessRequest request = shell(script);
            request.outputLimitBytes = 100000;
            QCOMPARE(failureOf(request), QStringLiteral("“/bin/sh” printed more than 100000 bytes and was ended."));
        }
    }

    void aMissingProgramIsNamed()
    {
        ProcessRequest request;
        request.program = QStringLiteral("/nonexistent/tool");
        QCOMPARE(failureOf(request),
                 QStringLiteral("“/nonexistent/tool” could not be started: No such file or directory"));
    }

    void theGivenEnvironmentIsTheWholeEnvironment()
    {
        ProcessRequest request = shell(QStringLiteral("printf '%s|%s' \"$MARK\" \"$HOME\""));
        request.environment.emplace();
        request.environment->insert(QStringLiteral("MARK"), QStringLiteral("here"));
        QCOMPARE(SystemProcessRunner().run(request, {}).standardOutput, QByteArray("here|"));
    }

    void nothingStartsAfterAStop()
    {
        std::stop_source source;
        source.request_stop();
        const TestTree tree;
        QCOMPARE(failureOf(shell(QStringLiteral("touch '%1/started'").arg(tree.path())), source.get_token()),
                 Cancelled().message());
        QVERIFY(!tree.exists("started"));
    }

    void cancelEndsTheWholeGroup_data()
    {
        QTest::addColumn<QString>("script");
        const QString children = QStringLiteral("sleep 600 & echo $$ $! > '%1/new'; mv '%1/new' '%1/pids'; ");
        QTest::newRow("obedient") << children + QStringLiteral("wait");
        QTest::newRow("deaf to SIGTERM") << QStringLiteral("trap '' TERM; ") + children + QStringLiteral("wait");
        QTest::newRow("printing without end") << children + QStringLiteral("yes");
        QTest::newRow("helper deaf, leader obedient")
            << QStringLiteral("(trap '' TERM; exec sleep 600) & echo $$ $! > '%1/new'; mv '%1/new' '%1/pids'; wait");
    }
    void cancelEndsTheWholeGroup()
    {
        QFETCH(const QString, script);
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
            QTRY_VERIFY(!isAlive(pid.toLongLong()));
    }

    void whileRunningSeesTheChild()
    {
        const TestTree tree;
        ProcessRequest request =
            shell(QStringLiteral("echo $$; while [ ! -e '%1/go' ]; do sleep 0.02; done").arg(tree.path()));
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
            threads.emplace_back([&output = outputs[index], index] {
                output = runShell(QStringLiteral("echo %1; cat").arg(index)).standardOutput;
            });
        }
        threads.clear();
        for (std::size_t index = 0; index < outputs.size(); ++index)
            QCOMPARE(outputs[index], QByteArray::number(index) + '\n');
    }
};

MOORIX_TEST(SystemProcessRunnerTest)
#include "SystemProcessRunnerTest.moc"
