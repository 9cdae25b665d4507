// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PaneTabs.h"

#include "app/LeftOperations.h"
#include "app/ServerConnections.h"
#include "app/Session.h"
#include "files/FileService.h"
#include "files/PaneModel.h"
#include "platform/AppPaths.h"
#include "settings/SettingsStore.h"
#include "transfers/TransferEngine.h"

#include <algorithm>
#include <utility>

namespace moorix {

PaneTabs::PaneTabs(Environment environment, QObject *parent)
    : QObject(parent)
    , m_environment(std::move(environment))
    , m_slot(std::make_unique<PaneSlot>(m_environment.localFiles))
{
    setUp(m_slot->localPane());
    connect(&m_environment.transfers, &TransferEngine::foldersChanged, this, &PaneTabs::reload);
    connect(&m_environment.leftOperations, &LeftOperations::folderChanged, this, &PaneTabs::reload);
    append(makeLocal(m_environment.settings.defaultLocalPath.value()));
}

PaneTabs::~PaneTabs()
{
    qDeleteAll(m_sessions);
}

void PaneTabs::setCurrentIndex(qsizetype index)
{
    if (index < 0 || index >= m_sessions.size() || index == m_currentIndex)
        return;
    m_currentIndex = index;
    showCurrent();
}

void PaneTabs::restore(const QList<SavedTab> &tabs, qsizetype currentIndex)
{
    if (tabs.isEmpty())
        return;
    const QList<Session *> old = std::exchange(m_sessions, {});
    for (const SavedTab &tab : tabs)
        m_sessions.append(&adopt(make(tab)));
    m_currentIndex = std::clamp<qsizetype>(currentIndex, 0, m_sessions.size() - 1);
    emit sessionsChanged();
    showCurrent();
    for (Session *session : old)
        discard(session);
}

Session &PaneTabs::openLocal(const QString &path)
{
    return append(makeLocal(path));
}

Session &PaneTabs::openServers()
{
    const auto existing = std::find_if(m_sessions.cbegin(), m_sessions.cend(),
                                       [](const Session *session) { return session->mode() == PaneMode::servers; });
    if (existing == m_sessions.cend())
        return append(Session::library());
    setCurrentIndex(existing - m_sessions.cbegin());
    return **existing;
}

Session &PaneTabs::openServer(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials,
                              const std::optional<QString> &path)
{
    return append(makeRemote(server, credentials, path));
}

Session &PaneTabs::openTerminal(const ServerConnection &server)
{
    return append(Session::terminal(server));
}

Session &PaneTabs::openServerHere(const ServerConnection &server, const std::optional<QString> &path)
{
    return replaceCurrent(makeRemote(server, std::nullopt, path));
}

Session &PaneTabs::openLocalHere(const QString &path)
{
    if (current().mode() != PaneMode::local)
        return replaceCurrent(makeLocal(path));
    current().pane()->load(path, true);
    return current();
}

void PaneTabs::close(qsizetype index)
{
    if (index < 0 || index >= m_sessions.size())
        return;
    if (m_sessions.size() == 1) {
        replaceCurrent(makeLocal(m_environment.settings.defaultLocalPath.value()));
        return;
    }
    const bool wasCurrent = index == m_currentIndex;
    Session *closed = m_sessions.takeAt(index);
    if (index < m_currentIndex || m_currentIndex == m_sessions.size())
        --m_currentIndex;
    emit sessionsChanged();
    if (wasCurrent)
        showCurrent();
    discard(closed);
}

void PaneTabs::moveTab(qsizetype from, qsizetype to)
{
    if (from < 0 || from >= m_sessions.size() || to < 0 || to >= m_sessions.size() || from == to)
        return;
    const Session *shown = &current();
    m_sessions.move(from, to);
    m_currentIndex = std::find(m_sessions.cbegin(), m_sessions.cend(), shown) - m_sessions.cbegin();
    emit sessionsChanged();
}

Session &PaneTabs::append(std::unique_ptr<Session> session)
{
    Session &added = adopt(std::move(session));
    const qsizetype place = m_sessions.isEmpty() ? 0 : m_currentIndex + 1;
    m_sessions.insert(place, &added);
    m_currentIndex = place;
    emit sessionsChanged();
    showCurrent();
    return added;
}

Session &PaneTabs::replaceCurrent(std::unique_ptr<Session> session)
{
    Session &added = adopt(std::move(session));
    Session *old = std::exchange(m_sessions[m_currentIndex], &added);
    emit sessionsChanged();
    showCurrent();
    discard(old);
    return added;
}

Session &PaneTabs::adopt(std::unique_ptr<Session> session)
{
    Session *raw = session.release();
    raw->setParent(this);
    connect(raw, &Session::stateChanged, this, [this, raw] {
        if (&current() == raw)
            m_slot->setMode(raw->mode());
    });
    connect(raw, &Session::paneLeaves, &m_environment.leftOperations, &LeftOperations::takeFrom);
    return *raw;
}

void PaneTabs::discard(Session *session)
{
    if (session->pane())
        m_environment.leftOperations.takeFrom(*session->pane());
    session->disconnect(this);
    session->deleteLater();
}

std::unique_ptr<Session> PaneTabs::make(const SavedTab &tab)
{
    if (tab.mode == PaneMode::servers)
        return Session::library();
    if (!tab.server) {
        std::unique_ptr<Session> session = makeLocal();
        session->openRemembered(tab.path);
        return session;
    }
    const auto path = tab.path.isEmpty() ? std::nullopt : std::optional(tab.path);
    return Session::dormant({*tab.server, std::nullopt, path}, m_environment.connections,
                            [this](PaneModel &pane) { setUp(pane); });
}

/// The slot's own list serves one tab; further local tabs get lists of their own.
std::unique_ptr<Session> PaneTabs::makeLocal()
{
    PaneModel &shared = m_slot->localPane();
    const bool isFree = std::none_of(m_sessions.cbegin(), m_sessions.cend(),
                                     [&shared](const Session *session) { return session->pane() == &shared; });
    std::unique_ptr<Session> session;
    if (isFree) {
        session = Session::local(shared);
    } else {
        auto pane = std::make_unique<PaneModel>(m_environment.localFiles, shared.title(), true);
        setUp(*pane);
        session = Session::local(std::move(pane));
    }
    return session;
}

std::unique_ptr<Session> PaneTabs::makeLocal(const QString &path)
{
    std::unique_ptr<Session> session = makeLocal();
    session->pane()->load(AppPaths::expandTilde(path), false);
    return session;
}

std::unique_ptr<Session> PaneTabs::makeRemote(const ServerConnection &server,
                                              const std::optional<ConnectionCredentials> &credentials,
                                              const std::optional<QString> &path)
{
    return Session::remote({server, credentials, path}, m_environment.connections,
                           [this](PaneModel &pane) { setUp(pane); });
}

void PaneTabs::setUp(PaneModel &pane) const
{
    const SettingsStore &settings = m_environment.settings;
    pane.setSortKey(fileSortKeyFromRaw(settings.sortKeyRaw.value()).value_or(FileSortKey::name));
    pane.setSortAscending(settings.sortAscending.value());
    pane.setShowHidden(settings.showHiddenFiles.value());
}

void PaneTabs::showCurrent()
{
    m_slot->setMode(current().mode());
    emit currentChanged();
}

void PaneTabs::reload(const FileService *service, const QStringList &folders)
{
    for (Session *session : std::as_const(m_sessions)) {
        PaneModel *pane = session->pane();
        if (pane && pane->service().get() == service && folders.contains(pane->currentPath()))
            pane->reloadUnlessLeaving();
    }
}

} // namespace moorix
