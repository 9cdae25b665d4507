// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "support/WebServer.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>

#include <csignal>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// `moorix update` and `moorix diagnostics`, the program itself, against a real server on loopback.
class EndpointCommandsTest final : public QObject
{
    Q_OBJECT

    TestTree m_tree;
    QByteArray m_out;
    QString m_err;

    void begin(QProcess &process, const QString &command, const QString &endpoint)
    {
        m_tree.write("config/Moorix/preferences.json",
                     u"{\"updateEndpoint\":\"%1\",\"diagnosticsEndpoint\":\"%1\"}"_s.arg(endpoint).toUtf8());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, m_tree.path());
        environment.insert(u"XDG_DATA_HOME"_s, m_tree.path("data"));
        environment.insert(u"XDG_CONFIG_HOME"_s, m_tree.path("config"));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(MOORIX_BINARY), command.split(u' '));
    }
    int end(QProcess &process)
    {
        QSignalSpy finished(&process, &QProcess::finished);
        if (process.state() != QProcess::NotRunning && !finished.wait(20'000))
            return -1;
        m_out = process.readAllStandardOutput();
        m_err = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    int run(const QString &command, const QString &endpoint)
    {
        QProcess process;
        begin(process, command, endpoint);
        return end(process);
    }

private slots:
    void initTestCase() { m_tree.write("data/Moorix/servers.json", R"({"folders": [], "servers": []})"); }

    void updatesAreCheckedAndDownloaded()
    {
        WebServer server([](const WebRequest &request) {
            if (request.path == "/a.dmg")
                return WebServer::reply("installer");
            return WebServer::reply(R"({"version":"999","url":"http://)" + request.headers.value("host") + "/a.dmg\"}");
        });
        QCOMPARE(run(u"update check"_s, server.url()), 0);
        QCOMPARE(m_out, "Update available: v999\n");
        QCOMPARE(run(u"update check --json"_s, server.url()), 0);
        QCOMPARE(QJsonDocument::fromJson(m_out)[u"fileName"].toString(), u"a.dmg"_s);
        QCOMPARE(run(u"update download"_s, server.url()), 0);
        QCOMPARE(contentOf(QString::fromUtf8(m_out).trimmed()), "installer");
        QCOMPARE(run(u"update check"_s, u"https://updates.moorix.example/update.php"_s), 1);
        QCOMPARE(m_err, u"Update checks are not configured.\n"_s);
        QCOMPARE(run(u"update"_s, {}), 2);
    }

    void diagnosticsCheckInOnce()
    {
        WebServer server([](const WebRequest &request) {
            const bool isCheckin = request.path == "/update.php";
            return WebServer::reply(R"({"commands":[{"id":"1","action":"system_snapshot"}]})", isCheckin ? 200 : 500);
        });
        QCOMPARE(run(u"diagnostics checkin --dry-run"_s, server.url()), 0);
        QCOMPARE(QJsonDocument::fromJson(m_out)[u"saved_servers"].toInt(-1), 0);
        QCOMPARE(server.connections(), 0);
        QCOMPARE(run(u"diagnostics checkin"_s, server.url()), 3);
        QVERIFY(server.requests().last().body.contains("MB used by Moorix"));
        QCOMPARE(run(u"diagnostics checkin"_s, {}), 1);
        QCOMPARE(m_err, u"Set a diagnostics URL to enable check-ins.\n"_s);
    }

    void anInterruptEndsTheWait()
    {
        WebServer server([](const WebRequest &) { return QByteArray(); });
        QProcess process;
        begin(process, u"update check"_s, server.url());
        QTRY_COMPARE(server.requests().size(), 1);
        ::kill(pid_t(process.processId()), SIGINT);
        QCOMPARE(end(process), 1);
        QCOMPARE(m_err, u"Cancelled.\n"_s);
    }
};

MOORIX_TEST(EndpointCommandsTest)
#include "EndpointCommandsTest.moc"
