// SPDX-License-Identifier: GPL-3.0-or-later
// A sync with nothing to do, which is what most syncs are, and the classification of very many paths.
#include "Paired.h"

#include "files/LocalFileService.h"
#include "remote/SFTPService.h"
#include "support/DelayProxy.h"
#include "support/TestServer.h"
#include "sync/SyncWork.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <iostream>
#include <stdexcept>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

constexpr int folders = 200;
constexpr int filesInEach = 100;

void fill(const QString &root)
{
    for (int folder = 0; folder < folders; ++folder) {
        const QString path = u"%1/folder %2"_s.arg(root).arg(folder);
        QDir().mkpath(path);
        for (int index = 0; index < filesInEach; ++index) {
            QFile file(u"%1/file %2.txt"_s.arg(path).arg(index));
            if (!file.open(QIODevice::WriteOnly))
                throw std::runtime_error("The files to sync could not be written.");
            file.write(QByteArray(index, 'x'));
            file.setFileTime(QDateTime::fromSecsSinceEpoch(1700000000 + folder * 100 + index),
                             QFile::FileModificationTime);
        }
    }
}

void run(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
{
    ProcessRequest request;
    request.program = program;
    request.arguments = arguments;
    request.environment = environment;
    const ProcessResult result = SystemProcessRunner().run(request, {});
    if (result.exitCode != 0)
        throw std::runtime_error((program + u" failed: "_s + QString::fromUtf8(result.standardError)).toStdString());
}

/// Two folders that are alike and remembered as such.
class Pair final
{
public:
    Pair(std::shared_ptr<FileService> service, const QString &there)
        : m_service(std::move(service))
        , m_there(there)
    {
        fill(here());
        sync(folders * (filesInEach + 1));
    }

    QString here() const { return m_folder.filePath(u"here"_s); }
    QString path(const QString &name) const { return m_folder.filePath(name); }

    void sync(qsizetype changes = 0)
    {
        SyncWork work(SyncStateStore(m_folder.filePath(u"state"_s)),
                      {{m_disk, here()}, {m_service, m_there}, u"pair"_s, u"server"_s, SyncIgnore()});
        SyncPlan plan = work.review({});
        if (plan.changeCount() != changes)
            throw std::runtime_error("Another number of changes than expected was found.");
        const SyncOutcome outcome = work.apply(std::move(plan), {});
        if (outcome.openCount() > 0 || !outcome.manifest)
            throw std::runtime_error("The folders were not made alike. " + outcome.failure.toStdString());
    }

private:
    QTemporaryDir m_folder;
    std::shared_ptr<FileService> m_disk = std::make_shared<LocalFileService>();
    std::shared_ptr<FileService> m_service;
    QString m_there;
};

/// Between two folders of this machine, against unison, which remembers a pair as well.
void onDisk(benchmark::State &state)
{
    const QTemporaryDir other;
    Pair pair(std::make_shared<LocalFileService>(), other.filePath(u"there"_s));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"UNISON"_s, pair.path(u"unison"_s));
    const QStringList arguments{
        pair.here(), other.filePath(u"unison"_s),   u"-batch"_s, u"-ui"_s, u"text"_s, u"-silent"_s, u"-times"_s,
        u"-auto"_s,  u"-ignore=Path .moorix-sync"_s};
    QDir().mkdir(other.filePath(u"unison"_s));
    run(u"unison"_s, arguments, environment);
    bench::paired(
        state, [&] { pair.sync(); }, [&] { run(u"unison"_s, arguments, environment); }, 2.0);
    state.SetLabel("nothing to do, 20,000 files on disk, unison");
}
BENCHMARK(onDisk)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

/// With a server whose answers take 30 ms, against rclone.
void overSFTP(benchmark::State &state)
{
    const test::TestServer server;
    const test::DelayProxy proxy(server.port(), std::chrono::milliseconds(state.range(0)));
    ServerConnection record = server.connection();
    record.port = proxy.port();
    const auto clients = std::make_shared<test::IsolatedClients>(server.knownHostsPath());
    const auto service = std::make_shared<SFTPService>(record, ConnectionCredentials(), clients);
    service->connect({});
    QDir().mkdir(server.sharedPath() + u"/pair"_s);
    QDir().mkdir(server.sharedPath() + u"/rclone"_s);
    Pair pair(service, server.sharedPath() + u"/pair"_s);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"RCLONE_CONFIG"_s, pair.path(u"rclone.conf"_s));
    environment.insert(u"XDG_CACHE_HOME"_s, pair.path(u"cache"_s));
    const QString configuration = pair.path(u"rclone.conf"_s);
    // The name stays while the port changes: the first run, which compares everything, takes the near one. Without the
    // checksums that it would ask a shell for, one by one, the peer is faster.
    const auto reachThrough = [&](quint16 port) {
        QFile file(configuration);
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("The peer could not be configured.");
        file.write(
            u"[bench]\ntype = sftp\nhost = 127.0.0.1\nport = %1\nuser = %2\nkey_file = %3\ndisable_hashcheck = true\n"_s
                .arg(QString::number(port), record.username, server.keyPath())
                .toUtf8());
    };
    const QStringList arguments{u"bisync"_s, pair.here(), u"bench:"_s + server.sharedPath() + u"/rclone"_s,
                                u"--workdir"_s, pair.path(u"rclone"_s)};
    reachThrough(server.port());
    fill(server.sharedPath() + u"/rclone"_s);
    run(u"rclone"_s, arguments + QStringList{u"--resync"_s}, environment);
    reachThrough(proxy.port());
    bench::paired(
        state, [&] { pair.sync(); }, [&] { run(u"rclone"_s, arguments, environment); }, 1.0);
    state.SetLabel("nothing to do, 20,000 files, rclone bisync");
    service->disconnect();
}
BENCHMARK(overSFTP)->Arg(30)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

void classify(benchmark::State &state)
{
    constexpr int paths = 1'000'000;
    SyncManifest manifest;
    SyncEntries local;
    SyncEntries remote;
    for (int i = 0; i < paths; ++i) {
        const QString path =
            u"folder %1/sub %2/file with a usual name %3.txt"_s.arg(i / 10'000).arg(i / 100 % 100).arg(i);
        const SyncEntry entry{i, QDateTime::fromSecsSinceEpoch(1700000000 + i, Qt::UTC), false};
        local.insert(path, entry);
        remote.insert(path, entry);
    }
    manifest.localEntries = local;
    manifest.remoteEntries = remote;
    // Copied in memory as well, as two reads of a tree would be.
    local.detach();
    remote.detach();
    int index = 0;
    for (SyncEntry &entry : local)
        entry.size += ++index % 50 == 0 ? 1 : 0;
    bench::limited(
        state, [] {},
        [&] {
            const QList<SyncDiffEntry> rows = SyncClassifier::classify(local, remote, manifest);
            if (rows.size() != paths)
                throw std::runtime_error("Paths are missing from the classification.");
        },
        1000);
}
BENCHMARK(classify)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception &error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
