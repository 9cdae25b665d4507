// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ServerNames.h"

#include "app/ServerConnections.h"
#include "files/Format.h"
#include "servers/ServerStore.h"

namespace moorix {

using namespace Qt::StringLiterals;

ServerNames::ServerNames(const ServerStore &servers, const ServerConnections &connections, QObject *parent)
    : QObject(parent)
    , m_servers(servers)
    , m_connections(connections)
{
    connect(&servers, &ServerStore::libraryChanged, this, &ServerNames::noteNames);
    connect(&connections, &ServerConnections::connectionsChanged, this, &ServerNames::noteNames);
    noteNames();
}

QString ServerNames::name(const QUuid &server) const
{
    return m_known.value(server, u"a server that is not saved"_s);
}

void ServerNames::noteNames()
{
    for (const ServerInUse &inUse : m_connections.inUse())
        m_known.insert(inUse.server.id, Format::display(inUse.server.displayName()));
    // The library has the last word: a name may have been changed since the connection was made.
    for (const ServerConnection &server : m_servers.library().servers)
        m_known.insert(server.id, Format::display(server.displayName()));
}

} // namespace moorix
