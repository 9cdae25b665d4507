// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Monitoring.h"
#include "app/ServerConnections.h"
#include "base/Json.h"
#include "files/RemoteFileService.h"
#include "platform/DesktopNotifier.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "servers/KeychainStore.h"
#include "servers/ServerStore.h"
#include "support/FakeProcessRunner.h"
#include "support/MemoryKeychain.h"
#include "support/NotificationService.h"
#include "support/TestMain.h"

#include <QDBusConnection>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>

#include <algorithm>
#include <atomic>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The machines a user watches, whose servers answer what the test says.
struct Scene
{
    Scene() { begin(); }

    void begin()
    {
        monitoring =
            std::make_unique<Monitoring>(Monitoring::Environment{preferences, servers, connections, keychain, runner});
    }
    ServerConnection addServer(const QString &name, NetworkProtocol protocol = NetworkProtocol::sftp)
    {
        ServerConnection server = serverAt(name, u"ada"_s);
        server.networkProtocol = protocol;
        servers.upsert(server);
        return *servers.server(server.id);
    }
    ProcessResult answer(const ProcessRequest &request)
    {
        if (isDown)
            return {255, false, {}, "ssh: connect to host web port 22: Connection refused\n"};
        if (request.program == u"/usr/bin/sftp"_s)
            return {0, false, "sftp> pwd\nRemote working directory: /home\nsftp> quit\n", "Connected to host.\n"};
        if (request.takeOutput)
            request.takeOutput("@@LOAD@@\n0.5 1 2\n@@CORES@@\n2\n@@MEM@@\nMemTotal: 100 kB\nMemAvailable: " +
                               QByteArray::number(available) + " kB\n@@PS@@\n7 1.0 41.0 firefox\n");
        return {};
    }
    /// As a tab does: connected as long as somebody holds the service.
    std::shared_ptr<RemoteFileService> open(const ServerConnection &server,
                                            const std::optional<ConnectionCredentials> &credentials = {})
    {
        std::shared_ptr<RemoteFileService> service;
        const Job job = connections.open(
            server, credentials, [&service](const OpenConnection &opened) { service = opened.service; },
            [](const Error &error) { qWarning("%s", qPrintable(error.message())); });
        (void)QTest::qWaitFor([&service] { return service != nullptr; });
        return service;
    }
    qsizetype readings() const
    {
        return std::ranges::count_if(runner->requests(), [](const ProcessRequest &request) {
            return request.arguments.join(u' ').contains(u"@@LOAD@@"_s);
        });
    }
    QStringList chosen() const
    {
        QStringList names;
        for (const auto &host : monitoring->servers())
            names << host->title();
        return names;
    }
    MonitoredHost &host(std::size_t index) const { return *monitoring->servers().at(index); }
    /// One more reading, to its end.
    void read(MonitoredHost &host) const
    {
        QSignalSpy changes(&host, &MonitoredHost::changed);
        host.tick();
        // One at its beginning, one at its end.
        QTRY_VERIFY(changes.size() >= 2);
    }

    TestTree tree;
    std::atomic<bool> isDown = false;
    std::atomic<int> available = 60;
    std::shared_ptr<KeychainStore> keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
    std::shared_ptr<FakeProcessRunner> runner =
        std::make_shared<FakeProcessRunner>([this](const ProcessRequest &request) { return answer(request); });
    Preferences preferences{tree.path("preferences.json")};
    KeyValueStore cloud{QString()};
    ServerStore servers{{tree.path("servers.json"), false}, cloud};
    ServerConnections connections{keychain, runner};
    std::unique_ptr<Monitoring> monitoring;
};

} // namespace

/// Which machines are watched, when, and what becomes of what they tell.
class MonitoringTest final : public QObject
{
    Q_OBJECT

private slots:
    void choicesAreKeptAndFollowTheLibrary()
    {
        Scene scene;
        const ServerConnection web = scene.addServer(u"web"_s);
        const ServerConnection db = scene.addServer(u"db"_s);
        scene.monitoring->setChosen(db.id, true);
        scene.monitoring->setChosen(web.id, true);
        scene.monitoring->setChosen(web.id, true);
        scene.monitoring->setChosen(newUuid(), true);
        QCOMPARE(scene.chosen(), (QStringList{u"db"_s, u"web"_s}));
        scene.begin();
        QCOMPARE(scene.chosen(), (QStringList{u"db"_s, u"web"_s}));
        QSignalSpy changes(scene.monitoring.get(), &Monitoring::hostsChanged);
        scene.servers.remove(db.id);
        QCOMPARE(scene.chosen(), QStringList{u"web"_s});
        QCOMPARE(changes.size(), 1);
        scene.begin();
        QCOMPARE(scene.chosen(), QStringList{u"web"_s});
    }

