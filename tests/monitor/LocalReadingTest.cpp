// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Error.h"
#include "monitor/LocalSampler.h"
#include "monitor/LocalSensors.h"
#include "support/TestMain.h"

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

constexpr auto mountInfo = R"(22 1 8:2 / / rw - ext4 /dev/sda2 rw
23 22 0:5 / /proc rw - proc proc rw
24 22 8:2 /srv /var/bound rw - ext4 /dev/sda2 rw
25 22 8:3 / /home/my\040disk rw shared:3 master:1 - ext4 /dev/sda3 rw
26 22 7:1 / /snap/x ro - squashfs /dev/loop1 ro
27 22 0:50 / /net rw - nfs4 server:/export rw
28 22 0:51 / /run rw - tmpfs tmpfs rw
29 22 8:9 / /cut
)";

/// A prepared /proc and /sys, and a clock for the rates.
struct Machine
{
    Machine()
    {
        tree.write("proc/stat", "cpu  100 0 100 800 0 0 0 0\ncpu0 50 0 50 400 0 0 0 0\ncpu1 50 0 50 400 0 0 0 0\n");
        tree.write("proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 400 kB\nSwapTotal: 10 kB\nSwapFree: 4 kB\n");
        tree.write("proc/uptime", "3600.5 7000\n");
        tree.write("proc/loadavg", "0.5 0.25 0.75 1/2 3\n");
        tree.write("proc/self/mountinfo", mountInfo);
        tree.write("proc/diskstats", "8 2 sda2 1 0 1000 0 1 0 1000 0 0 0 0\n");
        tree.write("proc/net/dev", "Inter-| x\n face |y\n  lo: 9 0 0 0 0 0 0 0 9 0\neth0:1000 0 0 0 0 0 0 0 500 0\n"
                                   "br0: 5000 0 0 0 0 0 0 0 5000 0\n");
        tree.write("sys/class/net/eth0/device/x", {});
        process(42, 100, 7);
    }
    void process(int pid, int ticks, int started, const QByteArray &name = "a) (b\nc",
                 const QByteArray &program = QByteArray("run\0me", 6))
    {
        const QByteArray folder = "proc/" + QByteArray::number(pid);
        tree.write(QString::fromLatin1(folder + "/stat"),
                   QByteArray::number(pid) + " (" + name + ") S 1 1 1 0 -1 4194304 1 1 1 1 " +
                       QByteArray::number(ticks) + " 0 0 0 20 0 3 0 " + QByteArray::number(started) + " 9 10 0\n");
        tree.write(QString::fromLatin1(folder + "/cmdline"), program);
    }
    LocalStats read(double afterSeconds = 1)
    {
        elapsed += qint64(afterSeconds * 1e9);
        return sampler.sample(LocalSampler::Processes::include);
    }

    TestTree tree;
    qint64 elapsed = 1;
    LocalSampler sampler{{tree.path("proc"), tree.path("sys"), systemNow, [this] { return elapsed; }}};
};

} // namespace

/// This machine, as the kernel's files tell of it.
class LocalReadingTest final : public QObject
{
    Q_OBJECT

private slots:
    void ratesAreOfTheTimeBetweenTwoReadings()
    {
        Machine machine;
        const LocalStats first = machine.read();
        QVERIFY(!first.cpu && !first.network() && !first.rootDisk()->rate);
        machine.tree.write("proc/stat",
                           "cpu  140 10 120 900 20 5 5 0\ncpu1 60 0 60 480 0 0 0 0\ncpu2 1 1 1 1 1 1 1 1\n");
        machine.tree.write("proc/diskstats", "8 2 sda2 1 0 1200 0 1 0 1100 0 0 0 0\n");
        machine.tree.write("proc/net/dev", "eth0:3000 0 0 0 0 0 0 0 700 0\nbr0: 9000 0 0 0 0 0 0 0 9000 0\n");
        const LocalStats second = machine.read(2);
        QCOMPARE(second.cpu, std::optional(CpuUse{100 * 50 / 200., 100 * 30 / 200., 10, 0}));
        QCOMPARE(second.cores, (QList<CoreUse>{{1, CpuUse{10, 10, 0, 0}}, {2, std::nullopt}}));
        QCOMPARE(second.rootDisk()->rate, std::optional(Throughput{100 * 512, 50 * 512}));
        QCOMPARE(second.network(), std::optional(Throughput{1000, 100}));
        QCOMPARE(second.memory, (std::optional(MemoryUse{1000 * 1024, 400 * 1024, 10 * 1024, 4 * 1024})));
        QCOMPARE(second.load, (QList<double>{0.5, 0.25, 0.75}));
        QCOMPARE(second.uptime, 3600.5);
    }

