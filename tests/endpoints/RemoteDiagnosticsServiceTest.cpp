// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/RemoteDiagnosticsService.h"
#include "endpoints/UpdateScene.h"
#include "platform/SystemProcessRunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The program with one saved server, three tabs and a diagnostics server of the test's own.
struct DiagnosticsScene : EndpointScene
{
    explicit DiagnosticsScene(WebServer::Answer answer)
        : EndpointScene(std::move(answer))
    {
        settings.diagnosticsEndpoint.set(server.url(u"/api/checkin.php"_s));
        web.name = u"web\n01"_s;
        web.notes = u"hunter2"_s;
        app.savedServers = [this] { return QList{web}; };
        app.sessions = [] {
            using Kind = DiagnosticsSession::Kind;
            return QList<DiagnosticsSession>{
                {Kind::local}, {Kind::terminal}, {Kind::server, u"web-01"_s, u"web.example.org"_s}};
        };
        app.activeConnections = [] { return 1; };
    }

    /// To the end of the check-in, if one begins.
    void start()
    {
        service.start(app);
        QTRY_VERIFY(!service.isCheckingIn());
    }
    void pass(int seconds)
    {
        now = now.addSecs(seconds);
        service.tick();
        QTRY_VERIFY(!service.isCheckingIn());
    }
    /// What came to the address of results: "ID|code|first line" each.
    QStringList results() const
    {
        QStringList texts;
        for (const WebRequest &request : server.requests()) {
            const QJsonObject result = QJsonDocument::fromJson(request.body).object();
            if (request.path == "/api/command-result.php" && result[u"device_id"].toString() == service.deviceId())
                texts << u"%1|%2|%3"_s.arg(result[u"command_id"].toString())
                             .arg(result[u"exit_code"].toInt(-1))
                             .arg(result[u"output"].toString());
        }
        return texts;
    }

    ServerConnection web = serverAt(u"web.example.org"_s, u"ada"_s);
    DiagnosticsApp app;
    RemoteDiagnosticsService service{settings,
                                     preferences,
                                     {std::make_shared<NetworkHttpClient>(), std::make_shared<SystemProcessRunner>(),
                                      u"1.2"_s, u"5"_s, [this] { return now; }}};
};

} // namespace

/// Check-ins with a real server on loopback.
class RemoteDiagnosticsServiceTest final : public QObject
{
    Q_OBJECT

private slots:
    void aCheckinSendsWhatIsShown()
    {
        DiagnosticsScene scene(
            [](const WebRequest &) { return WebServer::reply(R"({"update":{"latest_version":"3.1"}})"); });
        scene.start();
        QVERIFY(scene.service.isRunning() && !scene.service.isCheckingIn());
        QCOMPARE(scene.service.statusMessage(), u"Checked in. Latest website build: 3.1"_s);
        QCOMPARE(scene.service.lastCheckinAt(), scene.now);
        const WebRequest request = scene.server.requests().first();
        QCOMPARE(request.method + ' ' + request.headers.value("content-type"), "POST application/json");
        QCOMPARE(request.headers.value("user-agent"), "Moorix/1.2");
        QJsonObject sent = QJsonDocument::fromJson(request.body).object();
        QJsonObject shown = QJsonDocument::fromJson(scene.service.buildPayload()).object();
        QVERIFY(shown.take(u"uptime"_s).toInteger() - sent.take(u"uptime"_s).toInteger() <= 5);
        QCOMPARE(sent, shown);
        QVERIFY(!sent.take(u"macos_version"_s).toString().isEmpty() && sent.take(u"mac_model"_s).isString());
        QVERIFY(sent.take(u"physical_memory"_s).toInteger() > 1000000);
        QCOMPARE(sent, (QJsonObject{{u"device_id"_s, scene.service.deviceId()},
                                    {u"app_version"_s, u"1.2 (5)"_s},
                                    {u"session_count"_s, 3},
                                    {u"saved_servers"_s, 1},
                                    {u"active_connections"_s, 1},
                                    {u"diagnostics_enabled"_s, true}}));
        // The same at the next start.
        scene.preferences.flush();
        QVERIFY(scene.tree.read("preferences.json").contains(scene.service.deviceId().toUtf8()));
    }

