// SPDX-License-Identifier: GPL-3.0-or-later
// Copying to and from servers near and far away, against the usual tools over the same kind of connection. What
// arrived is compared byte for byte, with its times.
#include "Paired.h"

#include "files/LocalFileService.h"
#include "files/TransferSpeed.h"
#include "remote/FTPService.h"
#include "remote/SFTPService.h"
#include "remote/SSHAuthHelper.h"
#include "support/DelayProxy.h"
#include "support/FTPServer.h"
#include "support/TestServer.h"
#include "transfers/TransferRun.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRandomGenerator>

#include <array>
#include <chrono>
#include <future>
#include <iostream>
#include <stdexcept>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

enum Direction { up, down };
enum Place { withShell, withoutShell, ftp };

void writeRandom(const QString &path, qint64 bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw std::runtime_error("The files to copy could not be written.");
    const qint64 chunkBytes = std::min<qint64>(bytes, 4 * 1024 * 1024);
    QByteArray chunk(qsizetype(chunkBytes), Qt::Uninitialized);
    for (qint64 written = 0; written < bytes; written += chunkBytes) {
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(chunk.data()), chunkBytes / 4);
        file.write(chunk);
    }
    // A time that only a copy of it can have.
    file.setFileTime(QDateTime::fromSecsSinceEpoch(1700000000 + bytes % 1000), QFile::FileModificationTime);
}

/// Compares the files of a folder, with content and time.
void throwUnlessSame(const QString &original, const QString &copy)
{
    qint64 files = 0;
    for (QDirIterator all(original, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); all.hasNext();) {
        QFile there(all.next());
        QFile here(copy + there.fileName().mid(original.size()));
        const bool isSame = there.open(QIODevice::ReadOnly) && here.open(QIODevice::ReadOnly) &&
                            there.size() == here.size() && there.readAll() == here.readAll() &&
                            there.fileTime(QFile::FileModificationTime).toSecsSinceEpoch() ==
                                here.fileTime(QFile::FileModificationTime).toSecsSinceEpoch();
        if (!isSame)
            throw std::runtime_error("“" + here.fileName().toStdString() + "” differs from its original.");
        ++files;
    }
    const QStringList left = QDir(copy).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    if (files != left.size())
        throw std::runtime_error("“" + copy.toStdString() + "” holds more than the original.");
}

/// A server, near or at the end of a long line, a connection that is up, and folders to copy between.
class Line final
{
public:
    Line(Place place, int roundTripMilliseconds, qint64 bytesPerSecond = 0)
        : m_place(place)
    {
        const auto speed = std::make_shared<TransferSpeed>(bytesPerSecond);
        if (place == ftp) {
            m_ftp =
                std::make_unique<test::FTPServer>(test::FTPServer::Program::vsftpd, test::FTPServer::Encryption::none);
            m_record = m_ftp->connection();
            m_folder = m_ftp->sharedPath();
        } else {
            m_ssh = std::make_unique<test::TestServer>();
            m_record = m_ssh->connection();
            m_folder = m_ssh->sharedPath();
            m_clients = std::make_shared<test::IsolatedClients>(m_ssh->knownHostsPath());
        }
        // Root's own shell may have much to do before it runs anything.
        if (place != ftp)
            m_record.username = place == withShell ? test::TestServer::user() : test::TestServer::userWithoutShell();
        if (roundTripMilliseconds > 0) {
            m_proxy = std::make_unique<test::DelayProxy>(
                m_record.port, std::chrono::milliseconds(roundTripMilliseconds),
                place == ftp ? test::DelayProxy::Speaks::ftp : test::DelayProxy::Speaks::anything);
            m_record.port = m_proxy->port();
        }
        if (place == ftp)
            m_service = std::make_shared<FTPService>(m_record, test::FTPServer::credentials(),
                                                     std::make_shared<SystemProcessRunner>(),
                                                     FTPCertificates::ofThisUser(), FTPPatience(), speed);
        else
            m_service =
                std::make_shared<SFTPService>(m_record, ConnectionCredentials(), m_clients, SSHPatience(), speed);
        m_service->connect({});
        for (const char *name : {"from", "to"}) {
            const QString path = m_folder + u'/' + QLatin1String(name);
            QDir().mkdir(path);
            QFile::setPermissions(path, QFile::Permissions(0x7777));
        }
    }
    ~Line() { m_service->disconnect(); }

