// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/UpdateScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Checking for updates and downloading them, against a real server on loopback.
class AppUpdateManagerTest final : public QObject
{
    Q_OBJECT

private slots:
    void aNewerReleaseIsOfferedDownloadedAndOpened()
    {
        const QByteArray installer(700000, 'i');
        UpdateScene scene([&](const WebRequest &request) {
            const bool isFile = request.path.startsWith("/dl/");
            return WebServer::reply(isFile ? installer : releaseJson(request, ",\"notes\":\"Faster.\",\"build\":9"));
        });
        QSignalSpy prompts(&scene.updates, &AppUpdateManager::promptRequested);
        QCOMPARE(scene.updates.statusMessage(), u"Not checked yet."_s);
        scene.check();
        const QString url = scene.server.url(u"/dl/Moorix-2.0.dmg"_s);
        QVERIFY(scene.updates.availableRelease() ==
                (Release{u"2.0"_s, u"9"_s, QUrl(url), u"Moorix-2.0.dmg"_s, u"Faster."_s}));
        QCOMPARE(scene.updates.statusMessage(), u"Update available: v2.0"_s);
        QCOMPARE(scene.updates.lastCheckedAt(), scene.now);
        QCOMPARE(scene.updates.promptTitle(), u"Moorix 2.0 is available"_s);
        QCOMPARE(scene.updates.promptText(), u"Current version: 1.2\n\nRelease notes:\nFaster.\n\n"
                                             "Download and open the installer now?"_s);
        QCOMPARE(scene.server.requests().first().method, "GET");
        QCOMPARE(scene.server.requests().first().headers.value("user-agent"), "Moorix/1.2");
        scene.check();
        QCOMPARE(prompts.count(), 1);
        scene.updates.closePrompt();
        scene.check();
        QCOMPARE(prompts.count(), 2);

        scene.download();
        const QString path = scene.tree.path("Downloads/Moorix-2.0.dmg");
        QCOMPARE(contentOf(path), installer);
        QVERIFY(!(QFile::permissions(path) & (QFile::ExeOwner | QFile::ReadOther)));
        QCOMPARE(scene.opened, QStringList{path});
        QCOMPARE(scene.updates.statusMessage(), u"Downloaded to %1. Opening installer..."_s.arg(path));
        scene.download();
        QCOMPARE(scene.downloaded(), (QStringList{u"Moorix-2.0-2.dmg"_s, u"Moorix-2.0.dmg"_s}));
        QCOMPARE(scene.opened.last(), scene.tree.path("Downloads/Moorix-2.0-2.dmg"));
    }

    void theEndpointIsAWebAddress()
    {
        UpdateScene scene([](const WebRequest &) { return QByteArray(); });
        QSignalSpy notices(&scene.updates, &AppUpdateManager::noticeRaised);
        const auto said = [&](const char *endpoint) {
            scene.settings.updateEndpoint.set(QString::fromLatin1(endpoint));
            scene.updates.checkForUpdates(true);
            const bool isIdle = !scene.updates.isChecking() && !scene.updates.lastCheckedAt();
            return isIdle && scene.updates.lastError() == scene.updates.statusMessage() ? notices.last().first()
                                                                                        : QVariant();
        };
        for (const char *none : {" \n", "https://updates.moorix.example/update.php", "https://A.EXAMPLE./"})
            QCOMPARE(said(none), QVariant(u"Update checks are not configured."_s));
        for (const char *wrong : {"ftp://127.0.0.1/update.php", "127.0.0.1", "https:///update.php", "https://h/a b"})
            QCOMPARE(said(wrong), QVariant(u"Set a valid update URL first."_s));
        // Upper case and blanks around it make no difference.
        scene.settings.updateEndpoint.set(u' ' + scene.server.url().replace(u"http"_s, u"HTTPS"_s) + u'\n');
        QVERIFY(scene.updates.updateEndpointURL().isUsable());
        QCOMPARE(scene.server.connections(), 0);
    }

