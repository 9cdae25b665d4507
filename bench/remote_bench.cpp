// SPDX-License-Identifier: GPL-3.0-or-later
// Reading a server's listing, one listing over a live connection against the bare client, and how soon a child ends.
#include "Paired.h"

#include "base/Error.h"
#include "platform/SystemProcessRunner.h"
#include "remote/SFTPService.h"
#include "remote/SSHAuthHelper.h"
#include "remote/UnixListParser.h"
#include "support/TestServer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <thread>

using namespace moorix;

namespace {

QString bigListing()
{
    QString text;
    for (int i = 0; i < 100000; ++i) {
        text +=
            QStringLiteral("-rw-r--r--    ? deploy   www-data %1 Mar %2 12:34 /var/www/site/photo %3 of the tour.jpg\n")
                .arg(i * 37, 8)
                .arg(i % 28 + 1, 2)
                .arg(i);
    }
    return text;
}

/// At least 100 MB of listing a second ("limit", in bytes a second).
void parseListing(benchmark::State &state)
{
    const QString text = bigListing();
    for (auto iteration : state)
        benchmark::DoNotOptimize(UnixListParser::parse(text, QStringLiteral("/var/www/site")));
    state.SetBytesProcessed(int64_t(state.iterations()) * text.toUtf8().size());
    state.counters["limit"] = benchmark::Counter(100e6, benchmark::Counter::kDefaults, benchmark::Counter::kIs1000);
}
BENCHMARK(parseListing)->Unit(benchmark::kMillisecond);

/// The service's listing against the same client with the same options, run by the same process.
void listOverLiveConnection(benchmark::State &state)
{
    const test::TestServer server;
    const QString folder = server.sharedPath();
    for (int i = 0; i < 100; ++i) {
        QFile file(QStringLiteral("%1/file %2.txt").arg(folder).arg(i));
        file.open(QIODevice::WriteOnly);
    }
    const auto clients = std::make_shared<test::IsolatedClients>(server.knownHostsPath());
    const ServerConnection record = server.connection();
    SFTPService service(record, {}, clients);
    const std::stop_token stop;
    service.connect(stop);

    ProcessRequest request;
    request.program = QStringLiteral("/usr/bin/sftp");
    request.arguments =
        SSHAuthHelper::authOptions(record, record.privateKeyPath, SSHAuthHelper::Multiplex::yes,
                                   SSHAuthHelper::Interactive::no) +
        QStringList{QStringLiteral("-P"), QString::number(record.port), record.username + u'@' + record.host};
    request.standardInput = "ls -l \"" + folder.toUtf8() + "\"\nquit\n";
    bench::paired(
        state, [&] { benchmark::DoNotOptimize(service.list(folder, HiddenFiles::asTheSourceDoes, stop)); },
        [&] { benchmark::DoNotOptimize(clients->run(request, stop)); }, 1.15);
    service.disconnect();
}
BENCHMARK(listOverLiveConnection)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(41);

/// A child that ignores the polite signal and has filled our memory, cancelled while it still runs.
void cancelDeafChild(benchmark::State &state)
{
    std::stop_source stop;
    std::thread run;
    const auto startChild = [&] {
        const QTemporaryDir folder;
        const QString isReady = folder.filePath(QStringLiteral("ready"));
        stop = std::stop_source();
        run = std::thread([isReady, token = stop.get_token()] {
            ProcessRequest request;
            request.program = QStringLiteral("/bin/sh");
            request.outputLimitBytes = 1 << 30;
            request.arguments = {
                QStringLiteral("-c"),
                QStringLiteral("trap '' TERM; head -c 300000000 /dev/zero; touch '%1'; sleep 600 & wait").arg(isReady)};
            try {
                SystemProcessRunner().run(request, token);
            } catch (const Cancelled &) {
            }
        });
        while (!QFile::exists(isReady))
            std::this_thread::yield();
    };
    bench::limited(
        state, startChild,
        [&] {
            stop.request_stop();
            run.join();
        },
        200);
}
BENCHMARK(cancelDeafChild)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(11);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
