// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ConnectionGate.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <QTest>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

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
        const auto cold = [] { return false; };
        std::stop_source source;
        std::atomic<int> entered = 0;
        std::atomic<bool> wasCancelled = false;
        std::jthread waiting;
        std::jthread cancelled;
        {
            const auto place = gate.enter(u"h"_s, cold, neverStops);
            const auto other = gate.enter(u"another host"_s, cold, neverStops);
            waiting = std::jthread([&] {
                const auto later = gate.enter(u"h"_s, cold, neverStops);
                ++entered;
            });
            cancelled = std::jthread([&] {
                try {
                    const auto never = gate.enter(u"h"_s, cold, source.get_token());
                } catch (const Cancelled &) {
                    wasCancelled = true;
                }
            });
            source.request_stop();
            cancelled.join();
            QVERIFY(wasCancelled);
            QCOMPARE(entered.load(), 0);
        }
        waiting.join();
        QCOMPARE(entered.load(), 1);
    }

    void placesOpenUpOnceTheConnectionIsShared()
    {
        ConnectionGate gate;
        std::atomic<bool> isWarm = false;
        const auto first = gate.enter(
            u"h"_s, [&] { return isWarm.load(); }, neverStops);
        std::jthread waiting([&] {
            const auto second = gate.enter(
                u"h"_s, [&] { return isWarm.load(); }, neverStops);
        });
        isWarm = true;
        waiting.join();
    }
};

MOORIX_TEST(ConnectionGateTest)
#include "ConnectionGateTest.moc"
