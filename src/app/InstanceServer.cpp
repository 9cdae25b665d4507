// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/InstanceServer.h"

#include "base/Error.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QTimer>

#include <chrono>

namespace moorix {

namespace {

/// Whoever connects says at once what it wants.
constexpr std::chrono::seconds patience{5};
constexpr int mostWaiting = 16;

/// Qt has words for few errors; of others it tells the number, behind the name of its own function.
QString reasonOf(const QLocalServer &server)
{
    static const QRegularExpression number(QStringLiteral("error (\\d+)$"));
    const QString told = server.errorString();
    const QRegularExpressionMatch match = number.match(told);
    return match.hasMatch() ? systemErrorText(match.captured(1).toInt()) : told.section(QStringLiteral(": "), 1);
}

} // namespace

InstanceServer::InstanceServer(const QString &socketPath, QObject *parent)
    : QObject(parent)
    , m_server(std::make_unique<QLocalServer>())
{
    if (socketPath.isEmpty())
        return;
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    m_server->setMaxPendingConnections(mostWaiting);
    QLocalServer::removeServer(socketPath);
    connect(m_server.get(), &QLocalServer::newConnection, this, &InstanceServer::takeConnection);
    if (!m_server->listen(socketPath))
        m_problem = QStringLiteral("“%1” could not be made: %2").arg(socketPath, reasonOf(*m_server));
}

InstanceServer::~InstanceServer() = default;

void InstanceServer::takeConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        socket->setReadBufferSize(instanceMessage::longestBytes + 1);
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { hear(*socket); });
        QTimer::singleShot(patience, socket, [socket] { socket->abort(); });
        hear(*socket);
    }
}

void InstanceServer::hear(QLocalSocket &socket)
{
    if (!socket.canReadLine()) {
        if (socket.bytesAvailable() > instanceMessage::longestBytes)
            socket.abort();
        return;
    }
    const std::optional<OpenRequest> request = instanceMessage::decode(socket.readLine());
    socket.disconnect(this);
    socket.write(instanceMessage::answer(request.has_value()));
    // Whoever has hung up has told the user already that nothing was opened.
    const bool isAnswered = socket.flush() && socket.state() == QLocalSocket::ConnectedState;
    socket.disconnectFromServer();
    if (request && isAnswered)
        emit openRequested(*request);
}

} // namespace moorix

#include "moc_InstanceServer.cpp"
