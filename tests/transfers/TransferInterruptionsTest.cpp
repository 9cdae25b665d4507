// SPDX-License-Identifier: GPL-3.0-or-later
// Transfers broken off at random moments. The queue runs in a program of its own, so that the program can be killed
// too.
#include "files/LocalFileService.h"
#include "remote/SFTPService.h"
#include "support/SlowProxy.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "support/TestTree.h"
#include "transfers/TransferEngine.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using State = TransferStatus::State;

namespace {

const QUuid serverID(u"5a1f8c3e-77b2-4c7e-9d59-0d2f6f0d3a11"_s);

QString setting(const char *name)
{
    return qEnvironmentVariable(name);
}

std::shared_ptr<FileService> openServer(const std::stop_token &stop)
{
    ServerConnection record;
    record.id = serverID;
    record.host = u"127.0.0.1"_s;
    record.port = setting("SCENE_PORT").toInt();
    record.username = setting("SCENE_USER");
    record.authMethod = AuthMethod::privateKeyFile;
    record.privateKeyPath = setting("SCENE_KEY");
    const auto clients = std::make_shared<IsolatedClients>(setting("SCENE_KNOWN_HOSTS"));
    auto service = std::make_shared<SFTPService>(record, ConnectionCredentials{}, clients);
    service->connect(stop);
    return service;
}

/// The two ends of the queue: this machine, and the server of the scene.
TransferPlaces placesOf(const std::shared_ptr<FileService> &disk)
{
    TransferPlaces places;
    places.serverOf = [disk](const FileService &service) {
        return &service == disk.get() ? TransferPlaces::Server() : TransferPlaces::Server(serverID);
    };
    places.open = [disk](const TransferPlaces::Server &server, auto done, auto failed) {
        return runJob([disk, server](const std::stop_token &stop) { return server ? openServer(stop) : disk; }, done,
                      failed);
    };
    return places;
}

} // namespace

/// The other program: started anew by the test below, it goes on with the queue, or begins one.
class TransferQueueProgram final : public QObject
{
    Q_OBJECT

private slots:
    void bringsTheQueueToItsEnd()
    {
        if (setting("SCENE_FOLDER").isEmpty())
            QSKIP("Only a part of TransferInterruptionsTest.");
        const auto disk = std::make_shared<LocalFileService>();
        TransferEngine engine(TransferEngine::Options{3, {10ms, 50ms, 200ms, 1s}});
        engine.keepQueueIn(setting("SCENE_FOLDER") + u"/transfers.json"_s, placesOf(disk));
        if (engine.transfers().isEmpty())
            begin(engine, disk);
        for (const TransferStatus &status : QList<TransferStatus>(engine.transfers())) {
            if (status.state == State::failed)
                engine.retryFailed(status.id);
            else
                engine.resume(status.id);
        }
        const auto hasEnded = [](const TransferStatus &status) { return !isOpen(status.state); };
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(engine.transfers().begin(), engine.transfers().end(), hasEnded), 60'000);
        for (const TransferStatus &status : engine.transfers())
            QCOMPARE(status.failures.join(u"\n"_s), QString());
    }

private:
    static void begin(TransferEngine &engine, const std::shared_ptr<FileService> &disk)
    {
        const bool isUpload = setting("SCENE_ROUTE") == u"up";
        const std::shared_ptr<FileService> server = openServer({});
        TransferRequest request;
        request.source = isUpload ? disk : server;
        request.destination = isUpload ? server : disk;
        request.items = request.source->list(setting("SCENE_FOLDER") + u"/from"_s, HiddenFiles::included, {});
        request.targetFolder = setting("SCENE_FOLDER") + u"/to"_s;
        request.policy = TransferConflictPolicy::overwrite;
        request.isMove = setting("SCENE_KIND") == u"move";
        if (!request.items.isEmpty())
            engine.enqueue(request);
    }
};

/// Whatever is killed, and whenever: each file is whole at one of its two ends at least, no half file stands under a
/// real name, and the queue comes to its end.
class TransferInterruptionsTest final : public QObject
{
    Q_OBJECT