    QString from() const { return m_folder + u"/from"_s; }
    /// A folder or file that does not exist yet.
    QString freshTarget() { return m_folder + u"/to/%1"_s.arg(m_targets++); }
    QString lastTarget() const { return m_folder + u"/to/%1"_s.arg(m_targets - 1); }
    const QStringList &notes() const { return m_notes; }

    void copy(const QString &path, Direction direction)
    {
        TransferRequest request;
        request.newName = freshTarget().section(u'/', -1);
        request.targetFolder = m_folder + u"/to"_s;
        run(request, {path}, direction);
    }

    /// Each file by itself, as if selected, into a folder that is there.
    void copyFilesOf(const QString &folder, Direction direction)
    {
        TransferRequest request;
        request.targetFolder = freshTarget();
        QDir().mkdir(request.targetFolder);
        QFile::setPermissions(request.targetFolder, QFile::Permissions(0x7777));
        QStringList paths;
        for (const QString &name : QDir(folder).entryList(QDir::Files))
            paths << folder + u'/' + name;
        run(request, paths, direction);
    }

    void run(TransferRequest request, const QStringList &paths, Direction direction)
    {
        const auto disk = std::make_shared<LocalFileService>();
        request.source = direction == up ? std::shared_ptr<FileService>(disk) : m_service;
        request.destination = direction == up ? std::shared_ptr<FileService>(m_service) : disk;
        for (const QString &path : paths)
            request.items << *disk->stat(path, {});
        TransferRun::Callbacks callbacks;
        callbacks.gate = std::make_shared<TransferGate>(8);
        const TransferOutcome outcome = TransferRun(request, callbacks).run({});
        if (!outcome.failures.isEmpty())
            throw std::runtime_error(outcome.failures.first().toStdString());
        m_notes = outcome.notes;
    }

    /// Over the same shared connection, with eight lanes. Files that go up by FTP keep their times like all others,
    /// which vsftpd takes by one of its commands only.
    void copyByLftp(Direction direction)
    {
        const QString target = freshTarget();
        const QString mirror = direction == up ? u"mirror -R --parallel=8 %1 %2"_s : u"mirror --parallel=8 %1 %2"_s;
        const QString scheme = m_place == ftp ? u"ftp"_s : u"sftp"_s;
        QString password = m_place == ftp ? test::FTPServer::credentials().password.value_or(QString()) : u"x"_s;
        password.replace(u'\\', u"\\\\"_s);
        const QString program = m_place == ftp ? QString() : ssh() + u" -a -x"_s;
        const QString commands = u"set sftp:auto-confirm yes; set ftp:ssl-allow no; set ftp:use-mdtm-overloaded yes; "
                                 "set sftp:connect-program \"%1\"; open -u '%2','%3' %4://%5:%6; %7"_s;
        run(u"lftp"_s, {u"--norc"_s, u"-c"_s,
                        commands.arg(program, m_record.username, password, scheme, m_record.host,
                                     QString::number(m_record.port), mirror.arg(from(), target))});
    }

    void copyByRsync(Direction direction)
    {
        const QString target = freshTarget();
        const QString there = m_record.username + u'@' + m_record.host + u':';
        run(u"rsync"_s, {u"-a"_s, u"-e"_s, ssh(), (direction == down ? there : QString()) + from() + u'/',
                         (direction == up ? there : QString()) + target + u'/'});
    }

    /// The floor of what a server without a shell can be asked for by its client: four of it, each with a quarter of
    /// the files, without part names, checks or a listing.
    void copyByClients(Direction direction)
    {
        constexpr int lanes = 4;
        const QString target = freshTarget();
        QDir().mkdir(target);
        QFile::setPermissions(target, QFile::Permissions(0x7777));
        std::array<QByteArray, lanes> batches;
        int file = 0;
        for (const QString &name : QDir(from()).entryList(QDir::Files)) {
            const QString command = direction == up ? u"put"_s : u"get"_s;
            batches.at(std::size_t(file++ % lanes)) +=
                u"%1 -p \"%2/%4\" \"%3/%4\"\n"_s.arg(command, from(), target, name).toUtf8();
        }
        std::array<std::future<void>, lanes> running;
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            running.at(lane) = std::async(std::launch::async, [this, input = batches.at(lane) + "quit\n"] {
                run(u"/usr/bin/sftp"_s,
                    options() +
                        QStringList{u"-P"_s, QString::number(m_record.port), m_record.username + u'@' + m_record.host},
                    input);
            });
        }
        for (std::future<void> &lane : running)
            lane.get();
    }

    /// One file by the bare client.
    void copyByClient(const QString &file, Direction direction)
    {
        const QString target = freshTarget();
        if (m_place != ftp) {
            const QString batch =
                u"%1 -p \"%2\" \"%3\"\nquit\n"_s.arg(direction == up ? u"put"_s : u"get"_s, file, target);
            run(u"/usr/bin/sftp"_s,
                options() +
                    QStringList{u"-P"_s, QString::number(m_record.port), m_record.username + u'@' + m_record.host},
                batch.toUtf8());
            return;
        }
        const QString url =
            u"ftp://127.0.0.1:%1/%2"_s.arg(QString::number(m_record.port), direction == up ? target : file);
        const QStringList way = direction == up ? QStringList{u"-T"_s, file} : QStringList{u"-R"_s, u"-o"_s, target};
        run(u"/usr/bin/curl"_s,
            QStringList{u"-q"_s, u"-sS"_s, u"-u"_s,
                        m_record.username + u':' + test::FTPServer::credentials().password.value_or(QString())} +
                way + QStringList{url});
    }

