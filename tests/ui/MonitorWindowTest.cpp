// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Monitoring.h"
#include "app/ServerConnections.h"
#include "platform/Preferences.h"
#include "support/TestServer.h"
#include "ui/WindowBench.h"
#include "ui/monitor/HistoryGraph.h"
#include "ui/monitor/HostColumn.h"
#include "ui/monitor/HostText.h"
#include "ui/monitor/MonitorTray.h"
#include "ui/monitor/ProcessModel.h"
#include "ui/monitor/ProcessTreeView.h"

#include <QHeaderView>
#include <QMenu>
#include <QProcess>
#include <QRegularExpression>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The program with the monitor in its window.
struct MonitorBench
{
    explicit MonitorBench(const std::shared_ptr<ProcessRunner> &clients = std::make_shared<FakeProcessRunner>())
        : window({}, clients)
    {
    }

    void showMonitor() const { window.key(Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier); }
    HostColumn *column(int index) const { return window.window->findChildren<HostColumn *>().value(index); }
    QString text(int column, const char *card, const char *label = "cardValue") const
    {
        const auto *found = this->column(column)->findChild<QWidget *>(QString::fromLatin1(card));
        const auto *shown = found ? found->findChild<QLabel *>(QString::fromLatin1(label)) : nullptr;
        return shown && shown->isVisible() ? shown->text() : QString();
    }
    QString message(int column) const
    {
        const auto shown = [&](const char *name) {
            const auto *label = this->column(column)->findChild<QLabel *>(QString::fromLatin1(name));
            return label->isVisible() ? label->text() : QString();
        };
        return shown("hostMessageTitle") + u'|' + shown("hostMessageText");
    }
    const ProcessModel &processes() const
    {
        return *qobject_cast<ProcessModel *>(window.find<QTreeView>("processList")->model());
    }

    WindowBench window;
    AppModel &model = *window.model;
};

} // namespace

/// The monitor in the window, on the machine the tests run on and a real server.
class MonitorWindowTest final : public QObject
{
    Q_OBJECT

private slots:
    void thisComputerIsReadOnlyWhileItIsSeen()
    {
        MonitorBench bench;
        LocalMonitor &local = bench.model.monitoring().local();
        QVERIFY(!local.isRunning());
        bench.showMonitor();
        QVERIFY(local.isRunning());
        QTRY_VERIFY(bench.text(0, "cardUptime").contains(QRegularExpression(u"^\\d+ (min|h|d)"_s)));
        QTRY_VERIFY(bench.text(0, "cardDisk").endsWith(u" %"));
        QTRY_VERIFY(bench.text(0, "cardProcesses").toInt() > 3);
        QTRY_VERIFY(bench.text(0, "cardLoad").endsWith(u" %"));
        QCOMPARE(bench.window.window->windowTitle(), u"Monitor — Moorix"_s);
        QCOMPARE(bench.window.find<QLabel>("noServerTitle")->text(), u"No server connected"_s);
        bench.window.window->showMinimized();
        QTRY_VERIFY(!local.isRunning());
        bench.window.window->showNormal();
        QTRY_VERIFY(local.isRunning());
        bench.window.key(Qt::Key_Escape);
        QVERIFY(!local.isRunning());
        QVERIFY(bench.window.list(Side::left)->isVisible());
    }

    void aServerStandsBesideItAndComesBackAfterARestart()
    {
        const TestServer sshd;
        MonitorBench bench(std::make_shared<IsolatedClients>(sshd.knownHostsPath()));
        const ServerConnection server = sshd.connection();
        bench.model.servers().upsert(server);
        bench.showMonitor();
        bench.model.monitoring().setChosen(server.id, true);
        QTRY_COMPARE(bench.message(1), u"Reading metrics from Test server|"_s);
        QVERIFY(!bench.window.find("noServer"));
        QTRY_VERIFY_WITH_TIMEOUT(bench.text(1, "cardProcesses").toInt() > 3, 20000);
        QTRY_COMPARE(bench.message(1), u"|"_s);
        for (const char *card : {"cardLoad", "cardMemory", "cardDisk", "cardUptime", "cardCores"})
            QVERIFY2(!bench.text(1, card).isEmpty() && bench.text(1, card) != u"—"_s, card);

        bench.window.restart();
        bench.showMonitor();
        QTRY_VERIFY(bench.column(1) && bench.column(1)->isVisible());
        WindowBench::click(bench.column(1)->findChild<QWidget *>(u"hostRemove"_s));
        QTRY_VERIFY(!bench.column(1));
        QVERIFY(bench.window.find("noServer"));
    }