    void countersThatGoBackAndLongPausesMakeNoRates()
    {
        Machine machine;
        machine.read();
        machine.tree.write("proc/stat", "cpu  90 0 110 880 0 0 0 0\n");
        machine.tree.write("proc/net/dev", "eth0:10 0 0 0 0 0 0 0 700 0\n");
        const LocalStats second = machine.read();
        QCOMPARE(second.cpu, std::optional(CpuUse{0, 100 * 10 / 90., 0, 0}));
        QVERIFY(!second.network());
        machine.tree.write("proc/stat", "cpu  190 0 110 880 0 0 0 0\n");
        QVERIFY(!machine.read(60).cpu);
    }

    void processesAreToldApartByTheirStart()
    {
        Machine machine;
        LocalProcess seen = machine.read().processes->front();
        QCOMPARE(seen.name, u"a) (b\\nc"_s);
        QCOMPARE(seen.commandLine, u"run me"_s);
        QCOMPARE(std::tuple(seen.pid, seen.parent, seen.threads, seen.state, seen.startTime),
                 std::tuple(42, 1, 3, 'S', 7U));
        QVERIFY(!seen.cpu);
        machine.process(42, 90, 8, "a-very-long-nam", "/bin/a-very-long-name-indeed");
        machine.process(43, 0, 9);
        const LocalStats second = machine.read();
        QCOMPARE(second.processes->size(), 2U);
        seen = second.processes->front();
        QCOMPARE(seen.name, u"a-very-long-name-indeed"_s);
        QVERIFY(seen.cpu && *seen.cpu > 0);
        machine.tree.write("proc/42/stat", "42 (cut off) S 1");
        QCOMPARE(machine.read().processes->size(), 1U);
    }

    void fileSystemsWithFilesOfTheirOwnAreShownOnce()
    {
        const auto mounts = localDisks::parseMounts(mountInfo);
        QStringList paths;
        for (const auto &mount : mounts)
            paths << mount.disk.mountPoint + (mount.disk.isNetwork ? u" far"_s : QString());
        QCOMPARE(paths, (QStringList{u"/"_s, u"/home/my disk"_s, u"/net far"_s}));
        QVERIFY(localDisks::space(u"/"_s)->total > 0);
        QVERIFY(!localDisks::space(u"/does/not/exist"_s));
    }

    void sensorsThatAreNotThereSayNothing()
    {
        const TestTree sys{
            {"class/power_supply/mouse/type", "Battery\n"}, {"class/power_supply/mouse/scope", "Device\n"},
            {"class/power_supply/mouse/capacity", "7\n"},   {"class/hwmon/hwmon0/name", "chip\n"},
            {"class/hwmon/hwmon0/temp1_input", "45500\n"},  {"class/hwmon/hwmon0/temp1_label", "Core 0\n"},
            {"class/hwmon/hwmon0/temp2_input", "-273150\n"}};
        QVERIFY(!localSensors::battery(sys.path()));
        QCOMPARE(localSensors::temperatures(sys.path()), (QList<Temperature>{{u"chip Core 0"_s, 45.5}}));
        sys.write("class/power_supply/BAT0/type", "Battery\n");
        sys.write("class/power_supply/BAT0/energy_now", "30\n");
        sys.write("class/power_supply/BAT0/energy_full", "40\n");
        sys.write("class/power_supply/BAT0/status", "Charging\n");
        QCOMPARE(localSensors::battery(sys.path()), (std::optional(Battery{75, u"Charging"_s})));
    }

    void withoutKernelFilesThereIsASentence()
    {
        const TestTree empty;
        LocalSampler sampler({empty.path("proc"), empty.path("sys"), systemNow, {}});
        QVERIFY(messageOf([&] { sampler.sample(LocalSampler::Processes::include); }).contains(u"tells nothing"));
        QVERIFY(!CpuTimes::parse("cpu\ncpu0 1 2\ncpux\n\n").size());
        QVERIFY(!ProcessStat::parse(")1 (") && !ProcessStat::parse("") && !ProcessStat::parse("x (y) S 1"));
    }
};

MOORIX_TEST(LocalReadingTest)
#include "LocalReadingTest.moc"
