// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ProgramHome.h"
#include "support/WebServer.h"

#include <QJsonDocument>
#include <QSignalSpy>

#include <csignal>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// `moorix update` and `moorix diagnostics`, the program itself, against a real server on loopback.
class EndpointCommandsTest final : public QObject
{
    Q_OBJECT

    ProgramHome m_home;
    QProcess m_process;

    /// The exit code and all that was said: "0|text".
    QByteArray run(const QString &command, const QString &endpoint)
    {
        m_home.tree.write("config/Moorix/preferences.json",
                          u"{\"updateEndpoint\":\"%1\",\"diagnosticsEndpoint\":\"%1\"}"_s.arg(endpoint).toUtf8());
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        QSignalSpy finished(&m_process, &QProcess::finished);
        m_home.start(m_process, command.split(u' '));
        if (!finished.wait(20000))
            qFatal("moorix did not end.");
        return QByteArray::number(m_process.exitCode()) + '|' + m_process.readAll();
    }

private slots:
    void updatesAreCheckedAndDownloaded()
    {
        WebServer server([](const WebRequest &request) { return WebServer::update(request); });
        QCOMPARE(run(u"update check"_s, server.url()), "0|Update available: v999\n");
        const QByteArray json = run(u"update check --json"_s, server.url()).mid(2);
        QCOMPARE(QJsonDocument::fromJson(json)[u"fileName"].toString(), u"Moorix-999.dmg"_s);
        QCOMPARE(run(u"update download"_s, server.url()),
                 "0|" + m_home.tree.path("home/Downloads/Moorix-999.dmg").toUtf8() + '\n');
        QCOMPARE(m_home.tree.read("home/Downloads/Moorix-999.dmg"), "installer");
        QCOMPARE(run(u"update check"_s, {}), "1|Update checks are not configured.\n");
    }

    void diagnosticsCheckInOnce()
    {
        WebServer server([](const WebRequest &request) {
            const bool isCheckin = request.path == "/update.php";
            return WebServer::reply(R"({"commands":[{"id":"1","action":"system_snapshot"}]})", isCheckin ? 200 : 500);
        });
        QVERIFY(run(u"diagnostics checkin --dry-run"_s, server.url()).contains("\"saved_servers\": 0"));
        QCOMPARE(server.connections(), 0);
        // The result could not be posted.
        QVERIFY(run(u"diagnostics checkin"_s, server.url()).startsWith("3|"));
        QVERIFY(server.requests().last().body.contains("MB used by Moorix"));
        QCOMPARE(run(u"diagnostics checkin"_s, {}), "1|Set a diagnostics URL to enable check-ins.\n");
    }

    void anInterruptEndsTheWait()
    {
        WebServer server([this](const WebRequest &) {
            ::kill(pid_t(m_process.processId()), SIGINT);
            return QByteArray();
        });
        QCOMPARE(run(u"update check"_s, server.url()), "1|Cancelled.\n");
    }
};

MOORIX_TEST(EndpointCommandsTest)
#include "EndpointCommandsTest.moc"
