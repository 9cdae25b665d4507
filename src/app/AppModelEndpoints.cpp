// SPDX-License-Identifier: GPL-3.0-or-later
// The services that the program asks or tells something: update checks and diagnostics.
#include "app/AppModel.h"

#include "app/PaneTabs.h"
#include "app/ProgramInfo.h"
#include "app/ServerConnections.h"
#include "app/Session.h"
#include "endpoints/AppUpdateManager.h"
#include "endpoints/RemoteDiagnosticsService.h"
#include "platform/AppPaths.h"
#include "platform/NetworkHttpClient.h"
#include "servers/ServerStore.h"

#include <algorithm>

namespace moorix {

namespace {

DiagnosticsSession told(const Session &session)
{
    using Kind = DiagnosticsSession::Kind;
    if (session.mode() == PaneMode::terminal)
        return {Kind::terminal};
    if (session.mode() != PaneMode::remote || !session.server())
        return {Kind::local};
    return {Kind::server, session.server()->displayName(), session.server()->host};
}

} // namespace

void AppModel::takeUpEndpoints(std::shared_ptr<HttpClient> http, std::function<bool(const QString &path)> openFile)
{
    if (!http)
        http = std::make_shared<NetworkHttpClient>();
    AppUpdateManager::Options updates;
    updates.http = http;
    updates.version = ProgramInfo::version();
    updates.build = ProgramInfo::build();
    updates.downloads = AppPaths::downloads();
    updates.openFile = std::move(openFile);
    m_updates = std::make_unique<AppUpdateManager>(*m_settings, std::move(updates));
    connect(m_updates.get(), &AppUpdateManager::noticeRaised, this, &AppModel::messageRaised);
    m_updates->startPeriodicChecks();

    RemoteDiagnosticsService::Options diagnostics;
    diagnostics.http = std::move(http);
    diagnostics.processes = m_processes;
    diagnostics.version = ProgramInfo::version();
    diagnostics.build = ProgramInfo::build();
    m_diagnostics = std::make_unique<RemoteDiagnosticsService>(*m_settings, *m_preferences, std::move(diagnostics));
    m_diagnostics->start(diagnosticsView());
}

/// For as long as the model lives.
DiagnosticsApp AppModel::diagnosticsView() const
{
    DiagnosticsApp view;
    view.savedServers = [this] { return m_servers->library().servers; };
    view.sessions = [this] {
        QList<DiagnosticsSession> sessions;
        for (const auto &tabs : m_tabs) {
            for (const Session *session : tabs->sessions())
                sessions.append(told(*session));
        }
        return sessions;
    };
    view.activeConnections = [this] {
        const QList<ServerInUse> inUse = m_connections->inUse();
        return std::ranges::count_if(
            inUse, [this](const ServerInUse &used) { return m_connections->isConnected(used.server.id); });
    };
    return view;
}

} // namespace moorix
