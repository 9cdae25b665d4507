// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Monitoring.h"

#include "app/FirstContact.h"
#include "app/ServerConnections.h"
#include "base/Json.h"
#include "files/Format.h"
#include "platform/Preferences.h"
#include "remote/SFTPService.h"
#include "servers/ServerStore.h"

#include <QJsonArray>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString serversKey = u"monitor.servers"_s;

} // namespace

Monitoring::Monitoring(Environment environment, QObject *parent)
    : QObject(parent)
    , m_environment(std::move(environment))
    , m_thisMachine(m_local)
{
    follow(m_thisMachine);
    connect(&m_thisMachine, &MonitoredHost::changed, this, &Monitoring::watch);
    connect(&m_environment.servers, &ServerStore::libraryChanged, this, &Monitoring::followLibrary);
    connect(&m_environment.connections, &ServerConnections::connectionsChanged, this, &Monitoring::followConnections);
    connect(&m_environment.connections, &ServerConnections::disconnected, this, &Monitoring::followDisconnection);
    load();
}

Monitoring::~Monitoring() = default;

void Monitoring::load()
{
    for (const QJsonValue &id : m_environment.preferences.value(serversKey).toArray()) {
        const auto server = m_environment.servers.server(QUuid(id.toString()));
        if (server && !isChosen(server->id))
            add(*server, std::nullopt);
    }
}

void Monitoring::save()
{
    QJsonArray ids;
    for (const auto &host : m_servers) {
        if (isSaved(host->server()->id))
            ids << uuidText(host->server()->id);
    }
    m_environment.preferences.setValue(serversKey, ids);
}

void Monitoring::add(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials)
{
    RemoteStatsMonitor::Tools tools;
    tools.keychain = m_environment.keychain;
    tools.processes = m_environment.processes;
    tools.credentials = credentials;
    tools.isUsedElsewhere = [connections = &m_environment.connections](const QUuid &id) {
        return connections->isConnected(id);
    };
    tools.connect = [processes = m_environment.processes](SFTPService &service, const ServerConnection &record,
                                                          const std::stop_token &stop) {
        return connectNotingFirstContact(service, record, *processes, stop);
    };
    m_servers.push_back(std::make_unique<MonitoredHost>(server, std::move(tools)));
    follow(*m_servers.back());
    m_servers.back()->setWatched(m_isDashboardShown);
}

void Monitoring::follow(MonitoredHost &host)
{
    connect(&host, &MonitoredHost::noticeRaised, this, &Monitoring::messageRaised);
    connect(&host, &MonitoredHost::alertBegan, this, [this, &host](const LoadWatch::Alert &alert) {
        const QString machine = host.server() ? uuidText(host.server()->id) : QString();
        emit alertRaised(u"monitor %1 %2"_s.arg(machine).arg(int(alert.resource)), Format::display(host.title()),
                         alert.text);
    });
}

bool Monitoring::isSaved(const QUuid &server) const
{
    return m_environment.servers.server(server).has_value();
}

QList<ServerConnection> Monitoring::unsavedServers() const
{
    QList<ServerConnection> servers;
    for (const ServerInUse &inUse : m_environment.connections.inUse()) {
        if (!isSaved(inUse.server.id))
            servers << inUse.server;
    }
    std::ranges::sort(servers, {}, &ServerConnection::displayName);
    return servers;
}

bool Monitoring::isChosen(const QUuid &server) const
{
    return std::any_of(m_servers.begin(), m_servers.end(),
                       [&server](const auto &host) { return host->server()->id == server; });
}

void Monitoring::setChosen(const QUuid &id, bool isWanted)
{
    if (isWanted == isChosen(id))
        return;
    if (!isWanted) {
        std::erase_if(m_servers, [&id](const auto &host) { return host->server()->id == id; });
    } else if (const auto server = m_environment.servers.server(id)) {
        add(*server, std::nullopt);
    } else {
        const QList<ServerInUse> inUse = m_environment.connections.inUse();
        const auto found = std::ranges::find(inUse, id, [](const ServerInUse &each) { return each.server.id; });
        if (found == inUse.end())
            return;
        add(found->server, found->credentials);
    }
    save();
    emit hostsChanged();
}

void Monitoring::followLibrary()
{
    dropUnreachable();
    for (const auto &host : m_servers) {
        if (const auto server = m_environment.servers.server(host->server()->id))
            host->setServer(*server);
    }
}

void Monitoring::followConnections()
{
    dropUnreachable();
    // What the user ended they have begun again elsewhere in the window.
    for (const auto &host : m_servers) {
        if (host->isDisconnected() && m_environment.connections.isConnected(host->server()->id))
            host->setDisconnected(false);
    }
}

void Monitoring::followDisconnection(const QUuid &server)
{
    dropUnreachable();
    for (const auto &host : m_servers) {
        if (host->server()->id == server)
            host->setDisconnected(true);
    }
}

/// Servers that are neither in the library nor connected any more.
void Monitoring::dropUnreachable()
{
    const auto dropped = std::erase_if(m_servers, [this](const auto &host) {
        const QUuid id = host->server()->id;
        return !isSaved(id) && !m_environment.connections.isConnected(id);
    });
    if (dropped == 0)
        return;
    save();
    emit hostsChanged();
}

void Monitoring::setDashboardShown(bool isShown)
{
    if (m_isDashboardShown == isShown)
        return;
    m_isDashboardShown = isShown;
    for (const auto &host : m_servers)
        host->setWatched(isShown);
    watch();
}

void Monitoring::setTrayShown(bool isShown)
{
    m_isTrayShown = isShown;
    watch();
}

void Monitoring::watch()
{
    // Who is guilty is looked for while something is short.
    const bool wantsProcesses = m_isDashboardShown || (m_isTrayShown && m_thisMachine.isTense());
    if (wantsProcesses)
        m_local.watch(this, LocalMonitor::Want::processes);
    else if (m_isTrayShown)
        m_local.watch(this, LocalMonitor::Want::vitals);
    else
        m_local.unwatch(this);
}

} // namespace moorix
