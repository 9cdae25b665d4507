// SPDX-License-Identifier: GPL-3.0-or-later
#include "AppScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// Opens and keeps what came of it.
struct Opening
{
    std::optional<OpenConnection> connection;
    std::optional<QString> failure;
    Job job;

    Opening(AppScene &scene, const ServerConnection &server)
        : job(scene.connections.open(
              server, std::nullopt, [this](const OpenConnection &opened) { connection = opened; },
              [this](const Error &error) { failure = error.message(); }))
    {
    }
    Q_DISABLE_COPY_MOVE(Opening)
};

} // namespace

class ServerConnectionsTest final : public QObject
{
    Q_OBJECT

private slots:
    void tabsOfOneServerShareOneServiceUntilTheLastLetsGo()
    {
        AppScene scene;
        const ServerConnection server = serverNamed(u"web-01"_s);
        Opening first(scene, server);
        Opening second(scene, server);
        QTRY_VERIFY(first.connection && second.connection);
        QCOMPARE(first.connection->service, second.connection->service);
        QCOMPARE(scene.made.size(), 1);
        first.connection.reset();
        QVERIFY(scene.connections.isConnected(server.id));
        QCOMPARE(scene.farewells->load(), 0);
        second.connection.reset();
        QVERIFY(!scene.connections.isConnected(server.id));
        QTRY_COMPARE(scene.farewells->load(), 1);
    }

    void recordThatIsReachedDifferentlyGetsANewConnectionAfterTheOldIsClosed()
    {
        const std::pair<bool, std::function<void(ServerConnection &)>> rows[] = {
            {true, [](ServerConnection &s) { s.host = u"other.example.org"_s; }},
            {true, [](ServerConnection &s) { s.port = 2222; }},
            {true, [](ServerConnection &s) { s.username = u"root"_s; }},
            {true, [](ServerConnection &s) { s.authMethod = AuthMethod::agent; }},
            {true, [](ServerConnection &s) { s.privateKeyPath = u"/k"_s; }},
            {false, [](ServerConnection &s) { s.name = u"renamed"_s; }},
            {false, [](ServerConnection &s) { s.remotePath = u"/"_s; }}};
        for (const auto &[getsNewOne, change] : rows) {
            AppScene scene;
            ServerConnection server = serverNamed(u"web-01"_s);
            Opening before(scene, server);
            QTRY_VERIFY(before.connection);
            change(server);
            Opening after(scene, server);
            QTRY_VERIFY(after.connection);
            QCOMPARE(std::pair(scene.made.size(), scene.farewells->load()),
                     getsNewOne ? std::pair(qsizetype(2), 1) : std::pair(qsizetype(1), 0));
            if (!server.remotePath.isEmpty())
                QCOMPARE(after.connection->startPath, server.remotePath);
        }
    }

    void cancelledOpeningDoesNotHoldUpTheOneBehindIt()
    {
        AppScene scene;
        std::atomic<bool> isFirst = true;
        scene.prepare = [&isFirst](FolderServer &server) {
            server.connecting = [&isFirst](const std::stop_token &stop) {
                if (isFirst.exchange(false))
                    waitForStop(stop);
            };
        };
        const ServerConnection server = serverNamed(u"web-01"_s);
        Opening first(scene, server);
        QTRY_VERIFY(!isFirst);
        Opening second(scene, server);
        first.job.cancel();
        QTRY_VERIFY(second.connection);
        QVERIFY(!first.connection && !first.failure);
    }

    void firstContactIsToldWithTheFingerprintAndOnlyOnce()
    {
        int lookUps = 0;
        AppScene scene(std::make_shared<FakeProcessRunner>([&lookUps](const ProcessRequest &request) {
            if (request.arguments.contains(u"-G"_s))
                return ProcessResult{0, false, "hostname host.example.org\nuserknownhostsfile /known\n", ""};
            return ProcessResult{0, false, ++lookUps == 1 ? "" : "host.example.org ED25519 SHA256:abc\n", ""};
        }));
        const ServerConnection server = serverNamed(u"web-01"_s);
        Opening first(scene, server);
        QTRY_VERIFY(first.connection);
        QVERIFY2(first.connection->notice.contains(u"ED25519 SHA256:abc"_s), qPrintable(first.connection->notice));
        Opening second(scene, server);
        QTRY_VERIFY(second.connection);
        QCOMPARE(second.connection->notice, QString());
    }

    void testOfADraftSaysWhatItFoundAndDisconnects()
    {
        AppScene scene;
        QString summary;
        const Job job = scene.connections.test(
            serverNamed(u"draft"_s), {}, [&summary](const QString &text) { summary = text; }, [](const Error &) {});
        QTRY_COMPARE(summary, u"Connected to host.example.org. “%1” shows 2 items."_s.arg(scene.tree.path("srv")));
        QCOMPARE(scene.farewells->load(), 1);
    }
};

MOORIX_TEST(ServerConnectionsTest)
#include "ServerConnectionsTest.moc"
