// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ConnectionGate.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <QTest>

#include <atomic>
#include <future>
#include <latch>
#include <thread>
#include <vector>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;
using namespace std::chrono_literals;

class ConnectionGateTest final : public QObject
{
    Q_OBJECT

private slots:
    void onlySoManyRunAtOnce()
    {
        for (const bool isWarm : {false, true}) {
            const int most = isWarm ? ConnectionGate::mostAtOnce : 1;
            ConnectionGate gate;
            std::atomic<int> running = 0;
            std::atomic<int> highest = 0;
            std::latch allInside(most);
            std::vector<std::jthread> children;
            for (int i = 0; i < 5 * most; ++i) {
                children.emplace_back([&] {
                    const auto place = gate.enter(
                        u"h"_s, [&] { return isWarm; }, neverStops);
                    const int inside = ++running;
                    if (inside > highest)
                        highest = inside;
                    // Nobody leaves before as many as may are inside; those who come later go straight through.
                    if (!allInside.try_wait())
                        allInside.arrive_and_wait();
                    --running;
                });
            }
            children.clear();
            QCOMPARE(highest.load(), most);
        }
    }

    void waitingEndsWithAPlaceOrACancel()
    {
        ConnectionGate gate;
        std::atomic<bool> isWarm = false;
        const auto askIsWarm = [&isWarm] { return isWarm.load(); };
        const auto enter = [&](const std::stop_token &stop) {
            return std::async(std::launch::async,
                              [&, stop] { const auto place = gate.enter(u"h"_s, askIsWarm, stop); });
        };
        std::future<void> later;
        {
            const auto place = gate.enter(u"h"_s, askIsWarm, neverStops);
            const auto elsewhere = gate.enter(u"another host"_s, askIsWarm, neverStops);
            std::stop_source source;
            auto cancelled = enter(source.get_token());
            later = enter(neverStops);
            source.request_stop();
            QVERIFY_THROWS_EXCEPTION(Cancelled, cancelled.get());
            QVERIFY(later.wait_for(0s) == std::future_status::timeout);
        }
        later.get();
        const auto place = gate.enter(u"h"_s, askIsWarm, neverStops);
        later = enter(neverStops);
        // The connection is shared from now on.
        isWarm = true;
        later.get();
    }
};

MOORIX_TEST(ConnectionGateTest)
#include "ConnectionGateTest.moc"