    void whatCannotBeReadIsSaidInItsPlace()
    {
        MonitorBench bench(std::make_shared<FakeProcessRunner>([](const ProcessRequest &request) {
            return request.program == u"/usr/bin/sftp"_s ? WindowBench::refusal(request) : FakeProcessRunner::success();
        }));
        ServerConnection ftp = bench.window.addServer(u"files"_s);
        ftp.networkProtocol = NetworkProtocol::ftp;
        bench.model.servers().upsert(ftp);
        const ServerConnection down = bench.window.addServer(u"down"_s);
        bench.showMonitor();
        bench.model.monitoring().setChosen(ftp.id, true);
        bench.model.monitoring().setChosen(down.id, true);
        QTRY_VERIFY(bench.message(2).startsWith(u"Couldn't read server metrics|Could not connect: down answers"));
        QTRY_COMPARE(bench.message(1), u"Server metrics need SSH|FTP servers can't run commands — server metrics are "
                                       "available for SFTP and SSH connections."_s);
        bench.model.removeServer(down.id);
        QTRY_VERIFY(!bench.column(2));
    }

    void aDisconnectedServerSaysSoAndIsConnectedByItsButton()
    {
        MonitorBench bench(std::make_shared<FakeProcessRunner>([](const ProcessRequest &request) {
            if (request.takeOutput)
                request.takeOutput("@@CORES@@\n4\n");
            return FakeProcessRunner::success("Remote working directory: /\n");
        }));
        const ServerConnection server = bench.window.addServer(u"web"_s);
        bench.model.tabs(Side::right).openServer(server, std::nullopt, std::nullopt);
        QTRY_VERIFY(bench.model.connections().isConnected(server.id));
        bench.showMonitor();
        bench.model.monitoring().setChosen(server.id, true);
        QTRY_COMPARE(bench.text(1, "cardCores"), u"4"_s);
        QVERIFY(!bench.window.find("hostConnect"));
        bench.model.connections().disconnect(server.id);
        QTRY_VERIFY(bench.message(1).startsWith(u"Disconnected|"));
        QCOMPARE(bench.text(1, "cardCores"), QString());
        WindowBench::click(bench.window.find("hostConnect"));
        QTRY_COMPARE(bench.text(1, "cardCores"), u"4"_s);
        QCOMPARE(bench.message(1), u"|"_s);
    }

    void itIsThereAtOnceForWhoeverWantsItSo()
    {
        MonitorBench bench;
        bench.model.settings().openMonitorOnLaunch.set(true);
        bench.window.restart();
        QVERIFY(bench.window.find("monitorArea"));
        QVERIFY(bench.window.model->monitoring().local().isRunning());
        bench.window.key(Qt::Key_Escape);
        QVERIFY(!bench.window.find("monitorArea"));
    }

    void theTrayFollowsItsSettings()
    {
        MonitorBench bench;
        SettingsStore &settings = bench.model.settings();
        MonitorTray tray(bench.model, nullptr, [] { return true; });
        const auto lines = [&tray] {
            QStringList names;
            for (const QAction *action : tray.menu()->actions()) {
                if (action->isSeparator())
                    break;
                names << action->text().section(u' ', 0, 0);
            }
            return names;
        };
        QVERIFY(bench.model.monitoring().local().isRunning());
        QTRY_COMPARE(lines(), (QStringList{u"CPU"_s, u"Memory"_s, u"Network"_s}));
        settings.widgetDisk.set(true);
        settings.widgetCPU.set(false);
        QTRY_COMPARE(lines(), (QStringList{u"Memory"_s, u"Disk"_s, u"Network"_s}));
        settings.showMenuBarIcon.set(false);
        QVERIFY(!tray.menu() && !bench.model.monitoring().local().isRunning());
        settings.showMenuBarIcon.set(true);
        QTRY_COMPARE(lines().size(), 3);
        for (Setting<bool> *widget : {&settings.widgetRAM, &settings.widgetDisk, &settings.widgetNet})
            widget->set(false);
        QCOMPARE(lines(), QStringList());
        QVERIFY(!bench.model.monitoring().local().isRunning());
    }

