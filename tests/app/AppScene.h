// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/LeftOperations.h"
#include "app/PaneTabs.h"
#include "app/ServerConnections.h"
#include "app/Session.h"
#include "files/PaneModel.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "settings/SettingsStore.h"
#include "support/FakeProcessRunner.h"
#include "support/FolderServer.h"
#include "support/TestMain.h"
#include "transfers/TransferEngine.h"

#include <thread>

namespace moorix::test {

inline ServerConnection serverNamed(const QString &name)
{
    ServerConnection server = serverAt(QStringLiteral("host.example.org"), QStringLiteral("deploy"));
    server.name = name;
    return server;
}

/// What waits until it is stopped.
inline void waitForStop(const std::stop_token &stop)
{
    while (!stop.stop_requested())
        std::this_thread::yield();
    throw Cancelled();
}

/// One side of a window over temporary folders, whose servers are folders of this machine.
struct AppScene
{
    TestTree tree{{"home/a.txt", "a"}, {"home/.dot", ""}, {"srv/b.txt", "b"}, {"srv/deep/c.txt", "c"}};
    Preferences preferences{tree.path("preferences.json")};
    KeyValueStore cloud{QString()};
    SettingsStore settings{preferences, cloud};
    std::shared_ptr<FakeProcessRunner> runner;
    /// How often a service was disconnected; outlives the services.
    std::shared_ptr<std::atomic<int>> farewells = std::make_shared<std::atomic<int>>(0);
    /// Every service made, in order. Changed on workers, one at a time.
    QList<FolderServer *> made;
    /// Prepares each new service.
    std::function<void(FolderServer &)> prepare = [](FolderServer &) {};
    ServerConnections connections{[this](const ServerConnection &, const std::optional<ConnectionCredentials> &) {
                                      auto service = std::make_shared<FolderServer>();
                                      service->home = tree.path("srv");
                                      service->farewells = farewells;
                                      prepare(*service);
                                      made << service.get();
                                      return service;
                                  },
                                  runner};
    TransferEngine transfers;
    LeftOperations leftOperations;
    std::unique_ptr<PaneTabs> tabs;
    ServerConnection server = serverNamed(QStringLiteral("web-01"));

    explicit AppScene(std::shared_ptr<FakeProcessRunner> processes = std::make_shared<FakeProcessRunner>())
        : runner(std::move(processes))
    {
        settings.defaultLocalPath.set(tree.path("home"));
        settings.sortKeyRaw.set(QStringLiteral("size"));
        settings.showHiddenFiles.set(true);
        tabs = std::make_unique<PaneTabs>(PaneTabs::Environment{std::make_shared<LocalFileService>(), connections,
                                                                settings, transfers, leftOperations});
    }
};

} // namespace moorix::test
