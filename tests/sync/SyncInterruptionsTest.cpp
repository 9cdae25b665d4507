// SPDX-License-Identifier: GPL-3.0-or-later
// Random edits on both sides, and syncs broken off at random moments. They happen in a program of their own, so that
// the program can be killed too.
#include "support/SceneServers.h"
#include "sync/SyncScene.h"

#include <QRandomGenerator>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QUuid serverID(u"7b1f8c3e-77b2-4c7e-9d59-0d2f6f0d3a12"_s);

} // namespace

/// The other program: syncs the pair once, and tells of each path that it found in conflict.
class SyncProgram final : public QObject
{
    Q_OBJECT

private slots:
    void syncsOnce()
    {
        const QString folder = qEnvironmentVariable("SCENE_FOLDER");
        if (folder.isEmpty())
            QSKIP("Only a part of SyncInterruptionsTest.");
        std::shared_ptr<FileService> server = std::make_shared<FolderServer>();
        if (qEnvironmentVariableIsSet("SCENE_PORT"))
            server = openSceneServer(serverID, {});
        SyncSetup setup{{std::make_shared<LocalFileService>(), folder + u"/here"_s},
                        {server, folder + u"/there"_s},
                        u"pair"_s,
                        u"server"_s,
                        SyncIgnore()};
        setup.reconnectDelays = {std::chrono::milliseconds(10), std::chrono::milliseconds(100)};
        SyncWork work(SyncStateStore(folder + u"/state"_s), setup);
        SyncPlan plan = work.review({});
        for (SyncRow &row : plan.rows) {
            if (row.diff.bucket != SyncBucket::conflict)
                continue;
            std::printf("conflict %s\n", qPrintable(row.diff.relPath));
            row.action = SyncAction::keepBoth;
        }
        const SyncOutcome outcome = work.apply(plan, {});
        for (const SyncRow &row : outcome.rows) {
            if (row.result != SyncResult::done)
                std::printf("left %s: %s\n", qPrintable(row.diff.relPath), qPrintable(SyncText::result(row)));
        }
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(outcome.openCount(), 0);
        std::printf("changes %lld\n", static_cast<long long>(plan.changeCount()));
    }
};

/// Whatever is killed, and whenever: nothing that a user wrote is lost, nothing stands half under a real name, no
/// conflict is invented, and the next sync makes both sides alike.
class SyncInterruptionsTest final : public QObject
{
    Q_OBJECT

    /// Contents by path.
    using Files = QMap<QString, QByteArray>;

private slots:
    void initTestCase() { m_places = scenePlaces(); }

    void nothingIsLostAtAnyMoment()
    {
        const int moments = qEnvironmentVariable("MOORIX_MOMENTS", u"24"_s).toInt();
        const QString anySeed = QString::number(QRandomGenerator::global()->generate());
        const uint seed = qEnvironmentVariable("MOORIX_SEED", anySeed).toUInt();
        qInfo("MOORIX_SEED=%u MOORIX_MOMENTS=%d", seed, moments);
        m_random.seed(seed);
        // The last one is a folder of this machine, which takes no time, so that more is tried.
        for (std::size_t index = 0; index <= m_places.size(); ++index) {
            const ScenePlace *place = index < m_places.size() ? &m_places.at(index) : nullptr;
            tryAt(place, place ? moments / 4 : moments / 2);
            if (QTest::currentTestFailed())
                return;
        }
        qInfo("struck: program %d, child %d, session %d, line %d", m_hits[0], m_hits[1], m_hits[2], m_hits[3]);
    }