    void aServerThatIsLostKeepsItsCards()
    {
        std::atomic<bool> isDown = false;
        MonitorBench bench(std::make_shared<FakeProcessRunner>([&isDown](const ProcessRequest &request) {
            if (isDown)
                return WindowBench::refusal(request);
            if (request.program == u"/usr/bin/sftp"_s)
                return ProcessResult{0, false, "sftp> pwd\nRemote working directory: /\nsftp> quit\n",
                                     "Connected to x.\n"};
            if (request.takeOutput)
                request.takeOutput("@@CORES@@\n4\n@@HOST@@\nweb-01\n");
            return ProcessResult();
        }));
        const ServerConnection server = bench.window.addServer(u"web"_s);
        bench.showMonitor();
        bench.model.monitoring().setChosen(server.id, true);
        QTRY_COMPARE(bench.text(1, "cardCores"), u"4"_s);
        QCOMPARE(bench.text(1, "cardMemory"), u"—"_s);
        isDown = true;
        MonitoredHost &host = *bench.model.monitoring().servers().front();
        host.tick();
        QTRY_VERIFY(bench.message(1).startsWith(u"Couldn't read server metrics|"));
        QCOMPARE(bench.column(1)->findChild<QLabel *>(u"hostStale"_s)->text(),
                 u"stale since "_s + host.readAt().toLocalTime().toString(u"HH:mm"_s));
        QCOMPARE(bench.text(1, "cardCores"), u"4"_s);
        isDown = false;
        host.tick();
        QTRY_COMPARE(bench.message(1), u"|"_s);
        QVERIFY(!bench.column(1)->findChild<QLabel *>(u"hostStale"_s)->isVisible());
    }

    void theTreeIsFoldedByKeysAndHasNoSignalsForNobody()
    {
        MonitorBench bench;
        bench.showMonitor();
        WindowBench::click(bench.window.find("monitorProcesses"));
        QTRY_VERIFY(bench.processes().rowCount() > 3);
        auto *list = bench.window.find<QTreeView>("processList");
        list->setFocus();
        list->setCurrentIndex({});
        bench.window.key(Qt::Key_Delete);
        QCOMPARE(bench.window.find<QLabel>("messageBarText")->text(), u"Select a process first."_s);
        WindowBench::click(bench.window.find("processTree"));
        const QModelIndex first = bench.processes().indexOf(1);
        QVERIFY(first.data(ProcessModel::hasChildrenRole).toBool());
        const int all = bench.processes().rowCount();
        list->setFocus();
        list->setCurrentIndex(first);
        bench.window.key(Qt::Key_Left);
        QVERIFY(bench.processes().rowCount() < all);
        QCOMPARE(list->currentIndex(), bench.processes().indexOf(1));
        bench.window.key(Qt::Key_Return);
        QVERIFY(!bench.processes().indexOf(1).data(ProcessModel::isCollapsedRole).toBool());
    }

