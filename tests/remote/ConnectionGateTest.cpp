// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ConnectionGate.h"
#include "remote/SSHLanes.h"
#include "support/FakeProcessRunner.h"
#include "support/TestMain.h"

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
            const ConnectionGate::Door door{u"h"_s, 8, [isWarm] { return isWarm; }};
            const int most = isWarm ? door.mostAtOnce : 1;
            ConnectionGate gate;
            std::atomic<int> running = 0;
            std::atomic<int> highest = 0;
            std::latch allInside(most);
            std::vector<std::jthread> children;
            for (int i = 0; i < 5 * most; ++i) {
                children.emplace_back([&] {
                    const auto place = gate.enter(door, neverStops);
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
        const ConnectionGate::Door door{u"h"_s, 8, [&isWarm] { return isWarm.load(); }};
        const auto enter = [&](const std::stop_token &stop) {
            return std::async(std::launch::async, [&, stop] { const auto place = gate.enter(door, stop); });
        };
        std::future<void> later;
        {
            const auto place = gate.enter(door, neverStops);
            const auto elsewhere = gate.enter({u"another host"_s}, neverStops);
            std::stop_source source;
            auto cancelled = enter(source.get_token());
            later = enter(neverStops);
            source.request_stop();
            QVERIFY_THROWS_EXCEPTION(Cancelled, cancelled.get());
            QVERIFY(later.wait_for(0s) == std::future_status::timeout);
        }
        later.get();
        const auto place = gate.enter(door, neverStops);
        later = enter(neverStops);
        // The connection is shared from now on.
        isWarm = true;
        later.get();
    }

    void hostThatTurnsOneAwayIsAskedForNoMoreThanItTakes()
    {
        const ConnectionGate::Door door{u"h"_s};
        ConnectionGate gate;
        {
            const auto first = gate.enter(door, neverStops);
            std::unique_ptr<const ConnectionGate::Place> second(
                new ConnectionGate::Place(gate.enter(door, neverStops)));
            auto third = gate.enter(door, neverStops);
            QVERIFY(third.giveBackAsOneTooMany());
            QCOMPARE(gate.limitOf(door), 2);
            auto later = std::async(std::launch::async, [&] { const auto place = gate.enter(door, neverStops); });
            QVERIFY(later.wait_for(50ms) == std::future_status::timeout);
            second.reset();
            later.get();
        }
        // The host may have had others, too.
        auto only = gate.enter(door, neverStops);
        QVERIFY(!only.giveBackAsOneTooMany());
        QCOMPARE(gate.limitOf(door), door.mostAtOnce);
    }
};

class SSHLanesTest final : public QObject
{
    Q_OBJECT

private slots:
    void refusedConnectionIsNotAskedForAgainAtOnceAndTheFirstCarriesOn()
    {
        for (const bool isRefused : {false, true}) {
            const auto processes = std::make_shared<FakeProcessRunner>([isRefused](const ProcessRequest &) {
                return isRefused ? ProcessResult{255, false, "", "Connection closed by remote host\n"}
                                 : FakeProcessRunner::success();
            });
            SFTPProcessRunner runner(processes);
            SSHLanes lanes(runner);
            SSHLogin login;
            login.server.host = u"host"_s;
            login.server.username = u"me"_s;
            login.credentials.password = u"secret"_s;
            QSet<QUuid> ids;
            for (int i = 0; i < 9; ++i)
                lanes.carry(
                    login, [&](const SSHLogin &lane) { ids << lane.server.id; }, neverStops);
            QCOMPARE(ids.contains(login.server.id), isRefused);
            QCOMPARE(lanes.room(login, neverStops) == 0, isRefused);
            QCOMPARE(processes->requests().size(), 1);
        }
    }

    void loginThatSomebodyHasToAnswerIsNotRepeated()
    {
        const auto processes = std::make_shared<FakeProcessRunner>([](const ProcessRequest &) {
            return ProcessResult{0, false, "256 SHA256:x me (ED25519-SK)\n", ""};
        });
        SFTPProcessRunner runner(processes);
        SSHLogin login;
        QCOMPARE(SSHLanes(runner).room(login, neverStops), 0);
        login.server.authMethod = AuthMethod::privateKeyFile;
        login.identityPath = u"/key"_s;
        QCOMPARE(SSHLanes(runner).room(login, neverStops), 0);
    }
};

MOORIX_TEST(ConnectionGateTest)
MOORIX_TEST(SSHLanesTest)
#include "ConnectionGateTest.moc"
