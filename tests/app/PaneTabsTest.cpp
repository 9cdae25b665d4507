// SPDX-License-Identifier: GPL-3.0-or-later
#include "AppScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = Session::State;

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
            ServerConnection server = serverNamed(u"web-01"_s);
            server.remotePath = *recorded ? scene.tree.path(recorded) : QString();
            const Session &session = scene.tabs->openServer(
                server, std::nullopt, *asked ? std::optional(scene.tree.path(asked)) : std::nullopt);
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
        Session &session = scene.tabs->openServer(serverNamed(u"web-01"_s), std::nullopt, std::nullopt);
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
        Session &session = scene.tabs->openServer(serverNamed(u"web-01"_s), std::nullopt, std::nullopt);
        QTRY_VERIFY(!scene.made.isEmpty());
        session.cancelConnecting();
        QCOMPARE(session.state(), State::failed);
        QCOMPARE(session.stateText(), u"Connecting to web-01 was cancelled."_s);
    }

    void droppedConnectionIsSaidAndRetryComesBackToTheSameFolder()
    {
        AppScene scene;
        const ServerConnection server = serverNamed(u"web-01"_s);
        Session &session = scene.tabs->openServer(server, std::nullopt, scene.tree.path("srv/deep"));
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

    void rememberedTabsComeBackWithoutConnecting()
    {
        AppScene scene;
        PaneTabs &tabs = *scene.tabs;
        const ServerConnection server = serverNamed(u"web-01"_s);
        tabs.restore({{PaneMode::servers, {}, {}}, {PaneMode::remote, scene.tree.path("srv/deep"), server}}, 1);
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
        Session &session = scene.tabs->openServer(serverNamed(u"web-01"_s), std::nullopt, std::nullopt);
        QTRY_VERIFY(session.pane() && session.pane()->displayedCount() == 2);
        TransferRequest request;
        request.source = std::make_shared<LocalFileService>();
        request.destination = session.pane()->service();
        request.items = {*LocalFileService().stat(scene.tree.path("home/a.txt"), {})};
        request.targetFolder = scene.tree.path("srv");
        scene.transfers.enqueue(request);
        QTRY_COMPARE(session.pane()->displayedCount(), 3);
    }
};

MOORIX_TEST(PaneTabsTest)
#include "PaneTabsTest.moc"
