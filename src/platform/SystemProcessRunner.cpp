// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"

#include "base/Error.h"

#include <QElapsedTimer>
#include <QProcess>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace moorix {

namespace {

constexpr int sliceMilliseconds = 20;
constexpr int graceMilliseconds = 100;
constexpr int reportMilliseconds = 200;

/// Ends the child's whole process group: politely first, then for certain.
void endGroup(QProcess &process)
{
    const pid_t group = pid_t(process.processId());
    if (group <= 0)
        return;
    ::kill(-group, SIGTERM);
    QElapsedTimer sinceTerm;
    sinceTerm.start();
    process.waitForFinished(graceMilliseconds);
    // The leader may be gone while a helper ignores SIGTERM; signalling a group that has ended fails harmlessly.
    while (::kill(-group, 0) == 0 && sinceTerm.elapsed() < graceMilliseconds)
        ::usleep(2000);
    ::kill(-group, SIGKILL);
    process.waitForFinished(-1);
}

void start(QProcess &process, const ProcessRequest &request)
{
    if (request.environment)
        process.setProcessEnvironment(*request.environment);
    process.setChildProcessModifier([] {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    });
    process.start(request.program, request.arguments);
    if (!process.waitForStarted(-1)) {
        throw Error(QStringLiteral("Process"),
            QStringLiteral("“%1” could not be started: %2").arg(request.program, process.errorString()));
    }
    process.write(request.standardInput);
    process.closeWriteChannel();
}

} // namespace

ProcessResult SystemProcessRunner::run(const ProcessRequest &request, const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw Cancelled();
    QProcess process;
    start(process, request);

    ProcessResult result;
    const auto collect = [&] {
        result.standardOutput += process.readAllStandardOutput();
        result.standardError += process.readAllStandardError();
        if (std::max(result.standardOutput.size(), result.standardError.size()) > request.outputLimitBytes) {
            endGroup(process);
            throw Error(QStringLiteral("Process"), QStringLiteral("“%1” printed more than %2 bytes and was ended.")
                                                       .arg(request.program)
                                                       .arg(request.outputLimitBytes));
        }
    };
    QElapsedTimer sinceReport;
    sinceReport.start();
    // Waits for the process, never for the end of its output: a helper it leaves behind may keep the pipes open.
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(sliceMilliseconds)) {
        if (stop.stop_requested()) {
            endGroup(process);
            throw Cancelled();
        }
        collect();
        if (request.whileRunning && sinceReport.elapsed() >= reportMilliseconds) {
            sinceReport.restart();
            request.whileRunning(process.processId());
        }
    }
    collect();
    result.exitCode = process.exitCode();
    result.crashed = process.exitStatus() == QProcess::CrashExit;
    return result;
}

} // namespace moorix