    void aProcessIsFoundAndEnded()
    {
        MonitorBench bench;
        QProcess child;
        child.start(u"sleep"_s, {u"987654"_s});
        QVERIFY(child.waitForStarted());
        bench.showMonitor();
        WindowBench::click(bench.window.find("monitorProcesses"));
        QTRY_VERIFY(bench.processes().rowCount() > 3);
        bench.window.key(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), u"987654"_s);
        QTRY_COMPARE(bench.processes().rowCount(), 1);
        WindowBench::click(bench.window.find("processTree"));
        // Its ancestors are shown with it.
        QVERIFY(bench.processes().rowCount() > 1);
        const QModelIndex row = bench.processes().indexOf(child.processId());
        QVERIFY(row.data(ProcessModel::depthRole).toInt() > 0);
        auto *list = bench.window.find<QTreeView>("processList");
        list->setFocus();
        list->setCurrentIndex(row);
        // The choice outlives new readings and another order.
        emit list->header()->sectionClicked(int(ProcessColumn::memory));
        bench.model.monitoring().local().tick();
        bench.window.key(Qt::Key_Delete);
        bench.window.key(Qt::Key_Escape);
        QCOMPARE(child.state(), QProcess::Running);
        list->setFocus();
        bench.window.key(Qt::Key_Delete);
        bench.window.key(Qt::Key_Return);
        QTRY_COMPARE(child.state(), QProcess::NotRunning);
        QCOMPARE(child.exitCode(), 15);
    }

    void aProcessThatEndsDuringTheQuestionIsNotTakenForAnother()
    {
        MonitorBench bench;
        QProcess child;
        child.start(u"sleep"_s, {u"987653"_s});
        QVERIFY(child.waitForStarted());
        bench.showMonitor();
        WindowBench::click(bench.window.find("monitorProcesses"));
        QTRY_VERIFY(bench.processes().indexOf(child.processId()).isValid());
        auto *list = bench.window.find<QTreeView>("processList");
        list->setFocus();
        list->setCurrentIndex(bench.processes().indexOf(child.processId()));
        bench.window.key(Qt::Key_Delete);
        const qint64 pid = child.processId();
        child.kill();
        QVERIFY(child.waitForFinished());
        bench.model.monitoring().local().tick();
        QTRY_VERIFY(!bench.processes().indexOf(pid).isValid());
        bench.window.key(Qt::Key_Return);
        // Between the question and the answer nothing is there to be read.
        const auto message = [&bench] {
            const auto *label = bench.window.find<QLabel>("messageBarText");
            return label ? label->text() : QString();
        };
        QTRY_COMPARE(message(), u"“sleep” (process %1) has ended already."_s.arg(pid));
    }

    void aShortageIsToldAtItsCard()
    {
        MonitorBench bench(std::make_shared<FakeProcessRunner>([](const ProcessRequest &request) {
            if (request.program == u"/usr/bin/sftp"_s)
                return ProcessResult{0, false, "Remote working directory: /\nsftp> quit\n", "Connected to x.\n"};
            if (request.takeOutput)
                request.takeOutput("@@MEM@@\nMemTotal: 100 kB\nMemAvailable: 7 kB\n@@PS@@\n1 2.0 41.0 firefox\n");
            return ProcessResult();
        }));
        const ServerConnection server = bench.window.addServer(u"web"_s);
        bench.showMonitor();
        bench.model.monitoring().setChosen(server.id, true);
        MonitoredHost &host = *bench.model.monitoring().servers().front();
        QTRY_VERIFY(host.stats());
        QCOMPARE(bench.text(1, "cardMemory", "cardAlert"), QString());
        for (int reading = 0; reading < 6; ++reading) {
            const QDateTime before = host.readAt();
            host.tick();
            QTRY_VERIFY(host.readAt() != before);
        }
        QCOMPARE(bench.text(1, "cardMemory", "cardAlert"), u"Memory is 93 % full. firefox uses 41 %."_s);
        QCOMPARE(bench.text(1, "cardDisk", "cardAlert"), QString());
    }

    void graphsTellValueAndTimeAndLeaveGaps()
    {
        MetricHistory history(10);
        const QDateTime start(QDate(2026, 3, 1), QTime(12, 0));
        for (int second = 0; second <= 60; second += 30)
            history.append(start.addSecs(second), second == 30 ? std::nullopt : std::optional<double>(second));
        HistoryGraph graph({{&history, Theme::Color::accent, u"up"_s}},
                           {std::nullopt, 4000, [](double value) { return QString::number(value); }});
        graph.resize(600, 80);
        QCOMPARE(graph.textAt(598), u"up 60  ·  12:01:00"_s);
        QCOMPARE(graph.textAt(2), u"up 0  ·  12:00:00"_s);
        QCOMPARE(graph.textAt(300), QString());
        QVERIFY(!graph.grab().isNull());
    }

    void theTrayShowsWhatIsChosenAndKnown()
    {
        LocalStats stats;
        stats.cpu = CpuUse{30, 7, 50, 0};
        stats.memory = MemoryUse{100, 59, 0, 0};
        using enum MonitorTray::Widget;
        QCOMPARE(MonitorTray::lines(stats, {cpu, memory, disk, battery}),
                 (QStringList{u"CPU 37 %"_s, u"Memory 41 %"_s, u"Disk (/) —"_s}));
        const QImage picture = MonitorTray::picture(stats, {cpu, memory}, 32).toImage();
        QCOMPARE(picture.pixelColor(4, 28), Theme::color(Theme::Color::accent));
        QVERIFY(picture.pixelColor(4, 8) != picture.pixelColor(4, 28));
    }
};

MOORIX_TEST(MonitorWindowTest)
#include "MonitorWindowTest.moc"
