// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QUuid>

namespace moorix {

class ServerConnections;
class ServerStore;

/// What servers are called, also those that are only connected and those that were removed in this run. Main thread.
class ServerNames final : public QObject
{
    Q_OBJECT

public:
    ServerNames(const ServerStore &servers, const ServerConnections &connections, QObject *parent = nullptr);

    /// Ready to be shown; never empty. Of one that nothing is known of any more, that it is not saved.
    QString name(const QUuid &server) const;

private:
    void noteNames();

    const ServerStore &m_servers;
    const ServerConnections &m_connections;
    /// By which each was known last.
    QHash<QUuid, QString> m_known;
};

} // namespace moorix