    void commandsAreAnsweredInTheirOrder()
    {
        DiagnosticsScene scene([](const WebRequest &) {
            return WebServer::reply(R"({"commands":[
                {"id":"a","action":"server_library_summary"},{"id":7,"action":"rm -rf /"},
                {"action":"disk_usage"},"x",{"id":"b"},{"id":"c","action":"active_session_summary"},
                {"id":"d","action":"disk_usage; id"},{"id":"e","action":"process_snapshot"}]})");
        });
        scene.start();
        QStringList results = scene.results();
        QCOMPARE(results.size(), 5);
        const QString processes = results.takeLast();
        QVERIFY2(processes.startsWith(u"e|0|") && processes.contains(u"test_endpoints"), qPrintable(processes));
        QCOMPARE(results, (QStringList{u"a|0|web 01: SFTP web.example.org:22, Password"_s,
                                       u"7|1|Unsupported diagnostic action: rm -rf /"_s,
                                       u"c|0|local:\nterminal:\nweb-01:web.example.org"_s,
                                       u"d|1|Unsupported diagnostic action: disk_usage; id"_s}));
        QCOMPARE(scene.service.statusMessage(), u"Checked in."_s);
    }

    void programsAreHeldToTheirLimits()
    {
        SystemProcessRunner processes;
        const auto run = [&](const QList<DiagnosticActions::FixedCommand> &alternatives) {
            return DiagnosticActions::runFixedCommand(alternatives, processes, neverStops);
        };
        const DiagnosticResult much = run({{u"/usr/bin/head"_s, {u"-c"_s, u"400000"_s, u"/dev/zero"_s}}});
        QCOMPARE(much.exitCode, 0);
        QVERIFY(much.output.endsWith(u"\nThe output is cut after 256 KiB."_s) && much.output.size() < 263000);
        QCOMPARE(run({{u"/bin/false"_s, {}}, {u"/nowhere"_s, {}}, {u"/bin/echo"_s, {u"$(id)"_s}}}).output,
                 u"$(id)\n"_s);
        QCOMPARE(run({{u"/bin/false"_s, {}}}).exitCode, 1);
        QCOMPARE(run({{u"/nowhere"_s, {}}}).exitCode, 127);
    }

    void aResultIsPostedOnceMore()
    {
        int failures = 1;
        DiagnosticsScene scene([&](const WebRequest &request) {
            if (request.path == "/api/checkin.php")
                return WebServer::reply(R"({"commands":[{"id":"a","action":"x"}]})");
            return WebServer::reply({}, failures-- > 0 ? 500 : 200);
        });
        const QString result = u"a|1|Unsupported diagnostic action: x"_s;
        scene.start();
        QCOMPARE(scene.results(), QStringList{result});
        QCOMPARE(scene.service.lastError(), u"The diagnostics server returned an unexpected status."_s);
        scene.pass(599);
        QCOMPARE(scene.server.connections(), 2);
        scene.pass(1);
        // The one of before comes first, then that of the new check-in.
        QCOMPARE(scene.results().size(), 3);
        QCOMPARE(scene.server.requests().at(2).path, "/api/command-result.php");
        failures = 99;
        for (int i = 0; i < 3; ++i)
            scene.pass(600);
        QCOMPARE(scene.results().size(), 3 + 1 + 2 + 2);
    }

    void failuresAreSaid()
    {
        const std::pair<QByteArray, QString> answers[] = {
            {WebServer::reply("{}", 503), u"The diagnostics server returned an unexpected status."_s},
            {WebServer::reply("[]"), u"The diagnostics response was not valid JSON."_s},
            {WebServer::redirect(u"http://localhost/"_s, 307),
             u"127.0.0.1 redirects to another host, localhost, which is not followed."_s}};
        for (const auto &[answer, problem] : answers) {
            DiagnosticsScene scene([&answer = answer](const WebRequest &) { return answer; });
            scene.start();
            QCOMPARE(scene.service.statusMessage(), u"Diagnostics check-in failed: "_s + problem);
            QVERIFY(scene.service.lastError() == problem && !scene.service.lastCheckinAt());
        }
    }

    void nothingIsSentWhileItIsOffOrHasNoAddress()
    {
        DiagnosticsScene scene([](const WebRequest &) { return QByteArray(); });
        scene.settings.remoteDiagnosticsEnabled.set(false);
        scene.start();
        scene.pass(6000);
        QCOMPARE(scene.service.statusMessage(), u"Remote diagnostics are off."_s);
        scene.settings.diagnosticsEndpoint.set(u"https://diagnostics.moorix.example/"_s);
        scene.settings.remoteDiagnosticsEnabled.set(true);
        QCOMPARE(scene.service.statusMessage(), u"Set a diagnostics URL to enable check-ins."_s);
        QCOMPARE(scene.server.connections(), 0);
        // Switching off drops the check-in in progress; a second one never begins beside it.
        scene.settings.diagnosticsEndpoint.set(scene.server.url());
        QCOMPARE(scene.service.statusMessage(), u"Remote diagnostics are waiting for commands."_s);
        scene.service.performCheckin();
        scene.now = scene.now.addSecs(600);
        scene.service.tick();
        QTRY_COMPARE(scene.server.requests().size(), 1);
        scene.settings.remoteDiagnosticsEnabled.set(false);
        QVERIFY(!scene.service.isCheckingIn() && !scene.service.isRunning());
        QCOMPARE(scene.server.connections(), 1);
    }
};

MOORIX_TEST(RemoteDiagnosticsServiceTest)
#include "RemoteDiagnosticsServiceTest.moc"
