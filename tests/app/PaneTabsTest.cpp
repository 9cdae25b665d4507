// SPDX-License-Identifier: GPL-3.0-or-later
#include "AppScene.h"
#include "support/TestMain.h"

#include <QTest>

#include <thread>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = Session::State;

class PaneTabsTest final : public QObject
{
    Q_OBJECT

private slots:
    void firstTabShowsTheDefaultFolderInTheOrderOfTheSettings()
    {
        AppScene scene;
        QTRY_COMPARE(scene.tabs->current().pane()->currentPath(), scene.tree.path("home"));
        QCOMPARE(scene.tabs->current().title(), u"home"_s);
        QCOMPARE(scene.tabs->current().pane()->sortKey(), FileSortKey::size);
        QVERIFY(scene.tabs->current().pane()->showHidden());
        QCOMPARE(scene.tabs->slot().mode(), PaneMode::local);
    }

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
        tabs.close(0);
        QCOMPARE(&tabs.current(), first);
        tabs.close(1);
        tabs.close(0);
        QCOMPARE(tabs.sessions().size(), 1);
        QCOMPARE(tabs.current().mode(), PaneMode::local);
        QVERIFY(&tabs.current() != first);
        QTRY_COMPARE(tabs.current().pane()->currentPath(), scene.tree.path("home"));
    }

    void serverTabConnectsAndOpensItsStartFolder_data()
    {
        QTest::addColumn<QByteArray>("recordPath");
        QTest::addColumn<QByteArray>("askedPath");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("login folder") << QByteArray() << QByteArray() << QByteArray("srv");
        QTest::newRow("folder of the record") << QByteArray("srv/deep") << QByteArray() << QByteArray("srv/deep");
        QTest::newRow("folder asked for") << QByteArray("srv/deep") << QByteArray("home") << QByteArray("home");
    }
    void serverTabConnectsAndOpensItsStartFolder()
    {
        QFETCH(const QByteArray, recordPath);
        QFETCH(const QByteArray, askedPath);
        QFETCH(const QByteArray, expected);
        AppScene scene;
        ServerConnection server = serverNamed(u"web-01"_s);
        if (!recordPath.isEmpty())
            server.remotePath = scene.tree.path(recordPath.constData());
        const auto path = askedPath.isEmpty() ? std::nullopt : std::optional(scene.tree.path(askedPath.constData()));
        const Session &session = scene.tabs->openServer(server, std::nullopt, path);
        QCOMPARE(session.state(), State::connecting);
        QCOMPARE(session.stateText(), u"Connecting to web-01…"_s);
        QVERIFY(!session.pane());
        QTRY_COMPARE(session.state(), State::ready);
        QTRY_COMPARE(session.pane()->currentPath(), scene.tree.path(expected.constData()));
        QCOMPARE(session.title(), u"web-01"_s);
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
        scene.prepare = [](FolderServer &server) {
            server.connecting = [](const std::stop_token &stop) {
                while (!stop.stop_requested())
                    std::this_thread::yield();
                throw Cancelled();
            };
        };
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
        tabs.restore({{PaneMode::local, scene.tree.path("srv"), {}},
                      {PaneMode::remote, scene.tree.path("srv/deep"), server},
                      {PaneMode::servers, {}, {}},
                      {PaneMode::local, scene.tree.path("home"), {}}},
                     1);
        QCOMPARE(tabs.sessions().size(), 4);
        Session &session = tabs.current();
        QCOMPARE(session.state(), State::dormant);
        QCOMPARE(session.folder(), scene.tree.path("srv/deep"));
        QVERIFY(scene.made.isEmpty());
        QTRY_COMPARE(tabs.sessions().at(0)->pane()->currentPath(), scene.tree.path("srv"));
        QTRY_COMPARE(tabs.sessions().at(3)->pane()->currentPath(), scene.tree.path("home"));
        QVERIFY(!tabs.sessions().at(0)->pane()->canGoBack());
        session.retry();
        QTRY_VERIFY(session.pane() && session.pane()->currentPath() == scene.tree.path("srv/deep"));
        tabs.restore({}, 0);
        QCOMPARE(tabs.sessions().size(), 4);
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
