// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "endpoints/AppUpdateManager.h"
#include "platform/KeyValueStore.h"
#include "platform/NetworkHttpClient.h"
#include "platform/Preferences.h"
#include "settings/SettingsStore.h"
#include "support/TestMain.h"
#include "support/WebServer.h"

#include <QDir>
#include <QSignalSpy>

namespace moorix::test {

/// The settings, a server of the test's own, and the time.
struct EndpointScene
{
    TestTree tree;
    Preferences preferences{tree.path("preferences.json")};
    KeyValueStore cloud{QString()};
    SettingsStore settings{preferences, cloud};
    QDateTime now = QDateTime::fromString(QStringLiteral("2026-03-01T12:00:00.000Z"), Qt::ISODateWithMs);
    WebServer server;

    explicit EndpointScene(WebServer::Answer answer)
        : server(std::move(answer))
    {
    }
};

/// Version 1.2 of the program, build 5, with a folder for downloads.
struct UpdateScene : EndpointScene
{
    explicit UpdateScene(WebServer::Answer answer)
        : EndpointScene(std::move(answer))
    {
        settings.updateEndpoint.set(server.url());
    }

    /// A check that the user asks for, to its end.
    void check()
    {
        updates.checkForUpdates(true);
        QTRY_VERIFY(!updates.isChecking());
    }
    void download()
    {
        updates.downloadAndOpenLatestDMG();
        QTRY_VERIFY(!updates.isDownloading());
    }
    /// The clock goes on; the program looks at it.
    void pass(int seconds)
    {
        now = now.addSecs(seconds);
        updates.tick();
    }
    QStringList downloaded() const
    {
        return QDir(tree.path("Downloads")).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    QStringList opened;
    AppUpdateManager updates{settings,
                             {std::make_shared<NetworkHttpClient>(), QStringLiteral("1.2"), QStringLiteral("5"),
                              tree.path("Downloads"),
                              [this](const QString &path) {
                                  opened.append(path);
                                  return true;
                              },
                              [this] { return now; }}};
};

} // namespace moorix::test
