// SPDX-License-Identifier: GPL-3.0-or-later
#include "AppScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = Session::State;

namespace {

/// Opens and keeps what came of it.
struct Opening
{
    std::optional<OpenConnection> connection;
    std::optional<QString> failure;
    Job job;

    explicit Opening(AppScene &scene)
        : job(scene.connections.open(
              scene.server, std::nullopt, [this](const OpenConnection &opened) { connection = opened; },
              [this](const Error &error) { failure = error.message(); }))
    {
    }
    Q_DISABLE_COPY_MOVE(Opening)
};

} // namespace

/// The tabs of a side and the connections they share.
class PaneTabsTest final : public QObject
{
    Q_OBJECT

private slots:
    void tabsOpenBehindTheCurrentOneAndCloseOntoANeighbour()
    {
        AppScene scene;
        PaneTabs &tabs = *scene.tabs;
        Session *first = &tabs.current();
        Session *library = &tabs.openServers();
        tabs.setCurrentIndex(0);
        Session *second = &tabs.openLocal(scene.tree.path("srv"));
        QCOMPARE(tabs.sessions(), (QList<Session *>{first, second, library}));
        QVERIFY(second->pane() != first->pane());
        QCOMPARE(&tabs.openServers(), library);
        QCOMPARE(tabs.currentIndex(), 2);
        QCOMPARE(tabs.slot().mode(), PaneMode::servers);
        tabs.moveTab(2, 0);
        QCOMPARE(&tabs.current(), library);
        tabs.setCurrentIndex(1);
        tabs.close(0);
        QCOMPARE(&tabs.current(), first);
        tabs.close(0);
        QCOMPARE(&tabs.current(), second);
        tabs.close(0);
        QCOMPARE(tabs.sessions().size(), 1);
        QCOMPARE(tabs.current().mode(), PaneMode::local);
        QVERIFY(&tabs.current() != second);
        QTRY_COMPARE(tabs.current().pane()->currentPath(), scene.tree.path("home"));
    }

    void serverTabConnectsAndOpensItsStartFolder()
    {
        // Of the record, asked for, opened.
        const std::tuple<const char *, const char *, const char *> rows[] = {
            {"", "", "srv"}, {"srv/deep", "", "srv/deep"}, {"srv/deep", "home", "home"}};
        for (const auto &[recorded, asked, expected] : rows) {
            AppScene scene;
            scene.server.remotePath = *recorded ? scene.tree.path(recorded) : QString();
            const Session &session = scene.tabs->openServer(
                scene.server, std::nullopt, *asked ? std::optional(scene.tree.path(asked)) : std::nullopt);
            QCOMPARE(session.state(), State::connecting);
            QCOMPARE(session.stateText(), u"Connecting to web-01…"_s);
            QVERIFY(!session.pane());
            QTRY_COMPARE(session.state(), State::ready);
            QTRY_COMPARE(session.pane()->currentPath(), scene.tree.path(expected));
        }
    }

    void failedConnectionShowsItsReasonAndCanBeRetried()
    {
        AppScene scene;
        bool isDown = true;
        scene.prepare = [&isDown](FolderServer &server) {
            server.connecting = [&isDown](const std::stop_token &) {
                if (isDown)
                    throw FileServiceError::connectionFailed(u"Connection refused"_s);
            };
        };
        Session &session = scene.tabs->openServer(scene.server, std::nullopt, std::nullopt);
        QTRY_COMPARE(session.state(), State::failed);
        QCOMPARE(session.stateText(), u"Could not connect: Connection refused"_s);
        isDown = false;
        session.retry();
        QTRY_COMPARE(session.state(), State::ready);
        QCOMPARE(session.stateText(), QString());
    }

    void cancelledConnectionFailsAtOnce()
    {
        AppScene scene;
        scene.prepare = [](FolderServer &server) { server.connecting = waitForStop; };
        Session &session = scene.tabs->openServer(scene.server, std::nullopt, std::nullopt);
        QTRY_VERIFY(!scene.made.isEmpty());
        session.cancelConnecting();
        QCOMPARE(session.state(), State::failed);
        QCOMPARE(session.stateText(), u"Connecting to web-01 was cancelled."_s);
    }

    void droppedConnectionIsSaidAndRetryComesBackToTheSameFolder()
    {
        AppScene scene;
        Session &session = scene.tabs->openServer(scene.server, std::nullopt, scene.tree.path("srv/deep"));
        QTRY_VERIFY(session.pane() && session.pane()->currentPath() == scene.tree.path("srv/deep"));
        session.pane()->service()->disconnect();
        QTRY_COMPARE(scene.farewells->load(), 1);
        session.pane()->reload();
        QTRY_COMPARE(session.state(), State::failed);
        QCOMPARE(session.stateText(), u"Not connected to the server."_s);
        QVERIFY(!session.pane());
        session.retry();
        QTRY_VERIFY(session.pane() && session.pane()->currentPath() == scene.tree.path("srv/deep"));
    }

