// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LocalMonitor.h"
#include "monitor/ProcessRows.h"
#include "monitor/ProcessSignals.h"
#include "support/TestMain.h"

#include <QProcess>
#include <QSemaphore>

#include <algorithm>
#include <csignal>
#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

std::optional<LocalProcess> processOf(const LocalMonitor &monitor, qint64 pid)
{
    if (!monitor.stats() || !monitor.stats()->processes)
        return std::nullopt;
    const LocalProcesses &all = *monitor.stats()->processes;
    const auto found = std::find_if(all.begin(), all.end(), [pid](const LocalProcess &p) { return p.pid == pid; });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

LocalProcess process(qint64 pid, qint64 parent, const char *name, double cpu)
{
    LocalProcess result;
    result.pid = pid;
    result.parent = parent;
    result.startTime = quint64(pid);
    result.name = QString::fromLatin1(name);
    result.cpu = cpu;
    return result;
}

QString shown(const LocalProcesses &processes, const ProcessArrangement &how)
{
    QStringList rows;
    for (const ProcessRow &row : arrange(processes, how))
        rows << QString(row.depth, u'.') + processes[row.index].name + (row.isContext ? u"?"_s : QString());
    return rows.join(u' ');
}

} // namespace

/// The machine the tests run on.
class LocalMonitorTest final : public QObject
{
    Q_OBJECT

private slots:
    void itReadsOnlyWhileSomebodyLooks()
    {
        LocalMonitor monitor;
        QVERIFY(!monitor.isRunning());
        {
            QObject tray;
            QObject window;
            monitor.watch(&tray, LocalMonitor::Want::vitals);
            QTRY_VERIFY(monitor.stats() && monitor.stats()->rootDisk() && monitor.stats()->rootDisk()->space);
            QVERIFY(!monitor.stats()->processes);
            monitor.watch(&window, LocalMonitor::Want::processes);
            monitor.tick();
            QTRY_VERIFY(processOf(monitor, ::getpid()));
            monitor.tick();
            QTRY_VERIFY(processOf(monitor, ::getpid())->cpu && monitor.stats()->cpu);
            monitor.unwatch(&window);
            QVERIFY(monitor.isRunning());
        }
        QVERIFY(!monitor.isRunning());
        QCOMPARE(monitor.stats()->asRemoteStats().topProcesses.size(), 8);
    }

    void aFileServerThatDoesNotAnswerHoldsNothingUp()
    {
        TestTree tree;
        tree.write("meminfo", "MemTotal: 1000 kB\nMemAvailable: 400 kB\n");
        tree.write("self/mountinfo", "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n2 1 0:50 / /net rw - nfs4 server:/e rw\n");
        QSemaphore answer;
        QSemaphore asked;
        LocalSampler::Options options;
        options.proc = tree.path();
        options.readSpace = [&](const QString &mountPoint) {
            if (mountPoint == u"/net"_s) {
                asked.release();
                answer.acquire();
            }
            return std::optional(DiskSpace{100, 40, 60, 0, 0});
        };
        LocalMonitor monitor(options);
        monitor.watch(this, LocalMonitor::Want::vitals);
        const auto disk = [&](int index) {
            return monitor.stats() ? monitor.stats()->disks.value(index) : LocalDisk();
        };
        QTRY_VERIFY(disk(0).space && asked.available() == 1);
        QVERIFY(monitor.stats()->memory && !disk(1).space && !disk(1).isSilent);
        while (!disk(1).isSilent) {
            const QDateTime before = monitor.stats()->time;
            monitor.tick();
            QTRY_VERIFY(monitor.stats()->time != before);
        }
        // One worker waits for it, not one for each reading.
        QCOMPARE(asked.available(), 1);
        QVERIFY(disk(0).space && !disk(0).isSilent);
        answer.release();
        QTRY_VERIFY(disk(1).space);
        monitor.tick();
        QTRY_VERIFY(!disk(1).isSilent);
        answer.release(100);
        monitor.unwatch(this);
    }

    void aSignalReachesExactlyTheProcessThatWasShown()
    {
        LocalMonitor monitor;
        QProcess child;
        child.start(u"sleep"_s, {u"600"_s});
        QVERIFY(child.waitForStarted());
        monitor.watch(this, LocalMonitor::Want::processes);
        QTRY_VERIFY(processOf(monitor, child.processId()));
        LocalProcess target = *processOf(monitor, child.processId());
        QCOMPARE(target.name, u"sleep"_s);

        LocalProcess earlier = target;
        --earlier.startTime;
        using processSignals::Signal;
        const auto send = [](const LocalProcess &whom, Signal signal) {
            return messageOf([&] { processSignals::send(whom, signal); });
        };
        QVERIFY(send(earlier, Signal::kill).contains(u"Nothing was sent"));
        QCOMPARE(send(target, Signal::stop), QString());
        monitor.tick();
        QTRY_COMPARE(processOf(monitor, target.pid)->state, 'T');
        QCOMPARE(send(target, Signal::resume) + send(target, Signal::terminate), QString());
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitCode(), SIGTERM);
        QVERIFY(send(target, Signal::terminate).contains(u"has ended already"));
        target.pid = -1;
        QVERIFY(send(target, Signal::kill).contains(u"has ended already"));
        monitor.unwatch(this);
    }

    void rowsAreSortedFilteredAndMadeATree()
    {
        LocalProcesses all{process(1, 0, "init", 1), process(20, 1, "Shell", 0), process(30, 20, "make", 9),
                           process(31, 20, "idle", 0), process(40, 99, "orphan", 5)};
        ProcessArrangement how;
        QCOMPARE(shown(all, how), u"make orphan init Shell idle"_s);
        how.filter = u"SH"_s;
        QCOMPARE(shown(all, how), u"Shell"_s);
        how = {ProcessColumn::pid, true, true, {}, false, {}};
        QCOMPARE(shown(all, how), u"init .Shell ..make ..idle orphan"_s);
        how.filter = u"idle"_s;
        how.collapsed = {20};
        QCOMPARE(shown(all, how), u"init? .Shell? ..idle"_s);
        how.filter.clear();
        QCOMPARE(shown(all, how), u"init .Shell orphan"_s);
        // A circle, as a forged list might have, neither hides its processes nor hangs.
        all[0].parent = 20;
        all[0].startTime = all[1].startTime;
        how.collapsed.clear();
        QCOMPARE(arrange(all, how).size(), 5U);
        all[3].isOfKernel = true;
        QCOMPARE(arrange(all, how).size(), 4U);
    }
};

MOORIX_TEST(LocalMonitorTest)
#include "LocalMonitorTest.moc"
