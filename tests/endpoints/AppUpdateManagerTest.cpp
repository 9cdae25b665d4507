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
            return WebServer::update(request, installer, ",\"notes\":\"Faster.\",\"build\":9");
        });
        QSignalSpy prompts(&scene.updates, &AppUpdateManager::promptRequested);
        QCOMPARE(scene.updates.statusMessage(), u"Not checked yet."_s);
        scene.check();
        const QString url = scene.server.url(u"/dl/Moorix-999.dmg"_s);
        QVERIFY(scene.updates.availableRelease() ==
                (Release{u"999"_s, u"9"_s, QUrl(url), u"Moorix-999.dmg"_s, u"Faster."_s}));
        QCOMPARE(scene.updates.statusMessage(), u"Update available: v999"_s);
        QCOMPARE(scene.updates.lastCheckedAt(), scene.now);
        QCOMPARE(scene.updates.promptTitle(), u"Moorix 999 is available"_s);
        QCOMPARE(scene.updates.promptText(), u"Current version: 1.2\n\nRelease notes:\nFaster.\n\n"
                                             "Download and open the installer now?"_s);
        QCOMPARE(scene.server.requests().first().headers.value("user-agent"), "Moorix/1.2");
        scene.check();
        QCOMPARE(prompts.count(), 1);
        scene.updates.closePrompt();
        scene.check();
        QCOMPARE(prompts.count(), 2);

        scene.download();
        const QString path = scene.tree.path("Downloads/Moorix-999.dmg");
        QCOMPARE(contentOf(path), installer);
        QVERIFY(!(QFile::permissions(path) & (QFile::ExeOwner | QFile::ReadOther)));
        QCOMPARE(scene.updates.statusMessage(), u"Downloaded to %1. Opening installer..."_s.arg(path));
        scene.download();
        QCOMPARE(scene.opened, (QStringList{path, scene.tree.path("Downloads/Moorix-999-2.dmg")}));
    }

    void theEndpointIsAWebAddress()
    {
        UpdateScene scene([](const WebRequest &) { return QByteArray(); });
        QSignalSpy notices(&scene.updates, &AppUpdateManager::noticeRaised);
        const auto said = [&](const char *endpoint) {
            scene.settings.updateEndpoint.set(QString::fromLatin1(endpoint));
            scene.updates.checkForUpdates(true);
            const bool isIdle = !scene.updates.isChecking() && !scene.updates.lastCheckedAt();
            return isIdle && scene.updates.lastError() == scene.updates.statusMessage()
                       ? notices.last().first().toString()
                       : QString();
        };
        for (const char *none : {" \n", "https://updates.moorix.example/update.php", "https://A.EXAMPLE./"})
            QCOMPARE(said(none), u"Update checks are not configured."_s);
        for (const char *wrong : {"ftp://127.0.0.1/update.php", "127.0.0.1", "https:///update.php", "https://h/a b"})
            QCOMPARE(said(wrong), u"Set a valid update URL first."_s);
        // Upper case and blanks around it make no difference.
        scene.settings.updateEndpoint.set(u' ' + scene.server.url().replace(u"http"_s, u"HTTPS"_s) + u'\n');
        QVERIFY(scene.updates.updateEndpointURL().isUsable());
        QCOMPARE(scene.server.connections(), 0);
    }

    void whatTheServerSaysWrongIsSaid()
    {
        QByteArray body;
        int code = 200;
        UpdateScene scene([&](const WebRequest &) { return WebServer::reply(body, code); });
        const auto problemWith = [&](const QByteArray &answer) {
            body = answer;
            scene.check();
            const QString problem = scene.updates.lastError().value_or(QString());
            const bool isSaid = scene.updates.statusMessage() == u"Update check failed: "_s + problem;
            return isSaid && !scene.updates.availableRelease() ? problem : QString();
        };
        for (const char *other : {"<html>", "[]", "", "\"2.0\""})
            QCOMPARE(problemWith(other), u"The update response was not valid JSON."_s);
        for (const char *versionless : {"{}", "{\"version\":\" \"}", "{\"version\":2}"})
            QCOMPARE(problemWith(versionless), u"The update response is missing a version."_s);
        const QByteArray start = "{\"version\":\"2\",\"url\":\"";
        for (const char *url : {"", "ftp://h/a.dmg", "a.dmg", "file:///etc/passwd", "http://"})
            QCOMPARE(problemWith(start + url + "\"}"), u"The update response is missing a valid DMG URL."_s);
        for (const char *name : {"../a.dmg", "/etc/a", "a\\\\b.dmg", ".a.dmg", "..", "a\\n.dmg", "a\\u202Egmd.x"}) {
            const QString shown = QString::fromUtf8(name)
                                      .replace(u"\\n"_s, u"?"_s)
                                      .replace(u"\\u202E"_s, u"?"_s)
                                      .replace(u"\\\\"_s, u"\\"_s);
            QCOMPARE(problemWith(start + "http://h/a.dmg\",\"file_name\":\"" + name + "\"}"),
                     u"The update response names a file “%1”, which is not a plain file name."_s.arg(shown));
        }
        QCOMPARE(problemWith(start + "http://h/a.desktop\"}"),
                 u"The update response names a file “a.desktop”, which is no installer."_s);
        // What would drive a terminal, or fill a window, is left out.
        const Release release = Release::fromReply(
            start + "http://h/\",\"version\":\"2\\u001b[2J\\n\\u202Ea\",\"notes\":\"\\u001b[1mNew\\nand " +
                QByteArray(99999, 'x') + "\"}",
            QUrl());
        QCOMPARE(release.version, u"2[2J a"_s);
        QVERIFY(release.notes->startsWith(u"[1mNew\nand xxx") && release.notes->size() < 17000);
        code = 500;
        QCOMPARE(problemWith("{}"), u"The update server returned an unexpected status."_s);
        QCOMPARE(scene.updates.lastCheckedAt(), scene.now);
    }

    void theCurrentVersionIsUpToDate()
    {
        const QByteArray body =
            "{\"latest_version\":\"1.2.0\",\"build_number\":\"5\",\"download_url\":\"http://h/a.dmg\"}";
        // An encrypted server offers no installer without encryption.
        QVERIFY_THROWS_EXCEPTION(Error, Release::fromReply(body, QUrl(u"https://h/"_s)));
        UpdateScene scene([&](const WebRequest &) { return WebServer::reply(body); });
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
        // Nobody asked for them.
        QVERIFY(scene.server.connections() == 3 && notices.isEmpty());
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
