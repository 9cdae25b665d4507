// SPDX-License-Identifier: GPL-3.0-or-later
// Transfers broken off at random moments. The queue runs in a program of its own, so that the program can be killed
// too.
#include "files/LocalFileService.h"
#include "support/SceneServers.h"
#include "support/TestMain.h"
#include "transfers/TransferEngine.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <algorithm>

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
    return openSceneServer(serverID, stop);
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
        QSignalSpy loaded(&engine, &TransferEngine::listChanged);
        engine.keepQueueIn(setting("SCENE_FOLDER") + u"/transfers.json"_s, placesOf(disk));
        QVERIFY(loaded.wait());
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
        const QString folder = setting("SCENE_FOLDER");
        TransferRequest request{isUpload ? disk : server, isUpload ? server : disk, {}, folder + u"/to"_s};
        request.items = request.source->list(folder + u"/from"_s, HiddenFiles::included, {});
        request.policy = TransferConflictPolicy::overwrite;
        request.isMove = setting("SCENE_KIND") == u"move";
        if (!request.items.isEmpty())
            engine.enqueue(request);
    }
};

/// Whatever is killed, and whenever, over either protocol: each file is whole at one of its two ends at least, no half
/// file stands under a real name, and the queue comes to its end.
class TransferInterruptionsTest final : public QObject
{
    Q_OBJECT

    enum class Kind { copy, overwrite, move };
    /// Both folders, and the program at work between them.
    struct Scene
    {
        const ScenePlace &place;
        TestTree tree{place.server->sharedPath()};
        TreeSnapshot files = {};
        TreeSnapshot older = {};
        QProcess program{};
        bool isMove = false;
        QString way = {};
    };

private slots:
    void initTestCase() { m_places = scenePlaces(); }

    void noFileIsLostAtAnyMoment()
    {
        const int moments = qEnvironmentVariable("MOORIX_MOMENTS", u"9"_s).toInt();
        const QString anySeed = QString::number(QRandomGenerator::global()->generate());
        const uint seed = qEnvironmentVariable("MOORIX_SEED", anySeed).toUInt();
        qInfo("MOORIX_SEED=%u MOORIX_MOMENTS=%d", seed, moments);
        QRandomGenerator random(seed);
        std::array<int, 4> hits{};
        for (int moment = 0; moment < moments; ++moment) {
            const auto victim = Victim(moment % 4);
            const ScenePlace &place = m_places.at(std::size_t(moment / 4) % m_places.size());
            const auto kind = Kind(random.bounded(3));
            const int delay = random.bounded(m_usualMilliseconds);
            Scene scene{place};
            scene.isMove = kind == Kind::move;
            scene.way = random.bounded(2) == 0 ? u"up"_s : u"down"_s;
            const QString story = u"moment %1: %2, victim %3, kind %4, %5, after %6 ms"_s.arg(moment)
                                      .arg(place.protocol())
                                      .arg(int(victim))
                                      .arg(int(kind))
                                      .arg(scene.way)
                                      .arg(delay);
            fill(scene, kind == Kind::overwrite, random);
            runOnce(scene, [&, elapsed = QElapsedTimer(), isDone = false]() mutable {
                if (!elapsed.isValid())
                    elapsed.start();
                if (!isDone && elapsed.elapsed() >= delay) {
                    isDone = strike(victim, scene.program, scene.place);
                    hits[std::size_t(victim)] += isDone;
                }
            });
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(story));
            for (int further = 0; further < 4 && !hasEnded(scene); ++further)
                runOnce(scene, [] {});
            checkEnd(scene);
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(story + u'\n' + QString::fromUtf8(m_output)));
        }
        qInfo("struck: program %d, child %d, session %d, line %d", hits[0], hits[1], hits[2], hits[3]);
    }

    void cleanupTestCase()
    {
        // The program that was killed last has left its shared connection behind.
        forgetSceneConnection(m_places.front(), serverID);
        m_places.clear();
    }

private:
    /// One large file, small ones that go in bundles, and a folder that goes as a stream.
    static void fill(Scene &scene, bool hasOlder, QRandomGenerator &random)
    {
        const auto put = [&](const QString &name, qsizetype size) {
            QByteArray content(size, Qt::Uninitialized);
            random.generate(reinterpret_cast<quint32 *>(content.data()),
                            reinterpret_cast<quint32 *>(content.data() + size));
            scene.files.insert(name, content);
            scene.tree.write(u"from/"_s + name, content);
            if (!hasOlder)
                return;
            scene.older.insert(name, "older " + content.left(1000));
            scene.tree.write(u"to/"_s + name, scene.older.value(name));
        };
        scene.tree.write("from/", {});
        scene.tree.write("to/", {});
        put(u"large"_s, 6'000'000);
        put(u"one"_s, 40'000);
        put(u"two \"q\" $(x)"_s, 4'000);
        for (int i = 0; i < 12; ++i) {
            put(u"folder/%1"_s.arg(i), 20'000);
            put(u"file %1"_s.arg(i), 15'000);
        }
        // The account of the server is another user.
        QCOMPARE(QProcess::execute(u"chmod"_s, {u"-R"_s, u"a+rwX"_s, scene.tree.path()}), 0);
    }

    /// Runs the program to its end, looking at all files again and again while it works.
    void runOnce(Scene &scene, const std::function<void()> &meanwhile)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(scene.place.environment);
        environment.insert(u"SCENE_FOLDER"_s, scene.tree.path());
        environment.insert(u"SCENE_ROUTE"_s, scene.way);
        environment.insert(u"SCENE_KIND"_s, scene.isMove ? u"move"_s : u"copy"_s);
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

    static constexpr int m_usualMilliseconds = 1200;
    std::vector<ScenePlace> m_places;
    QByteArray m_output;
};

MOORIX_TEST(TransferQueueProgram)
MOORIX_TEST(TransferInterruptionsTest)
#include "TransferInterruptionsTest.moc"