    void transferThatEndsDoesNotHoldUpWhoIsLeavingItsFolder()
    {
        AppScene scene;
        const auto isSlow = std::make_shared<std::atomic<bool>>(false);
        scene.prepare = [isSlow](FolderServer &server) {
            server.listing = [isSlow](const std::stop_token &stop) {
                while (*isSlow && !stop.stop_requested())
                    std::this_thread::yield();
            };
        };
        const Session &session = scene.tabs->openServer(scene.server, std::nullopt, scene.tree.path("srv"));
        QTRY_VERIFY(session.pane() && session.pane()->currentPath() == scene.tree.path("srv"));
        *isSlow = true;
        session.pane()->load(scene.tree.path("srv/deep"), true);
        scene.tabs->reload(session.pane()->service().get(), {scene.tree.path("srv")});
        *isSlow = false;
        QTRY_COMPARE(session.pane()->currentPath(), scene.tree.path("srv/deep"));
    }

    void whatIsUnderWayInATabThatIsClosedGoesOnAndItsFailureIsTold()
    {
        AppScene scene;
        for (int i = 0; i < 500; ++i)
            scene.tree.write(("srv/deep/" + QByteArray::number(i)).constData(), {});
        QSignalSpy failed(&scene.leftOperations, &LeftOperations::failed);
        scene.tabs->openServer(scene.server, std::nullopt, scene.tree.path("srv"));
        Session &session = scene.tabs->openServer(scene.server, std::nullopt, scene.tree.path("srv"));
        QTRY_VERIFY(session.pane() && session.pane()->displayedCount() == 2);
        const QList<FileItem> items = session.pane()->displayed();
        FileItem gone = items.constFirst();
        gone.path += u".gone"_s;
        session.pane()->remove(items);
        session.pane()->remove({gone});
        scene.tabs->close(scene.tabs->currentIndex());
        QCOMPARE(scene.leftOperations.current(), QStringList{u"Deleting 2 items"_s});
        QTRY_COMPARE(failed.count(), 1);
        QVERIFY(failed.first().at(1).toStringList().constFirst().contains(gone.name));
        QVERIFY(!scene.tree.exists("srv/deep") && !scene.tree.exists("srv/b.txt"));
        QVERIFY(scene.leftOperations.current().isEmpty());
        // The other tab of that server shows it.
        QTRY_COMPARE(scene.tabs->current().pane()->displayedCount(), 0);
        QCOMPARE(scene.farewells->load(), 0);
    }

    void rememberedTabsComeBackWithoutConnecting()
    {
        AppScene scene;
        PaneTabs &tabs = *scene.tabs;
        tabs.restore({{PaneMode::servers, {}, {}}, {PaneMode::remote, scene.tree.path("srv/deep"), scene.server}}, 1);
        Session &session = tabs.current();
        QCOMPARE(session.state(), State::dormant);
        QCOMPARE(session.folder(), scene.tree.path("srv/deep"));
        QVERIFY(scene.made.isEmpty());
        session.retry();
        QTRY_VERIFY(session.pane() && session.pane()->currentPath() == scene.tree.path("srv/deep"));
        tabs.restore({}, 0);
        QCOMPARE(&tabs.current(), &session);
    }

    void panesReloadWhenATransferChangedTheirFolder()
    {
        AppScene scene;
        Session &session = scene.tabs->openServer(scene.server, std::nullopt, std::nullopt);
        QTRY_VERIFY(session.pane() && session.pane()->displayedCount() == 2);
        const auto disk = std::make_shared<LocalFileService>();
        scene.transfers.enqueue({disk,
                                 session.pane()->service(),
                                 {*disk->stat(scene.tree.path("home/a.txt"), {})},
                                 scene.tree.path("srv")});
        QTRY_COMPARE(session.pane()->displayedCount(), 3);
    }

    void tabsOfOneServerShareOneServiceUntilTheLastLetsGo()
    {
        AppScene scene;
        Opening first(scene);
        Opening second(scene);
        QTRY_VERIFY(first.connection && second.connection);
        QCOMPARE(first.connection->service, second.connection->service);
        QCOMPARE(scene.made.size(), 1);
        first.connection.reset();
        QVERIFY(scene.connections.isConnected(scene.server.id));
        QCOMPARE(scene.farewells->load(), 0);
        second.connection.reset();
        QVERIFY(!scene.connections.isConnected(scene.server.id));
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
            Opening before(scene);
            QTRY_VERIFY(before.connection);
            change(scene.server);
            Opening after(scene);
            QTRY_VERIFY(after.connection);
            QCOMPARE(std::pair(scene.made.size(), scene.farewells->load()),
                     getsNewOne ? std::pair(qsizetype(2), 1) : std::pair(qsizetype(1), 0));
            if (!scene.server.remotePath.isEmpty())
                QCOMPARE(after.connection->startPath, scene.server.remotePath);
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
        Opening first(scene);
        QTRY_VERIFY(!isFirst);
        Opening second(scene);
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
        Opening first(scene);
        QTRY_VERIFY(first.connection);
        QVERIFY2(first.connection->notice.contains(u"ED25519 SHA256:abc"_s), qPrintable(first.connection->notice));
        Opening second(scene);
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

MOORIX_TEST(PaneTabsTest)
#include "PaneTabsTest.moc"
