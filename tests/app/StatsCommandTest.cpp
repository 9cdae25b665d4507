// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"
#include "servers/ServerLibrary.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

#include <cstdio>
#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// `moorix stats` on this machine and a real server.
class StatsCommandTest final : public QObject
{
    Q_OBJECT

    TestTree m_tree;
    std::unique_ptr<TestServer> m_sshd;
    CommandLine::Platform m_platform;
    QByteArray m_out;
    QByteArray m_err;

    int run(const QStringList &arguments)
    {
        QTemporaryFile out;
        QTemporaryFile err;
        const std::array streams{std::pair{stdout, &out}, std::pair{stderr, &err}};
        std::array<int, 2> before{};
        for (std::size_t i = 0; i < streams.size(); ++i) {
            streams[i].second->open();
            std::fflush(streams[i].first);
            before[i] = ::dup(::fileno(streams[i].first));
            ::dup2(streams[i].second->handle(), ::fileno(streams[i].first));
        }
        const int code = CommandLine::run(QStringList{u"moorix"_s, u"stats"_s} + arguments, m_platform);
        for (std::size_t i = 0; i < streams.size(); ++i) {
            std::fflush(streams[i].first);
            ::dup2(before[i], ::fileno(streams[i].first));
            ::close(before[i]);
            streams[i].second->seek(0);
        }
        m_out = out.readAll();
        m_err = err.readAll();
        return code;
    }
    static void compareWithThisMachine(const QJsonObject &stats)
    {
        QCOMPARE(stats[u"load"].toArray().size(), 3);
        QCOMPARE(stats[u"cores"].toInt(), int(::sysconf(_SC_NPROCESSORS_ONLN)));
        const double total = double(::sysconf(_SC_PHYS_PAGES)) * double(::sysconf(_SC_PAGESIZE)) / 1024;
        QVERIFY(std::abs(stats[u"memTotalKB"].toDouble() / total - 1) < 0.05);
        QVERIFY(stats[u"memUsedKB"].toDouble() > 0 && stats[u"memUsedKB"].toDouble() < total);
        QVERIFY(stats[u"diskUsedKB"].toDouble() <= stats[u"diskTotalKB"].toDouble());
        QVERIFY(stats[u"uptime"].toDouble() > 0 && stats[u"processCount"].toInt() > 1);
        const QJsonArray processes = stats[u"topProcesses"].toArray();
        QVERIFY(!processes.isEmpty() && processes.size() <= 8);
        for (const QJsonValue &process : processes)
            QCOMPARE(process.toObject().keys(), (QStringList{u"cpu"_s, u"id"_s, u"mem"_s, u"name"_s}));
        QVERIFY(stats[u"osVersion"].toString().startsWith(u"Linux "));
    }

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_tree.path("data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_tree.path("config")));
        m_sshd = std::make_unique<TestServer>();
        m_platform = {std::make_shared<IsolatedClients>(m_sshd->knownHostsPath()), std::make_shared<MemoryKeychain>()};
        ServerLibrary library = ServerLibrary::empty();
        ServerConnection web = m_sshd->connection();
        web.name = u"web"_s;
        ServerConnection files = serverAt(u"files.example"_s, u"ada"_s);
        files.networkProtocol = NetworkProtocol::ftp;
        ServerConnection closed = web;
        closed.id = QUuid::createUuid();
        closed.name = u"closed"_s;
        closed.username = TestServer::userWithoutShell();
        library.servers = {web, files, closed};
        m_tree.write("data/Moorix/servers.json", library.encode());
    }

    void cleanupTestCase()
    {
        m_sshd.reset();
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }

    void thisMachineAndAServerHaveTheSameForm()
    {
        QCOMPARE(run({u"--json"_s}), 0);
        const QJsonObject local = QJsonDocument::fromJson(m_out).object();
        compareWithThisMachine(local);
        QCOMPARE(run({u"web"_s, u"--json"_s}), 0);
        const QJsonObject remote = QJsonDocument::fromJson(m_out).object();
        compareWithThisMachine(remote);
        QCOMPARE(local.keys(), remote.keys());
        QVERIFY(m_out.indexOf("\"load\"") < m_out.indexOf("\"cores\"") &&
                m_out.indexOf("\"hostName\"") < m_out.indexOf("\"osVersion\""));
    }

    void theTableNamesEachFigure()
    {
        QCOMPARE(run({u"web"_s}), 0);
        for (const char *label : {"Host", "System", "Uptime", "CPU Load", "Cores", "Memory", "Disk (/)", "Processes"})
            QVERIFY2(m_out.contains(QByteArray("\n") + label + "  ") || m_out.startsWith(label), label);
    }

    void whatCannotBeToldIsSaid()
    {
        QCOMPARE(run({u"files.example"_s}), 1);
        QCOMPARE(QString::fromUtf8(m_err), u"Server metrics need SSH\nFTP servers can't run commands — server metrics "
                                           "are available for SFTP and SSH connections.\n"_s);
        QCOMPARE(run({u"nobody"_s}), 2);
        QCOMPARE(run({u"web"_s, u"more"_s}), 2);
        QVERIFY(m_out.isEmpty());
        if (TestServer::hasAccounts()) {
            QCOMPARE(run({u"closed"_s}), 1);
            QVERIFY(m_err.contains("did not run a command") && m_out.isEmpty());
        }
    }
};

MOORIX_TEST(StatsCommandTest)
#include "StatsCommandTest.moc"