    void nobodyIsAskedWhileNothingIsShown()
    {
        Scene scene;
        scene.monitoring->setChosen(scene.addServer(u"web"_s).id, true);
        scene.monitoring->setTrayShown(true);
        QVERIFY(scene.monitoring->local().isRunning());
        QTRY_VERIFY(scene.monitoring->thisMachine().stats());
        // The tray needs no processes, and no servers.
        QVERIFY(!scene.monitoring->thisMachine().localStats()->processes);
        QCOMPARE(scene.runner->requests().size(), 0);
        scene.monitoring->setDashboardShown(true);
        scene.monitoring->local().tick();
        QTRY_VERIFY(scene.monitoring->thisMachine().localStats()->processes && scene.host(0).stats());
        scene.monitoring->setDashboardShown(false);
        QVERIFY(!scene.host(0).stats());
        QVERIFY(scene.monitoring->local().isRunning());
        scene.monitoring->setTrayShown(false);
        QVERIFY(!scene.monitoring->local().isRunning());
    }

    void aLostServerKeepsItsFiguresAndTheirTime()
    {
        Scene scene;
        scene.monitoring->setChosen(scene.addServer(u"web"_s).id, true);
        scene.monitoring->setDashboardShown(true);
        MonitoredHost &host = scene.host(0);
        QTRY_VERIFY(host.stats());
        QCOMPARE(host.history(MonitoredHost::Figure::cpu).at(0).value, std::optional(25.0));
        QCOMPARE(host.history(MonitoredHost::Figure::memory).at(0).value, std::optional(40.0));
        const QDateTime read = host.readAt();
        scene.isDown = true;
        scene.read(host);
        QCOMPARE(host.staleSince(), std::optional(read));
        QVERIFY(host.errorMessage() && host.stats());
        QCOMPARE(host.history(MonitoredHost::Figure::cpu).size(), 1U);
        scene.isDown = false;
        scene.read(host);
        QVERIFY(!host.staleSince() && !host.errorMessage());
        QCOMPARE(host.history(MonitoredHost::Figure::cpu).size(), 2U);
    }

    void aShortageIsToldOnceAndNotOfAServerThatIsLost()
    {
        Scene scene;
        scene.monitoring->setChosen(scene.addServer(u"web"_s).id, true);
        QStringList told;
        connect(
            scene.monitoring.get(), &Monitoring::alertRaised, this,
            [&told](const QString &, const QString &title, const QString &text) { told << title + u": "_s + text; });
        scene.available = 7;
        scene.monitoring->setDashboardShown(true);
        MonitoredHost &host = scene.host(0);
        QTRY_VERIFY(host.stats());
        for (int reading = 0; reading < 8; ++reading)
            scene.read(host);
        QCOMPARE(told, QStringList{u"web: Memory is 93 % full. firefox uses 41 %."_s});
        QCOMPARE(host.alerts().size(), 1);
        scene.isDown = true;
        scene.read(host);
        QVERIFY(host.alerts().isEmpty());
    }