    void whatTheServerSaysWrongIsSaid_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("problem");
        const QString noAddress = u"The update response is missing a valid DMG URL."_s;
        QTest::newRow("status") << QByteArray("{}") << 500 << u"The update server returned an unexpected status."_s;
        for (const char *body : {"<html>", "[]", "", "\"2.0\""})
            QTest::newRow(body) << QByteArray(body) << 200 << u"The update response was not valid JSON."_s;
        for (const char *body : {"{}", "{\"version\":\" \"}", "{\"version\":2}"})
            QTest::newRow(body) << QByteArray(body) << 200 << u"The update response is missing a version."_s;
        for (const char *url : {"", "ftp://h/a.dmg", "a.dmg", "file:///etc/passwd", "http://"})
            QTest::addRow("download from %s", url)
                << QByteArray("{\"version\":\"2\",\"url\":\"") + url + "\"}" << 200 << noAddress;
        for (const char *name : {"../a.dmg", "/etc/a", "a\\\\b.dmg", ".a.dmg", "..", "a\\n.dmg"})
            QTest::addRow("named %s", name)
                << QByteArray("{\"version\":\"2\",\"url\":\"http://h/a.dmg\",\"file_name\":\"") + name + "\"}" << 200
                << u"The update response names a file “%1”, which is not a plain file name."_s.arg(
                       QString::fromUtf8(name).replace(u"\\n"_s, u"?"_s).replace(u"\\\\"_s, u"\\"_s));
        QTest::newRow("a program's entry") << QByteArray("{\"version\":\"2\",\"url\":\"http://h/a.desktop\"}") << 200
                                           << u"The update response names a file “a.desktop”, which is no installer."_s;
    }
    void whatTheServerSaysWrongIsSaid()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const int, code);
        QFETCH(const QString, problem);
        UpdateScene scene([&](const WebRequest &) { return WebServer::reply(body, code); });
        scene.check();
        QCOMPARE(scene.updates.lastError(), problem);
        QCOMPARE(scene.updates.statusMessage(), u"Update check failed: "_s + problem);
        QCOMPARE(scene.updates.lastCheckedAt(), scene.now);
        QVERIFY(!scene.updates.isChecking() && !scene.updates.availableRelease());
    }

    void anEncryptedServerOffersNoUnencryptedInstaller()
    {
        const QByteArray body = "{\"version\":\"2\",\"url\":\"http://h/a.dmg\"}";
        QVERIFY_THROWS_EXCEPTION(Error, Release::fromReply(body, QUrl(u"https://h/"_s)));
        QCOMPARE(Release::fromReply(body, QUrl(u"http://h/"_s)).fileName, u"a.dmg"_s);
    }

    void theCurrentVersionIsUpToDate()
    {
        UpdateScene scene([](const WebRequest &) {
            return WebServer::reply(
                "{\"latest_version\":\"1.2.0\",\"build_number\":\"5\",\"download_url\":\"http://h/a.dmg\"}");
        });
        QSignalSpy notices(&scene.updates, &AppUpdateManager::noticeRaised);
        scene.check();
        QCOMPARE(scene.updates.statusMessage(), u"You are on the latest version (1.2)"_s);
        QCOMPARE(notices.value(0).value(0).toString(), u"Moorix is up to date."_s);
        QVERIFY(!scene.updates.isShowingPrompt() && !scene.updates.lastError());
        scene.download();
        QCOMPARE(scene.updates.statusMessage(), u"No update is available."_s);
    }

    void periodicChecksFollowTheirSwitchAndTheClock()
    {
        UpdateScene scene([](const WebRequest &) { return WebServer::reply("{}"); });
        QSignalSpy ended(&scene.updates, &AppUpdateManager::checkEnded);
        QSignalSpy notices(&scene.updates, &AppUpdateManager::noticeRaised);
        scene.updates.startPeriodicChecks();
        scene.pass(14399);
        QCOMPARE(ended.count(), 0);
        scene.pass(1);
        QTRY_COMPARE(ended.count(), 1);
        // A machine that slept checks once, and then again after a whole period.
        scene.pass(50000);
        QTRY_COMPARE(ended.count(), 2);
        scene.pass(14000);
        QCOMPARE(ended.count(), 2);
        scene.settings.autoCheckUpdates.set(false);
        scene.pass(20000);
        scene.settings.autoCheckUpdates.set(true);
        QTRY_COMPARE(ended.count(), 3);
        QCOMPARE(scene.server.connections(), 3);
        // Nobody asked for them.
        QCOMPARE(notices.count(), 0);
    }

    void aCheckInProgressEndsWithItsReason()
    {
        UpdateScene scene([](const WebRequest &) { return QByteArray(); });
        scene.updates.startPeriodicChecks();
        scene.pass(14400);
        QVERIFY(scene.updates.isChecking());
        QCOMPARE(scene.updates.statusMessage(), u"Checking for updates..."_s);
        scene.settings.autoCheckUpdates.set(false);
        QVERIFY(!scene.updates.isChecking());
        scene.updates.checkForUpdates(true);
        scene.settings.updateEndpoint.set(u"http://127.0.0.1:1/"_s);
        QVERIFY(!scene.updates.isChecking());
        scene.check();
        QCOMPARE(scene.updates.statusMessage(), u"Update check failed: 127.0.0.1 refused the connection."_s);
    }
};

MOORIX_TEST(AppUpdateManagerTest)
#include "AppUpdateManagerTest.moc"