private:
    /// The options every client gets, for the same shared connection.
    QStringList options() const
    {
        return QStringList{u"-F"_s, u"none"_s, u"-o"_s, u"UserKnownHostsFile="_s + m_ssh->knownHostsPath()} +
               SSHAuthHelper::authOptions(m_record, m_record.privateKeyPath, SSHAuthHelper::Multiplex::yes,
                                          SSHAuthHelper::Interactive::no);
    }
    QString ssh() const { return u"ssh -p %1 "_s.arg(m_record.port) + options().join(u' '); }

    void run(const QString &program, const QStringList &arguments, const QByteArray &input = {})
    {
        ProcessRequest request;
        request.program = program;
        request.arguments = arguments;
        request.standardInput = input;
        const ProcessResult result = SystemProcessRunner().run(request, {});
        if (result.exitCode != 0)
            throw std::runtime_error(program.toStdString() + ": " + result.standardError.toStdString());
    }

    Place m_place;
    std::unique_ptr<test::TestServer> m_ssh;
    std::unique_ptr<test::FTPServer> m_ftp;
    std::unique_ptr<test::DelayProxy> m_proxy;
    ServerConnection m_record;
    QString m_folder;
    std::shared_ptr<test::IsolatedClients> m_clients;
    std::shared_ptr<RemoteFileService> m_service;
    int m_targets = 0;
    QStringList m_notes;
};

std::string labelOf(Direction direction, const QString &rest)
{
    return (direction == up ? "up, " : "down, ") + rest.toStdString();
}

/// A thousand files of 4 KiB in one folder.
enum class Taken { asFolder, oneByOne };
void manySmallFiles(benchmark::State &state, Place place, const std::function<void(Line &, Direction)> &peer,
                    double limit, Taken taken = Taken::asFolder)
{
    const auto direction = Direction(state.range(0));
    const int roundTrip = int(state.range(1));
    Line line(place, roundTrip);
    for (int i = 0; i < 1000; ++i)
        writeRandom(u"%1/file %2"_s.arg(line.from()).arg(i), 4096);
    // Far away the line takes the time, which is always the same.
    const bench::WarmUp warmUp = roundTrip == 0 ? bench::WarmUp::yes : bench::WarmUp::no;
    // A peer that gives up early or leaves the times as they come would win every time.
    QStringList copies;
    bench::paired(
        state,
        [&] {
            if (taken == Taken::asFolder)
                line.copy(line.from(), direction);
            else
                line.copyFilesOf(line.from(), direction);
            copies << line.lastTarget();
        },
        [&] {
            peer(line, direction);
            copies << line.lastTarget();
        },
        limit, warmUp);
    for (const QString &copy : copies)
        throwUnlessSame(line.from(), copy);
    state.SetLabel(labelOf(direction, u"round trip %1 ms: %2"_s.arg(roundTrip).arg(line.notes().join(u' '))));
}

void byLftp(Line &line, Direction direction)
{
    line.copyByLftp(direction);
}

void byClients(Line &line, Direction direction)
{
    line.copyByClients(direction);
}

void byRsync(Line &line, Direction direction)
{
    line.copyByRsync(direction);
}

void shellAgainstLftp(benchmark::State &state)
{
    manySmallFiles(state, withShell, byLftp, 1);
}
void shellAgainstRsync(benchmark::State &state)
{
    manySmallFiles(state, withShell, byRsync, 2);
}
void selectionAgainstLftp(benchmark::State &state)
{
    manySmallFiles(state, withShell, byLftp, 1, Taken::oneByOne);
}
void noShellAgainstLftp(benchmark::State &state)
{
    manySmallFiles(state, withoutShell, byLftp, 1);
}
void noShellAgainstClients(benchmark::State &state)
{
    manySmallFiles(state, withoutShell, byClients, 1.1);
}
void ftpAgainstLftp(benchmark::State &state)
{
    manySmallFiles(state, ftp, byLftp, 1);
}