    void cleanupTestCase()
    {
        forgetSceneConnection(m_places.front(), serverID);
        m_places.clear();
    }

private:
    void tryAt(const ScenePlace *place, int moments)
    {
        const auto tree =
            place ? std::make_unique<TestTree>(place->server->sharedPath()) : std::make_unique<TestTree>();
        m_tree = tree.get();
        m_base.clear();
        for (const char *folder : {"here/", "there/"})
            m_tree->write(folder, "");
        const int usualMilliseconds = place ? 400 : 40;
        for (int moment = 0; moment < moments; ++moment) {
            const int edits = m_random.bounded(1, 6);
            for (int i = 0; i < edits; ++i)
                edit();
            const Victim victim = place ? Victim(moment % 4) : Victim::program;
            const int delay = m_random.bounded(usualMilliseconds);
            const bool isWhole = moment % 5 == 4;
            // As a kill while the marker is written leaves it.
            if (isWhole)
                m_tree->write("here/.moorix-sync/.pair.pair.moorix-6F60A3A6-7E05-49D5-9730-1869BD4DC5FB.part", "");
            syncOnce(place, isWhole ? -1 : delay, victim);
            for (int further = 0; isWhole && !m_isDone && further < 3; ++further)
                syncOnce(place, -1, victim);
            if (isWhole && !QTest::currentTestFailed())
                checkWhole(place);
            if (QTest::currentTestFailed()) {
                QFAIL(qPrintable(
                    u"%1, moment %2, victim %3, after %4 ms\n%5"_s.arg(place ? place->protocol() : u"folder"_s)
                        .arg(moment)
                        .arg(int(victim))
                        .arg(isWhole ? -1 : delay)
                        .arg(QString::fromUtf8(m_output))));
            }
        }
    }

    /// What a user does to one side.
    void edit()
    {
        static const QStringList paths{u"a"_s,       u"b c"_s,    u"d/e"_s, u"d/f"_s, u"d/g/h"_s,
                                       u"x/größe"_s, u"x/$(y)"_s, u"z"_s,   u"d/i"_s, u"x/k"_s};
        const QString side = m_random.bounded(2) == 0 ? u"here/"_s : u"there/"_s;
        const QString path = side + paths.at(m_random.bounded(paths.size()));
        const int kind = m_random.bounded(8);
        if (kind == 0) {
            QFile::remove(m_tree->path(path));
        } else if (kind == 1) {
            QDir(m_tree->path(side + u"d"_s)).removeRecursively();
        } else {
            // No two of one size: what only its time tells apart is taken for equal within a minute and a half.
            const int number = ++m_written;
            QByteArray content = QByteArray::number(number) + '\n';
            content.append(m_random.bounded(300) * 1000 + number, char('a' + number % 26));
            m_tree->write(path, content);
            m_known.insert(content);
        }
    }

