// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LoadWatch.h"
#include "monitor/MetricHistory.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

LoadLevels memoryAt(std::optional<double> percent)
{
    LoadLevels levels;
    levels.memory = percent;
    levels.processes = {{1, u"sh"_s, 90, 1}, {2, u"firefox"_s, 1, 41}};
    return levels;
}

} // namespace

/// When to say that something runs short, and what is remembered of the figures.
class LoadWatchTest final : public QObject
{
    Q_OBJECT

private slots:
    void oneEpisodeIsToldOnceAndWithTheGuilty()
    {
        LoadWatch watch({90, 85, 3});
        QStringList told;
        // Spikes, then an episode with a dip that is no recovery, a gap, a recovery, and another episode.
        for (const double percent : {95., 95., 80., 93., 93., 93.2, 88., 99., 99., 99., 99.})
            for (const auto &alert : watch.take(memoryAt(percent)))
                told << alert.text;
        QCOMPARE(told, QStringList{u"Memory is 93 % full. firefox uses 41 %."_s});
        watch.take(memoryAt(std::nullopt));
        QCOMPARE(watch.current().value(0).text, u"Memory is 99 % full. firefox uses 41 %."_s);
        watch.take(memoryAt(84));
        QVERIFY(watch.current().isEmpty());
        QVERIFY(watch.take(memoryAt(99)).isEmpty() && watch.take(memoryAt(99)).isEmpty());
        QCOMPARE(watch.take(memoryAt(99)).size(), 1);
    }

    void theFullestDiskCounts()
    {
        LocalStats stats;
        stats.disks = {{u"/"_s, {}, {}, false, DiskSpace{100, 50, 50, 0, 0}, false, {}},
                       {u"/data"_s, {}, {}, false, DiskSpace{100, 90, 5, 0, 0}, false, {}},
                       {u"/silent"_s, {}, {}, true, std::nullopt, true, {}}};
        LoadWatch watch({90, 85, 1});
        QCOMPARE(watch.take(LoadLevels::of(stats)),
                 (QList<LoadWatch::Alert>{{Resource::disk, u"The disk “/data” is 95 % full."_s}}));
    }

    void aHistoryForgetsTheOldestAndKnowsGaps()
    {
        MetricHistory history(3);
        const QDateTime start = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
        for (int second = 0; second < 5; ++second)
            history.append(start.addSecs(second), second == 3 ? std::nullopt : std::optional(second * 10.0));
        QCOMPARE(history.size(), 3U);
        QCOMPARE(history.at(0), (MetricHistory::Point{2000, 20}));
        QVERIFY(!history.at(1).value);
        QCOMPARE(history.greatest(), 40.0);
        QCOMPARE(history.nearest(2400, 1000), (std::optional(MetricHistory::Point{2000, 20})));
        QVERIFY(!history.nearest(9000, 1000));
        history.append(start, 1);
        QCOMPARE(history.size(), 1U);
    }
};

MOORIX_TEST(LoadWatchTest)
#include "LoadWatchTest.moc"
