// SPDX-License-Identifier: GPL-3.0-or-later
// The program as it starts, rests and waits. Needs a display (scripts/bench brings a virtual one).
#include "Paired.h"

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "base/Job.h"
#include "files/PaneModel.h"
#include "support/MemoryKeychain.h"
#include "support/TestServer.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <thread>

using namespace moorix;

namespace {

QProcessEnvironment environmentIn(const QTemporaryDir &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("moorix.startup=true"));
    // Without a terminal Qt would write its log to the journal.
    environment.insert(QStringLiteral("QT_FORCE_STDERR_LOGGING"), QStringLiteral("1"));
    return environment;
}

/// Starts the program and waits until it says that its window is painted.
void startUntilPainted(QProcess &program, const QTemporaryDir &home)
{
    program.setProcessEnvironment(environmentIn(home));
    program.setProgram(QStringLiteral(MOORIX_PROGRAM));
    program.setReadChannel(QProcess::StandardError);
    program.start();
    QByteArray said;
    while (!said.contains("painted") && program.waitForReadyRead(10000))
        said += program.readAllStandardError();
    if (!said.contains("painted"))
        qFatal("The window was not painted: %s", said.constData());
}

void end(QProcess &program)
{
    program.terminate();
    program.waitForFinished(10000);
}

/// From the start of the process to the first painted window.
void firstPaint(benchmark::State &state)
{
    const QTemporaryDir home;
    std::vector<double> times;
    for (auto iteration : state) {
        QProcess program;
        QElapsedTimer timer;
        timer.start();
        startUntilPainted(program, home);
        times.push_back(double(timer.nsecsElapsed()) / 1e9);
        state.SetIterationTime(times.back());
        end(program);
    }
    std::nth_element(times.begin(), times.begin() + std::ptrdiff_t(times.size() / 2), times.end());
    state.counters["median_ms"] = times[times.size() / 2] * 1000;
    state.counters["limit_ms"] = 400;
}
BENCHMARK(firstPaint)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(11);

/// Proportional set size a few seconds after the start, with both sides on the home folder.
void memoryAtRest(benchmark::State &state)
{
    const QTemporaryDir home;
    double megabytes = 0;
    for (auto iteration : state) {
        QProcess program;
        startUntilPainted(program, home);
        QTest::qWait(3000);
        QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(program.processId()));
        rollup.open(QIODevice::ReadOnly);
        const QList<QByteArray> lines = rollup.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("Pss:"))
                megabytes = line.mid(4).trimmed().split(' ').constFirst().toDouble() * 1024 / 1e6;
        }
        end(program);
    }
    state.counters["pss_MB"] = megabytes;
    state.counters["limit_MB"] = 90;
}
BENCHMARK(memoryAtRest)->Unit(benchmark::kMillisecond)->Iterations(1);

/// The longest time the main thread did not answer while a pane loads 100,000 entries from a server that stops in the
/// middle for two seconds and then goes on.
void longestGapWhileLoading(benchmark::State &state)
{
    test::TestServer server;
    const QString folder = server.sharedPath() + QStringLiteral("/many");
    QDir().mkpath(folder);
    for (int i = 0; i < 100000; ++i) {
        QFile file(QStringLiteral("%1/entry %2.txt").arg(folder).arg(i));
        file.open(QIODevice::WriteOnly);
    }
    AppModel model(
        {std::make_shared<test::IsolatedClients>(server.knownHostsPath()), std::make_shared<test::MemoryKeychain>()});
    MainWindow window(model);
    window.show();
    Session &session = model.tabs(Side::right).openServer(server.connection(), std::nullopt, server.sharedPath());
    if (!QTest::qWaitFor([&] { return session.pane() && !session.pane()->isLoading(); }, 20000))
        qFatal("No connection: %s", qPrintable(session.stateText()));
    QTest::qWait(500);

    qint64 longest = 0;
    QElapsedTimer sinceTick;
    QTimer heartbeat;
    heartbeat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&heartbeat, &QTimer::timeout, [&] {
        longest = std::max(longest, sinceTick.nsecsElapsed());
        sinceTick.restart();
    });
    for (auto iteration : state) {
        sinceTick.start();
        heartbeat.start(1);
        session.pane()->load(folder, true);
        // From a thread of its own: finding the server's processes would itself hold up the main thread.
        std::jthread staller([&server] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            server.freeze();
            std::this_thread::sleep_for(std::chrono::seconds(2));
            server.thaw();
        });
        if (!QTest::qWaitFor([&] { return session.pane()->displayedCount() == 100000; }, 60000))
            qFatal("The folder was not loaded.");
        QTest::qWait(1000);
        heartbeat.stop();
    }
    state.counters["longest_gap_ms"] = double(longest) / 1e6;
    state.counters["limit_ms"] = 50;
}
BENCHMARK(longestGapWhileLoading)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir home;
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.filePath(QStringLiteral("data"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral("config"))));
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return stopAllWork(std::chrono::seconds(10)) ? 0 : 1;
}
