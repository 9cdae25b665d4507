// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MonitoredHost.h"
#include "monitor/LocalMonitor.h"

#include <vector>

namespace moorix {

class Preferences;
class ServerConnections;
class ServerStore;

/// The machines the user watches: this one, and the servers chosen for the dashboard. The preferences keep the choice
/// of those in the library; others are there as long as they are connected. Reads only while something shows what is
/// read. Main thread.
class Monitoring final : public QObject
{
    Q_OBJECT

public:
    struct Environment
    {
        Preferences &preferences;
        ServerStore &servers;
        ServerConnections &connections;
        std::shared_ptr<KeychainStore> keychain;
        std::shared_ptr<ProcessRunner> processes;
    };

    explicit Monitoring(Environment environment, QObject *parent = nullptr);
    ~Monitoring() override;

    MonitoredHost &thisMachine() { return m_thisMachine; }
    LocalMonitor &local() { return m_local; }
    /// In the order they were chosen in.
    const std::vector<std::unique_ptr<MonitoredHost>> &servers() const { return m_servers; }
    /// Servers that are connected without being in the library, by name: they may be chosen too.
    QList<ServerConnection> unsavedServers() const;
    bool isChosen(const QUuid &server) const;
    void setChosen(const QUuid &server, bool isChosen);

    /// The dashboard can be seen. It shows processes, and the servers.
    void setDashboardShown(bool isShown);
    /// Something small can be seen all the time, which shows figures of this machine alone.
    void setTrayShown(bool isShown);

signals:
    void hostsChanged();
    /// A sentence for the status bar.
    void messageRaised(const QString &message);
    /// Something has begun to run short; once for each episode. `topic` names machine and resource.
    void alertRaised(const QString &topic, const QString &title, const QString &text);

private:
    void load();
    void save();
    void followLibrary();
    void followConnections();
    void followDisconnection(const QUuid &server);
    bool isSaved(const QUuid &server) const;
    void dropUnreachable();
    void add(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials);
    void follow(MonitoredHost &host);
    void watch();

    Environment m_environment;
    LocalMonitor m_local;
    MonitoredHost m_thisMachine;
    std::vector<std::unique_ptr<MonitoredHost>> m_servers;
    bool m_isDashboardShown = false;
    bool m_isTrayShown = false;
};

} // namespace moorix
