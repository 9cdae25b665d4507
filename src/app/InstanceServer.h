// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/InstanceMessage.h"

#include <QObject>

#include <memory>

class QLocalServer;
class QLocalSocket;

namespace moorix {

/// Hears what later starts of the program hand over to the window that is open. Main thread.
class InstanceServer final : public QObject
{
    Q_OBJECT

public:
    /// Listens at the socket, in place of one that a crash has left; whoever makes it holds the lock. Nothing is heard
    /// where that is impossible, or the path is empty.
    explicit InstanceServer(const QString &socketPath, QObject *parent = nullptr);
    ~InstanceServer() override;

    /// Why nothing is heard, in the system's words; empty while the socket is listened at, and without a path.
    const QString &problem() const { return m_problem; }

signals:
    /// The other program has its answer already; what it gave up waiting for is not requested any more.
    void openRequested(const moorix::OpenRequest &request);

private:
    void takeConnection();
    void hear(QLocalSocket &socket);

    std::unique_ptr<QLocalServer> m_server;
    QString m_problem;
};

} // namespace moorix
