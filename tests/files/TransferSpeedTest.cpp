// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/TransferSpeed.h"

#include "support/TestMain.h"

#include <future>

using namespace moorix;
using namespace moorix::test;
using namespace std::chrono_literals;

namespace {

using Clock = TransferSpeed::Clock;

/// So much that nobody lives to see its time pass.
constexpr qint64 ages = 1'000'000'000'000;

} // namespace

class TransferSpeedTest : public QObject
{
    Q_OBJECT

private slots:
    void stopAndTheEndOfTheLimitEndEachWait()
    {
        TransferSpeed speed(TransferSpeed::least);
        auto turn = speed.takeTurn({});
        speed.count(ages, Clock::now());
        std::stop_source stop;
        const auto isCancelled = [](const std::function<void()> &wait) {
            return std::async(std::launch::async, [wait] { return !messageOf(wait).isEmpty(); });
        };
        auto next = isCancelled([&] { (void)speed.takeTurn(stop.get_token()); });
        auto piece = isCancelled([&] { speed.pace(1, stop.get_token()); });
        auto rest = isCancelled([&] { speed.settle(stop.get_token()); });
        stop.request_stop();
        QVERIFY(next.get() && piece.get() && !rest.get());
        auto waiting = std::async(std::launch::async, [&] { return !speed.takeTurn({}); });
        speed.setLimit(0);
        QVERIFY(waiting.get());
        // Whoever has given up is in nobody's way.
        turn.reset();
        speed.setLimit(TransferSpeed::most);
        QVERIFY(speed.takeTurn({}));
    }

    void whatWasTooFastIsWaitedFor()
    {
        TransferSpeed speed(10'000);
        const auto start = Clock::now();
        speed.count(2'000, start);
        QVERIFY(speed.takeTurn({}));
        QVERIFY(Clock::now() - start >= 200ms);
        for (int piece = 0; piece < 4; ++piece)
            speed.pace(1'000, {});
        QVERIFY(Clock::now() - start >= 400ms);
        // What has taken its time holds up nobody.
        speed.setLimit(20'000);
        speed.count(ages, Clock::now() - std::chrono::hours(24 * 3650));
        QVERIFY(speed.takeTurn({}));
    }
};

MOORIX_TEST(TransferSpeedTest)
#include "TransferSpeedTest.moc"