    enum class Kind { copy, overwrite, move };
    enum class Victim { program, child, session, line };

    /// Both folders, and the program at work between them.
    struct Scene
    {
        TestTree tree{{"from/", ""}, {"to/", ""}};
        TreeSnapshot files;
        TreeSnapshot older;
        QProcess program;
        bool isMove = false;
    };

private slots:
    void initTestCase()
    {
        m_sshd = std::make_unique<TestServer>();
        m_proxy = std::make_unique<SlowProxy>(m_sshd->port());
        qputenv("SCENE_PORT", QByteArray::number(m_proxy->port()));
        qputenv("SCENE_USER", m_sshd->connection().username.toUtf8());
        qputenv("SCENE_KEY", m_sshd->keyPath().toUtf8());
        qputenv("SCENE_KNOWN_HOSTS", m_sshd->knownHostsPath().toUtf8());
    }

    void noFileIsLostAtAnyMoment()
    {
        const int moments =
            qEnvironmentVariableIsSet("MOORIX_MOMENTS") ? qEnvironmentVariableIntValue("MOORIX_MOMENTS") : 9;
        const quint32 seed = qEnvironmentVariableIsSet("MOORIX_SEED")
                                 ? quint32(qEnvironmentVariableIntValue("MOORIX_SEED"))
                                 : QRandomGenerator::global()->generate() & 0x7fffffff;
        qInfo("MOORIX_SEED=%u MOORIX_MOMENTS=%d", seed, moments);
        QRandomGenerator random(seed);
        std::array<int, 4> hits{};
        for (int moment = 0; moment < moments; ++moment) {
            const auto victim = Victim(moment % 4);
            const auto kind = Kind(random.bounded(3));
            const bool isUpload = random.bounded(2) == 0;
            const int delay = random.bounded(m_usualMilliseconds);
            const QString story = u"moment %1: victim %2, kind %3, %4, after %5 ms"_s.arg(moment)
                                      .arg(int(victim))
                                      .arg(int(kind))
                                      .arg(isUpload ? u"up"_s : u"down"_s)
                                      .arg(delay);
            Scene scene;
            fill(scene, kind, random);
            runOnce(scene, kind, isUpload, [&, elapsed = QElapsedTimer(), isDone = false]() mutable {
                if (!elapsed.isValid())
                    elapsed.start();
                if (isDone || elapsed.elapsed() < delay)
                    return;
                isDone = true;
                hits[std::size_t(victim)] += strike(victim, scene.program);
            });
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(story));
            for (int further = 0; further < 4 && !hasEnded(scene); ++further)
                runOnce(scene, kind, isUpload, [] {});
            checkEnd(scene);
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(story + u'\n' + QString::fromUtf8(m_output)));
        }
        qInfo("struck: program %d, child %d, session %d, line %d", hits[0], hits[1], hits[2], hits[3]);
    }

    void cleanupTestCase()
    {
        // The program that was killed last has left its shared connection behind.
        openServer({})->disconnect();
        m_proxy.reset();
        m_sshd.reset();
    }