    void aShortageIsToldByTheDesktopUnderItsMachineAndResource()
    {
        QProcess daemon;
        daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        if (!daemon.waitForStarted() || !daemon.waitForReadyRead())
            QSKIP("There is no dbus-daemon here.");
        const auto end = qScopeGuard([&daemon] {
            daemon.kill();
            daemon.waitForFinished();
        });
        const QString address = QString::fromUtf8(daemon.readLine().trimmed());
        QDBusConnection bus = QDBusConnection::connectToBus(address, u"monitoring-service"_s);
        NotificationService service;
        QVERIFY(bus.registerObject(u"/org/freedesktop/Notifications"_s, &service,
                                   QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        QVERIFY(bus.registerService(u"org.freedesktop.Notifications"_s));
        DesktopNotifier notifier(QDBusConnection::connectToBus(address, u"monitoring-client"_s));
        Scene scene;
        connect(scene.monitoring.get(), &Monitoring::alertRaised, &notifier, &DesktopNotifier::notify);
        const auto shortAgain = [&scene](MonitoredHost &host) {
            for (const int available : {60, 7}) {
                scene.available = available;
                for (int reading = 0; reading < 8; ++reading)
                    scene.read(host);
            }
        };
        for (const QString &name : {u"web"_s, u"a<b>"_s})
            scene.monitoring->setChosen(scene.addServer(name).id, true);
        scene.monitoring->setDashboardShown(true);
        QTRY_VERIFY(scene.host(0).stats() && scene.host(1).stats());
        shortAgain(scene.host(0));
        QTRY_COMPARE(service.bodies, QStringList{u"web|Memory is 93 % full. firefox uses 41 %."_s});
        shortAgain(scene.host(1));
        QTRY_COMPARE(service.bodies.size(), 2);
        QVERIFY(service.bodies.constLast().startsWith(u"a<b>|"));
        shortAgain(scene.host(0));
        // The next episode of the first takes the place of the one before.
        QTRY_COMPARE(service.replaced, (QList<uint>{0, 0, 7}));
    }

    void anEditedServerIsAnotherMachine()
    {
        Scene scene;
        ServerConnection web = scene.addServer(u"web"_s);
        scene.monitoring->setChosen(web.id, true);
        scene.monitoring->setDashboardShown(true);
        QTRY_VERIFY(scene.host(0).stats());
        web.host = u"other"_s;
        scene.servers.upsert(web);
        QVERIFY(!scene.host(0).stats());
        QCOMPARE(scene.host(0).history(MonitoredHost::Figure::cpu).size(), 0U);
        QTRY_VERIFY(scene.host(0).stats());
        QVERIFY(scene.runner->requests().constLast().arguments.contains(u"ada@other"_s));
    }

    void aServerThatTheUserDisconnectsIsLeftAlone()
    {
        Scene scene;
        ServerConnection web = scene.addServer(u"web"_s);
        scene.monitoring->setChosen(web.id, true);
        auto tab = scene.open(web);
        scene.monitoring->setDashboardShown(true);
        MonitoredHost &host = scene.host(0);
        QTRY_VERIFY(host.stats());
        const qsizetype readings = scene.readings();
        QVERIFY(readings > 0);
        scene.connections.disconnect(web.id);
        tab.reset();
        QVERIFY(host.isDisconnected() && !host.stats());
        // Neither time, nor coming back to the dashboard, nor an edited record connects it again.
        host.tick();
        scene.monitoring->setDashboardShown(false);
        scene.monitoring->setDashboardShown(true);
        web.host = u"other"_s;
        scene.servers.upsert(web);
        QTest::qWait(0);
        QVERIFY(host.isDisconnected());
        QCOMPARE(scene.readings(), readings);
        host.setDisconnected(false);
        QTRY_VERIFY(host.stats());
        // A tab that connects says as much.
        tab = scene.open(web);
        scene.connections.disconnect(web.id);
        QVERIFY(host.isDisconnected());
        tab = scene.open(web);
        QTRY_VERIFY(!host.isDisconnected() && host.stats());
    }

    void aServerThatIsNotSavedIsWatchedAsLongAsItIsConnected()
    {
        Scene scene;
        ServerConnection guest = serverAt(u"guest"_s, u"ada"_s);
        guest.authMethod = AuthMethod::privateKeyPasted;
        ConnectionCredentials credentials;
        credentials.privateKeyText = u"a key that no keychain has"_s;
        scene.monitoring->setChosen(guest.id, true);
        QVERIFY(scene.chosen().isEmpty() && scene.monitoring->unsavedServers().isEmpty());
        auto tab = scene.open(guest, credentials);
        QCOMPARE(scene.monitoring->unsavedServers(), QList<ServerConnection>{guest});
        scene.monitoring->setChosen(guest.id, true);
        scene.monitoring->setDashboardShown(true);
        QTRY_VERIFY(scene.host(0).stats());
        QVERIFY(scene.runner->requests().constLast().arguments.join(u' ').contains(u"moorix-key-"_s));
        const ServerConnection web = scene.addServer(u"web"_s);
        scene.monitoring->setChosen(web.id, true);
        scene.servers.remove(web.id);
        QCOMPARE(scene.chosen(), QStringList{u"guest"_s});
        QSignalSpy changes(scene.monitoring.get(), &Monitoring::hostsChanged);
        tab.reset();
        QTRY_VERIFY(scene.chosen().isEmpty());
        QCOMPARE(changes.size(), 1);
        tab = scene.open(guest, credentials);
        scene.monitoring->setChosen(guest.id, true);
        // The next run knows nothing of it.
        scene.begin();
        QCOMPARE(scene.chosen(), QStringList());
        scene.monitoring->setChosen(guest.id, true);
        scene.connections.disconnect(guest.id);
        QCOMPARE(scene.chosen(), QStringList());
    }

    void filesAreAllThatAnFTPServerIsAskedFor()
    {
        Scene scene;
        scene.monitoring->setChosen(scene.addServer(u"files"_s, NetworkProtocol::ftps).id, true);
        scene.monitoring->setDashboardShown(true);
        QVERIFY(scene.host(0).needsSSH());
        QTest::qWait(0);
        QCOMPARE(scene.runner->requests().size(), 0);
    }
};

MOORIX_TEST(MonitoringTest)
#include "MonitoringTest.moc"
