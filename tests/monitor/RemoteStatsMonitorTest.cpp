// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/RemoteStatsMonitor.h"
#include "platform/SystemProcessRunner.h"
#include "remote/ControlSocket.h"
#include "servers/KeychainStore.h"
#include "support/FakeProcessRunner.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>

#include <atomic>
#include <thread>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// A monitor at a time that only the test moves.
struct Scene
{
    explicit Scene(std::shared_ptr<ProcessRunner> processes)
        : monitor({std::make_shared<KeychainStore>(keychain),
                   std::move(processes),
                   [this](const QUuid &) { return isUsedElsewhere; },
                   {},
                   [this] { return now; }})
    {
    }
    /// Lets five seconds pass, and whatever they start come to its end.
    void pass()
    {
        now = now.addSecs(5);
        monitor.tick();
        QTRY_VERIFY(!isBusy());
    }
    bool isBusy() const { return monitor.isSampling() || !(monitor.stats() || monitor.errorMessage()); }

    QDateTime now{QDate(2025, 3, 7), QTime(6, 0), Qt::UTC};
    bool isUsedElsewhere = false;
    std::shared_ptr<MemoryKeychain> keychain = std::make_shared<MemoryKeychain>();
    RemoteStatsMonitor monitor;
};

ProcessResult metrics(const ProcessRequest &request)
{
    if (request.program == u"/usr/bin/sftp"_s)
        return {0, false, "sftp> pwd\nRemote working directory: /home\nsftp> quit\n", "Connected to host.\n"};
    if (request.takeOutput)
        request.takeOutput("@@CORES@@\n4\n");
    return {};
}

bool isMetrics(const ProcessRequest &request)
{
    return request.program == u"/usr/bin/ssh"_s && request.arguments.constLast() == RemoteStatsMonitor::script;
}

} // namespace