private:
    /// One large file, two small ones that go by themselves, and a folder that goes as a stream.
    static void fill(Scene &scene, Kind kind, QRandomGenerator &random)
    {
        const auto put = [&](const QString &name, qsizetype size) {
            QByteArray content(size, Qt::Uninitialized);
            random.generate(reinterpret_cast<quint32 *>(content.data()),
                            reinterpret_cast<quint32 *>(content.data() + size));
            scene.files.insert(name, content);
            scene.tree.write(u"from/"_s + name, content);
            if (kind != Kind::overwrite)
                return;
            scene.older.insert(name, "older " + content.left(1000));
            scene.tree.write(u"to/"_s + name, scene.older.value(name));
        };
        put(u"large"_s, 6'000'000);
        put(u"one"_s, 40'000);
        put(u"two \"q\" $(x)"_s, 4'000);
        for (int i = 0; i < 12; ++i)
            put(u"folder/%1"_s.arg(i), 20'000);
        scene.isMove = kind == Kind::move;
    }

    /// Runs the program to its end, looking at all files again and again while it works.
    void runOnce(Scene &scene, Kind kind, bool isUpload, const std::function<void()> &meanwhile)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"SCENE_FOLDER"_s, scene.tree.path());
        environment.insert(u"SCENE_ROUTE"_s, isUpload ? u"up"_s : u"down"_s);
        environment.insert(u"SCENE_KIND"_s, kind == Kind::move ? u"move"_s : u"copy"_s);
        scene.program.setProcessEnvironment(environment);
        scene.program.setProcessChannelMode(QProcess::MergedChannels);
        scene.program.start(QCoreApplication::applicationFilePath(), {u"TransferQueueProgram"_s});
        QVERIFY(scene.program.waitForStarted());
        while (scene.program.state() != QProcess::NotRunning && !QTest::currentTestFailed()) {
            meanwhile();
            checkNow(scene);
            scene.program.waitForFinished(1);
        }
        scene.program.kill();
        scene.program.waitForFinished();
        m_output = scene.program.readAll();
    }

    /// Returns how many it struck.
    int strike(Victim victim, const QProcess &program) const
    {
        if (victim == Victim::line) {
            m_proxy->cut();
            return 1;
        }
        if (victim == Victim::program)
            return ::kill(pid_t(program.processId()), SIGKILL) == 0;
        for (const qint64 process : descendants(victim == Victim::child ? program.processId() : qint64(::getpid()))) {
            QFile commandLine(u"/proc/%1/cmdline"_s.arg(process));
            const QByteArray text = commandLine.open(QIODevice::ReadOnly) ? commandLine.readAll() : QByteArray();
            const bool isSession = text.startsWith("sshd: ") && !text.contains("[listener]");
            if ((victim == Victim::child || isSession) && ::kill(pid_t(process), SIGKILL) == 0)
                return 1;
        }
        return 0;
    }

    /// The source is looked at first: it may go once its copy is whole, so that afterwards the copy must be there.
    static void checkNow(const Scene &scene)
    {
        for (auto file = scene.files.cbegin(); file != scene.files.cend(); ++file) {
            const bool hasSource = scene.tree.exists(u"from/"_s + file.key());
            QVERIFY2(hasSource || scene.isMove, qPrintable(file.key() + u" vanished"_s));
            if (!scene.tree.exists(u"to/"_s + file.key())) {
                // An older file may only be replaced, never be missing.
                QVERIFY2(hasSource && !scene.older.contains(file.key()), qPrintable(file.key() + u" is lost"_s));
                continue;
            }
            const QByteArray copy = scene.tree.read(u"to/"_s + file.key());
            const bool isOlder = scene.older.contains(file.key()) && copy == scene.older.value(file.key());
            QVERIFY2(copy == *file || (isOlder && hasSource), qPrintable(file.key() + u" is neither old nor new"_s));
        }
    }

    static bool hasEnded(const Scene &scene)
    {
        return scene.program.exitStatus() == QProcess::NormalExit && scene.program.exitCode() == 0;
    }

    static void checkEnd(const Scene &scene)
    {
        QVERIFY(hasEnded(scene));
        TreeSnapshot expected{{u"from/"_s, {}}, {u"to/"_s, {}}, {u"to/folder/"_s, {}}};
        if (!scene.isMove)
            expected.insert(u"from/folder/"_s, {});
        for (auto file = scene.files.cbegin(); file != scene.files.cend(); ++file) {
            expected.insert(u"to/"_s + file.key(), *file);
            if (!scene.isMove)
                expected.insert(u"from/"_s + file.key(), *file);
        }
        TreeSnapshot found = scene.tree.snapshot();
        found.remove(u"transfers.json"_s);
        QCOMPARE(found.keys(), expected.keys());
        QVERIFY(found == expected);
    }

    static constexpr int m_usualMilliseconds = 2000;
    std::unique_ptr<TestServer> m_sshd;
    std::unique_ptr<SlowProxy> m_proxy;
    QByteArray m_output;
};

MOORIX_TEST(TransferQueueProgram)
MOORIX_TEST(TransferInterruptionsTest)
#include "TransferInterruptionsTest.moc"
