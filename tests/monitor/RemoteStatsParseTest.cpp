// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Json.h"
#include "monitor/RemoteStatsMonitor.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// The JSON of what is read from an output, on one line; only what differs from nothing at all.
QString read(const char *output)
{
    JsonWriter writer;
    JsonWriter nothing;
    RemoteStatsMonitor::parse(QString::fromUtf8(output)).writeJson(writer);
    RemoteStats().writeJson(nothing);
    QStringList lines = QString::fromUtf8(writer.bytes()).split(u'\n');
    for (const QString &line : QString::fromUtf8(nothing.bytes()).split(u'\n'))
        lines.removeOne(line);
    return lines.join(u' ').simplified();
}

} // namespace

/// What servers print, well or badly.
class RemoteStatsParseTest final : public QObject
{
    Q_OBJECT

private slots:
    void sections_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *output, const char *expected) {
            QTest::newRow(name) << QByteArray(output) << QString::fromUtf8(expected);
        };
        const char *macLoad = R"("load": [ 1.52, 1.61, 1.7 ],)";
        row("plural uptime", "@@LOAD@@\n12:01  up 3 days, 2 users, load averages: 1.52 1.61 1.70", macLoad);
        row("uptime with commas", "@@LOAD@@\n up 1 day, load average: 1.52, 1.61, 1.70\n", macLoad);
        row("the last of two averages", "@@LOAD@@\nload average load average: 1.52 1.61 1.70 9", macLoad);
        row("loadavg", "@@LOAD@@\n0.5 0.25 0.75 1/123 4567", R"("load": [ 0.5, 0.25, 0.75 ],)");
        row("two averages", "@@LOAD@@\n0.5 0.25", "");
        row("loadavg with a word", "@@LOAD@@\n0.5 x 0.75 1", "");
        row("what is no finite number", "@@LOAD@@\nnan inf 1e999\n@@UPTIME@@\ninf 1\n@@PS@@\n1 nan 0 x", "");
        row("total memory only", "@@MEM@@\nMemTotal: 8000000 kB", R"("memTotalKB": 8000000,)");
        row("memory", "@@MEM@@\nMemTotal:  800 kB\nMemAvailable: 300 kB", R"("memUsedKB": 500, "memTotalKB": 800,)");
        row("memory without end", "@@MEM@@\nMemTotal: 9223372036854775807\nMemAvailable: -9 kB",
            R"("memTotalKB": 9223372036854775807,)");
        row("disk", "@@DISK@@\n/dev/sda1  100  40 60 40% /", R"("diskUsedKB": 40, "diskTotalKB": 100,)");
        row("disk of three columns", "@@DISK@@\n/dev/sda1 100 40", "");
        row("disk with a dash", "@@DISK@@\ndevfs - 40 60 40% /", R"("diskUsedKB": 40,)");
        row("uptime and cores", "@@CORES@@\n\t +8 \n@@UPTIME@@\n12.5 99", R"("cores": 8, "uptime": 12.5,)");
        row("header only", "@@COUNT@@\n1\n", "");
        row("count", "@@COUNT@@\n     123\n", R"("processCount": 122,)");
        row("least count", "@@COUNT@@\n-9223372036854775808\n", "");
        row("host without kernel", "@@HOST@@\nweb-01\n", R"("hostName": "web-01",)");
        row("host", "@@HOST@@\nweb-01\nLinux 6.1", R"("hostName": "web-01", "osVersion": "Linux 6.1")");
        row("name with blanks", "@@PS@@\n 42  0.5  0.25 /usr/bin/some  tool\n",
            R"("topProcesses": [ { "id": 42, "name": "/usr/bin/some tool", "cpu": 0.5, "mem": 0.25 } ],)");
        row("unreadable lines", "@@PS@@\n 42 0.5\nx 0 0 a\n1 x 0 b\n2 0 x c\n", "");
        row("before the first section", "banner\n1 2 3\n", "");
        row("section twice", "@@CORES@@\n4\n@@CORES@@\n@@COUNT@@\n5", R"("processCount": 4,)");
        row("other sections", "@@CORES@@\n4\n@@NEWS@@\n5\n@@\n6", R"("cores": 4,)");
        row("nothing", "", "");
    }

    void sections()
    {
        QFETCH(QByteArray, output);
        QTEST(read(output.constData()), "expected");
    }

    void whatAServerSendsInExcessIsCut()
    {
        QString output = u"@@HOST@@\n"_s + QString(100'000, u'x') + u"\n@@PS@@\n"_s;
        for (int i = 0; i < 1000; ++i)
            output += u"%1 1 1 %2\n"_s.arg(i).arg(QString(2000, u'y'));
        const RemoteStats stats = RemoteStatsMonitor::parse(output);
        QCOMPARE(stats.topProcesses.size(), 8);
        QCOMPARE(stats.topProcesses.constLast().id, 7);
        QVERIFY(stats.hostName.size() < 1000 && stats.topProcesses.constFirst().name.size() < 1000);
    }

    void sharesOfContradictionsAreUnknown()
    {
        RemoteStats stats;
        stats.memTotalKB = 100;
        stats.memUsedKB = 140;
        stats.diskTotalKB = 0;
        stats.diskUsedKB = 0;
        stats.load = {-1, 0, 0};
        stats.cores = 2;
        QVERIFY(!stats.memoryShare() && !stats.diskShare() && !stats.loadShare());
        stats.memUsedKB = 40;
        stats.load[0] = 1;
        QCOMPARE(stats.memoryShare(), std::optional(0.4));
        QCOMPARE(stats.loadShare(), std::optional(0.5));
    }
};

MOORIX_TEST(RemoteStatsParseTest)
#include "RemoteStatsParseTest.moc"
