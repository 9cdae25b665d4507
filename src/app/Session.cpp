// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Session.h"

#include "app/ServerConnections.h"
#include "base/Json.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/NativePath.h"
#include "files/PaneModel.h"
#include "files/RemoteFileService.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The folder itself, or the nearest one above it that there is. Blocking.
QString nearestFolder(QString path)
{
    struct stat facts = {};
    while (path.size() > 1) {
        if (::stat(NativePath::bytes(path).constData(), &facts) == 0 ? S_ISDIR(facts.st_mode)
                                                                     : errno != ENOENT && errno != ENOTDIR)
            return path;
        path.truncate(std::max<qsizetype>(path.lastIndexOf(u'/'), 0));
    }
    return u"/"_s;
}

} // namespace

Session::Session(PaneMode mode)
    : m_id(newUuid())
    , m_mode(mode)
{
}

Session::~Session() = default;

std::unique_ptr<Session> Session::local(PaneModel &sharedPane)
{
    std::unique_ptr<Session> session(new Session(PaneMode::local));
    session->observe(sharedPane);
    return session;
}

std::unique_ptr<Session> Session::local(std::unique_ptr<PaneModel> pane)
{
    std::unique_ptr<Session> session = local(*pane);
    session->m_ownPane = std::move(pane);
    return session;
}

std::unique_ptr<Session> Session::library()
{
    return std::unique_ptr<Session>(new Session(PaneMode::servers));
}

std::unique_ptr<Session> Session::terminal(const ServerConnection &server)
{
    std::unique_ptr<Session> session(new Session(PaneMode::terminal));
    session->m_server = server;
    return session;
}

std::unique_ptr<Session> Session::remote(Target target, ServerConnections &connections, PaneSetup setUp)
{
    std::unique_ptr<Session> session = dormant(std::move(target), connections, std::move(setUp));
    session->connectToServer();
    return session;
}

std::unique_ptr<Session> Session::dormant(Target target, ServerConnections &connections, PaneSetup setUp)
{
    std::unique_ptr<Session> session(new Session(PaneMode::remote));
    session->m_state = State::dormant;
    session->m_server = std::move(target.server);
    session->m_credentials = std::move(target.credentials);
    session->m_path = std::move(target.path);
    session->m_connections = &connections;
    QObject::connect(&connections, &ServerConnections::disconnected, session.get(),
                     [session = session.get()](const QUuid &serverID) {
                         if (serverID == session->m_server->id)
                             session->endConnection(FileServiceError::notConnected().message());
                     });
    session->m_setUp = std::move(setUp);
    return session;
}

QString Session::title() const
{
    switch (m_mode) {
    case PaneMode::servers:
        return u"Servers"_s;
    case PaneMode::remote:
    case PaneMode::terminal:
        return Format::display(m_server->displayName());
    case PaneMode::local:
        break;
    }
    const QString name = Format::fileName(folder());
    return name.isEmpty() ? u"/"_s : Format::display(name);
}

QString Session::folder() const
{
    if (!m_pane)
        return m_path.value_or(QString());
    return m_pane->currentPath().isEmpty() ? m_pane->loadingPath() : m_pane->currentPath();
}

void Session::dismissNotice()
{
    if (m_notice.isEmpty())
        return;
    m_notice.clear();
    emit noticeChanged();
}

void Session::retry()
{
    if (m_state == State::dormant || m_state == State::failed)
        connectToServer();
}

void Session::cancelConnecting()
{
    if (m_state != State::connecting)
        return;
    m_job.cancel();
    setState(State::failed, u"Connecting to %1 was cancelled."_s.arg(m_server->displayName()));
}

void Session::observe(PaneModel &pane)
{
    m_pane = &pane;
    connect(&pane, &PaneModel::currentPathChanged, this, &Session::titleChanged);
    connect(&pane, &PaneModel::errorMessageChanged, this, &Session::noticeLostConnection);
    connect(&pane, &PaneModel::errorMessageChanged, this, &Session::lookAboveRemembered);
    connect(&pane, &PaneModel::currentPathChanged, this, &Session::forgetRemembered);
}

void Session::connectToServer()
{
    setState(State::connecting, u"Connecting to %1…"_s.arg(m_server->displayName()));
    m_job = m_connections->open(
        *m_server, m_credentials, [this](const OpenConnection &connection) { show(connection); },
        [this](const Error &error) { setState(State::failed, error.message()); });
}

void Session::show(const OpenConnection &connection)
{
    dropPane();
    m_ownPane = std::make_unique<PaneModel>(connection.service, m_server->displayName(), false);
    m_setUp(*m_ownPane);
    observe(*m_ownPane);
    m_ownPane->load(m_path.value_or(connection.startPath), false);
    setState(State::ready, {});
    if (!connection.notice.isEmpty()) {
        m_notice = connection.notice;
        emit noticeChanged();
    }
}

void Session::openRemembered(const QString &path)
{
    m_remembered = path;
    m_pane->load(path, false);
}

QString Session::folderToRemember() const
{
    return m_remembered.isEmpty() ? folder() : m_remembered;
}

void Session::lookAboveRemembered()
{
    if (m_remembered.isEmpty() || !m_standIn.isEmpty() || !m_pane->errorMessage() || !m_pane->currentPath().isEmpty())
        return;
    m_job = runJob([path = m_remembered](const std::stop_token &) { return nearestFolder(path); },
                   [this](const QString &above) { standInForRemembered(above); }, [](const Error &) {});
}

void Session::standInForRemembered(const QString &above)
{
    // A folder that is there but cannot be read has said so itself; and the user may have gone elsewhere meanwhile.
    if (above == m_remembered || !m_pane->currentPath().isEmpty() || m_pane->isLoading())
        return;
    m_standIn = above;
    m_notice =
        u"“%1” is not there at the moment; this is the nearest folder above it."_s.arg(Format::display(m_remembered));
    m_pane->load(above, false);
    emit noticeChanged();
}

void Session::forgetRemembered()
{
    if (m_pane->currentPath() != m_standIn)
        m_remembered.clear();
}

/// Views may still be inside a signal of the pane, so it goes a moment later.
void Session::dropPane()
{
    if (!m_ownPane)
        return;
    m_ownPane->disconnect(this);
    emit paneLeaves(*m_ownPane);
    m_pane = nullptr;
    m_ownPane.release()->deleteLater();
}

void Session::noticeLostConnection()
{
    if (m_mode != PaneMode::remote || m_state != State::ready || !m_pane || !m_pane->errorMessage())
        return;
    const QString message = *m_pane->errorMessage();
    const std::array lostPrefixes{FileServiceError::notConnected().message(),
                                  FileServiceError::connectionFailed({}).message(),
                                  FileServiceError::authFailed({}).message()};
    const bool isLost = std::any_of(lostPrefixes.cbegin(), lostPrefixes.cend(),
                                    [&message](const QString &prefix) { return message.startsWith(prefix); });
    if (isLost)
        endConnection(message);
}

void Session::endConnection(const QString &reason)
{
    if (m_state != State::connecting && m_state != State::ready)
        return;
    m_job.cancel();
    if (m_pane && !m_pane->currentPath().isEmpty())
        m_path = m_pane->currentPath();
    dropPane();
    setState(State::failed, reason);
}

void Session::setState(State state, const QString &text)
{
    m_state = state;
    m_stateText = text;
    emit stateChanged();
}

} // namespace moorix