void named(benchmark::internal::Benchmark *benchmark)
{
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"down", "ms"});
}

/// Where the two machines take the time, one run says little.
void near(benchmark::internal::Benchmark *benchmark)
{
    named(benchmark);
    benchmark->Args({up, 0})->Args({down, 0})->Iterations(11);
}

void far(benchmark::internal::Benchmark *benchmark)
{
    named(benchmark);
    for (const int roundTrip : {30, 100})
        benchmark->Args({up, roundTrip})->Args({down, roundTrip});
    benchmark->Iterations(1);
}

BENCHMARK(shellAgainstLftp)->Apply(near);
BENCHMARK(shellAgainstRsync)->Apply(near);
BENCHMARK(selectionAgainstLftp)->Apply(near);
BENCHMARK(noShellAgainstLftp)->Apply(near);
BENCHMARK(noShellAgainstClients)->Apply(near);
BENCHMARK(ftpAgainstLftp)->Apply(near);
BENCHMARK(shellAgainstLftp)->Apply(far);
BENCHMARK(shellAgainstRsync)->Apply(far);
BENCHMARK(selectionAgainstLftp)->Apply(far);
BENCHMARK(noShellAgainstLftp)->Apply(far);
BENCHMARK(ftpAgainstLftp)->Apply(far);

/// One file of 1 GiB against the bare client: at least 0.9 of its rate.
void largeFile(benchmark::State &state, Place place)
{
    const auto direction = Direction(state.range(0));
    Line line(place, 0);
    const QString file = line.from() + u"/large"_s;
    writeRandom(file, 1024 * 1024 * 1024);
    const auto once = [&](const std::function<void()> &copy) {
        copy();
        QFile::remove(line.lastTarget());
    };
    bench::paired(
        state, [&] { once([&] { line.copy(file, direction); }); },
        [&] { once([&] { line.copyByClient(file, direction); }); }, 1 / 0.9);
    state.SetLabel(labelOf(direction, u"1 GiB"_s));
}

void largeFileBySFTP(benchmark::State &state)
{
    largeFile(state, withShell);
}
void largeFileByFTP(benchmark::State &state)
{
    largeFile(state, ftp);
}
BENCHMARK(largeFileBySFTP)->Arg(up)->Arg(down)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(largeFileByFTP)->Arg(up)->Arg(down)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

/// What a limit of 1 MB/s lets through, all checks included: on average it must be met to a tenth.
void limitedSpeed(benchmark::State &state, Place place, int files, qint64 bytesEach)
{
    constexpr qint64 limit = 1'000'000;
    const auto direction = Direction(state.range(0));
    Line line(place, 0, limit);
    for (int i = 0; i < files; ++i)
        writeRandom(u"%1/file %2"_s.arg(line.from()).arg(i), bytesEach);
    double rate = 0;
    for (auto iteration : state) {
        const auto began = std::chrono::steady_clock::now();
        line.copy(line.from(), direction);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - began;
        state.SetIterationTime(taken.count());
        rate = double(files * bytesEach) / taken.count();
        throwUnlessSame(line.from(), line.lastTarget());
    }
    state.counters["ratio"] = rate / limit;
    state.counters["ok"] = rate >= 0.9 * limit && rate <= 1.1 * limit ? 1 : 0;
    state.SetLabel(labelOf(direction, u"%1 files: %2"_s.arg(files).arg(line.notes().join(u' '))));
}

void limitedFile(benchmark::State &state, Place place)
{
    limitedSpeed(state, place, 1, 8 * 1024 * 1024);
}
void limitedFolder(benchmark::State &state, Place place)
{
    limitedSpeed(state, place, 500, 16 * 1024);
}

void once(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(up)->Arg(down)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
}

BENCHMARK_CAPTURE(limitedFile, sftp, withShell)->Apply(once);
BENCHMARK_CAPTURE(limitedFile, ftp, ftp)->Apply(once);
BENCHMARK_CAPTURE(limitedFolder, shell, withShell)->Apply(once);
BENCHMARK_CAPTURE(limitedFolder, noShell, withoutShell)->Apply(once);
BENCHMARK_CAPTURE(limitedFolder, ftp, ftp)->Apply(once);

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