/// Watching a server for long, and when it fails.
class RemoteStatsMonitorTest final : public QObject
{
    Q_OBJECT

private slots:
    void anHourIsOneCommandEachAndNothingIsLeft()
    {
        const TestTree temporary;
        qputenv("TMPDIR", QFile::encodeName(temporary.path()));
        std::atomic<int> running = 0;
        std::atomic<int> most = 0;
        const auto processes = std::make_shared<FakeProcessRunner>([&](const ProcessRequest &request) {
            most = std::max<int>(most, ++running);
            const ProcessResult result = metrics(request);
            --running;
            return result;
        });
        QElapsedTimer time;
        time.start();
        {
            Scene scene(processes);
            ServerConnection server = serverAt(u"host"_s, u"ada"_s);
            server.authMethod = AuthMethod::privateKeyPasted;
            KeychainStore(scene.keychain).set(u"a key"_s, server.id, SecretKind::privateKey);
            scene.monitor.start(server);
            scene.monitor.start(server);
            QTRY_VERIFY(scene.monitor.stats());
            QSignalSpy changes(&scene.monitor, &RemoteStatsMonitor::changed);
            for (int tick = 1; tick < 720; ++tick) {
                scene.now = scene.now.addSecs(5);
                scene.monitor.tick();
                scene.monitor.tick();
                while (scene.monitor.readAt() != scene.now)
                    QVERIFY(changes.wait());
            }
        }
        const QList<ProcessRequest> requests = processes->requests();
        const qsizetype readings = std::count_if(requests.cbegin(), requests.cend(), isMetrics);
        QCOMPARE(requests.size(), readings + 1);
        // The monitor's own timer runs as well.
        QVERIFY2(readings >= 720 && readings <= 720 + time.elapsed() / 5000, qPrintable(QString::number(readings)));
        QCOMPARE(int(most), 1);
        QTRY_COMPARE(QDir(temporary.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                     QStringList());
        qunsetenv("TMPDIR");
    }

    void aTickDuringASlowReadingStartsNoSecondCommand()
    {
        std::atomic<bool> isHeld = true;
        const auto processes = std::make_shared<FakeProcessRunner>([&](const ProcessRequest &request) {
            while (isMetrics(request) && isHeld)
                std::this_thread::yield();
            return metrics(request);
        });
        Scene scene(processes);
        scene.monitor.start(serverAt(u"host"_s, u"ada"_s));
        QTRY_COMPARE(processes->requests().size(), 2);
        for (int tick = 0; tick < 3; ++tick) {
            scene.now = scene.now.addSecs(5);
            scene.monitor.tick();
            QVERIFY(scene.monitor.isSampling());
        }
        isHeld = false;
        QTRY_VERIFY(scene.monitor.stats());
        scene.now = scene.now.addSecs(5);
        scene.monitor.tick();
        QTRY_COMPARE(scene.monitor.readAt(), std::optional(scene.now));
        QCOMPARE(processes->requests().size(), 3);
    }

    void anotherServerReplacesTheFirst()
    {
        const auto processes = std::make_shared<FakeProcessRunner>(metrics);
        Scene scene(processes);
        scene.monitor.start(serverAt(u"one"_s, u"ada"_s));
        QVERIFY(scene.monitor.isSampling());
        const ServerConnection two = serverAt(u"two"_s, u"ada"_s);
        scene.monitor.start(two);
        QCOMPARE(scene.monitor.serverID(), std::optional(two.id));
        QTRY_VERIFY(scene.monitor.stats());
        QCOMPARE(processes->requests().constLast().arguments.contains(u"ada@two"_s), true);
        scene.monitor.stop();
        const qsizetype before = processes->requests().size();
        scene.monitor.tick();
        QVERIFY(!scene.monitor.stats() && !scene.monitor.serverID());
        QCOMPARE(processes->requests().size(), before);
    }

    void aRefusedLoginIsNotTriedEveryFiveSeconds()
    {
        std::atomic<bool> refuses = true;
        const auto processes = std::make_shared<FakeProcessRunner>([&](const ProcessRequest &request) {
            return refuses ? ProcessResult{255, false, {}, "ada@host: Permission denied (publickey,password).\n"}
                           : metrics(request);
        });
        Scene scene(processes);
        scene.monitor.start(serverAt(u"host"_s, u"ada"_s));
        for (int i = 0; i < 30; ++i)
            scene.pass();
        QVERIFY(scene.monitor.errorMessage()->contains(u"did not accept the login"));
        QCOMPARE(processes->requests().size(), 1);
        refuses = false;
        scene.now = scene.now.addSecs(300);
        scene.monitor.tick();
        QTRY_VERIFY(scene.monitor.stats());
        QVERIFY(!scene.monitor.errorMessage());
    }

    void tooMuchOrNoShellIsAFailureInWords()
    {
        QByteArray answer(300 * 1024, 'x');
        int code = 0;
        Scene scene(std::make_shared<FakeProcessRunner>([&](const ProcessRequest &request) {
            if (!request.takeOutput)
                return metrics(request);
            request.takeOutput(answer);
            return ProcessResult{code, false, {}, {}};
        }));
        scene.monitor.start(serverAt(u"host"_s, u"ada"_s));
        QTRY_VERIFY(scene.monitor.errorMessage().value_or(QString()).contains(u"more than was asked for"));
        answer = "This account is currently not available.\n";
        code = 1;
        scene.pass();
        QTRY_VERIFY(scene.monitor.errorMessage()->contains(u"This account is currently not available."));
    }

    void aRealServerIsLostAndComesBack()
    {
        TestServer sshd;
        const auto clients = std::make_shared<IsolatedClients>(sshd.knownHostsPath());
        Scene scene(clients);
        const ServerConnection server = sshd.connection();
        scene.monitor.start(server);
        QTRY_VERIFY_WITH_TIMEOUT(scene.monitor.stats(), 20000);
        const RemoteStats first = *scene.monitor.stats();
        QCOMPARE(first.load.size(), 3);
        QVERIFY(first.cores > 0 && first.memoryShare() && first.diskShare() && first.uptime > 0);
        QVERIFY(first.processCount > 3 && !first.topProcesses.isEmpty());
        QVERIFY(!first.hostName.isEmpty() && first.osVersion.startsWith(u"Linux "));
        const QDateTime lastGood = scene.now;

        sshd.freeze();
        scene.now = scene.now.addSecs(5);
        scene.monitor.tick();
        QVERIFY(!scene.monitor.staleSince());
        scene.now = scene.now.addSecs(15);
        scene.monitor.tick();
        QCOMPARE(scene.monitor.staleSince(), std::optional(lastGood));
        scene.now = scene.now.addSecs(15);
        scene.monitor.tick();
        QVERIFY(scene.monitor.errorMessage()->contains(u"has not answered for 30 seconds"));
        QCOMPARE(scene.monitor.stats(), std::optional(first));

        for (const qint64 session : sshd.sessions())
            ::kill(pid_t(session), SIGKILL);
        sshd.thaw();
        QTRY_VERIFY_WITH_TIMEOUT(childrenNamed("ssh").isEmpty(), 10000);
        scene.now = scene.now.addSecs(5);
        scene.monitor.tick();
        QTRY_COMPARE_WITH_TIMEOUT(scene.monitor.readAt(), std::optional(scene.now), 20000);
        QVERIFY(!scene.monitor.errorMessage() && !scene.monitor.staleSince());

        scene.isUsedElsewhere = true;
        scene.monitor.stop();
        QVERIFY(ControlSocket::isPresent(server));
        scene.monitor.start(server);
        QTRY_VERIFY_WITH_TIMEOUT(scene.monitor.stats(), 20000);
        scene.isUsedElsewhere = false;
        scene.monitor.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!ControlSocket::isPresent(server), 10000);
    }
};

MOORIX_TEST(RemoteStatsMonitorTest)
#include "RemoteStatsMonitorTest.moc"