    void syncOnce(const ScenePlace *place, int strikeAfter, Victim victim)
    {
        // The account of the server is another user.
        QCOMPARE(QProcess::execute(u"chmod"_s, {u"-R"_s, u"a+rwX"_s, m_tree->path()}), 0);
        const Files here = filesOf(u"here"_s);
        const Files there = filesOf(u"there"_s);
        m_journal = SyncStateStore(m_tree->path("state")).load(u"pair"_s).journal;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (place)
            environment.insert(place->environment);
        environment.insert(u"SCENE_FOLDER"_s, m_tree->path());
        QProcess program;
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QCoreApplication::applicationFilePath(), {u"SyncProgram"_s});
        QVERIFY(program.waitForStarted());
        if (strikeAfter >= 0 && !program.waitForFinished(strikeAfter)) {
            const bool isHit = place ? strike(victim, program, *place) : (program.kill(), true);
            m_hits[std::size_t(victim)] += isHit;
        }
        QVERIFY(program.state() == QProcess::NotRunning || program.waitForFinished());
        m_output = program.readAll();
        m_isDone = program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
        checkPromises(here, there);
    }

    void checkPromises(const Files &here, const Files &there)
    {
        const Files hereNow = filesOf(u"here"_s);
        const Files thereNow = filesOf(u"there"_s);
        QSet<QByteArray> kept;
        const TreeSnapshot own = snapshotOf(m_tree->path("here/.moorix-sync"));
        for (const QByteArray &content : own)
            kept.insert(content);
        for (const Files &now : {hereNow, thereNow}) {
            for (auto file = now.cbegin(); file != now.cend(); ++file)
                QVERIFY2(m_known.contains(*file), qPrintable(u"“%1” is half"_s.arg(file.key())));
        }
        const QList<QByteArray> localContents = hereNow.values();
        const QList<QByteArray> serverContents = thereNow.values();
        for (auto file = here.cbegin(); file != here.cend(); ++file) {
            QVERIFY2(localContents.contains(*file) || kept.contains(*file),
                     qPrintable(u"local “%1” is lost"_s.arg(file.key())));
        }
        for (auto file = there.cbegin(); file != there.cend(); ++file) {
            // What the server had before may go only where the local side was changed since both were alike.
            const bool mayGo = m_base.value(file.key()) == *file && here.value(file.key()) != *file;
            QVERIFY2(mayGo || serverContents.contains(*file),
                     qPrintable(u"“%1” of the server is lost"_s.arg(file.key())));
        }
        for (const QByteArray &line : m_output.split('\n')) {
            if (!line.startsWith("conflict "))
                continue;
            const QString path = QString::fromUtf8(line.mid(9));
            const bool isChangedHere = here.value(path) != m_base.value(path);
            const bool isChangedThere = there.value(path) != m_base.value(path);
            // Whether a copy had arrived before it was changed cannot be told when it was just on its way.
            const bool isUnsure = (m_journal.toRemote.contains(path) && isChangedThere) ||
                                  (m_journal.toLocal.contains(path) && isChangedHere);
            QVERIFY2((isChangedHere && isChangedThere) || isUnsure,
                     qPrintable(u"the conflict over “%1” is invented"_s.arg(path)));
        }
        QSet<QString> paths;
        for (const Files *files : std::initializer_list<const Files *>{&hereNow, &thereNow, &m_base}) {
            for (auto file = files->cbegin(); file != files->cend(); ++file)
                paths.insert(file.key());
        }
        for (const QString &path : std::as_const(paths)) {
            if (hereNow.value(path) != thereNow.value(path))
                continue;
            if (hereNow.contains(path))
                m_base.insert(path, hereNow.value(path));
            else
                m_base.remove(path);
        }
    }

    void checkWhole(const ScenePlace *place)
    {
        QVERIFY(m_isDone);
        QCOMPARE(filesOf(u"here"_s), filesOf(u"there"_s));
        syncOnce(place, -1, Victim::program);
        QVERIFY2(m_output.contains("changes 0\n"), "a second sync finds something to do");
        for (const char *side : {"here", "there"}) {
            for (const QString &name : snapshotOf(m_tree->path(side)).keys())
                QVERIFY2(!name.endsWith(u".part"_s), qPrintable(name + u" is left behind"_s));
        }
    }

    /// Without what syncs keep there.
    Files filesOf(const QString &side) const
    {
        Files files;
        const TreeSnapshot all = snapshotOf(m_tree->path(side));
        for (auto entry = all.cbegin(); entry != all.cend(); ++entry) {
            if (!entry.key().startsWith(SyncSide::ownFolder) && !entry.key().endsWith(u'/') &&
                !entry.key().contains(u".moorix-"_s))
                files.insert(entry.key(), *entry);
        }
        return files;
    }

    std::vector<ScenePlace> m_places;
    QRandomGenerator m_random;
    TestTree *m_tree = nullptr;
    QSet<QByteArray> m_known;
    /// What each path held when both sides were last alike.
    Files m_base;
    /// Of the sync before, if it was broken off.
    SyncJournal m_journal;
    int m_written = 0;
    bool m_isDone = false;
    QByteArray m_output;
    std::array<int, 4> m_hits{};
};

MOORIX_TEST(SyncProgram)
MOORIX_TEST(SyncInterruptionsTest)
#include "SyncInterruptionsTest.moc"
