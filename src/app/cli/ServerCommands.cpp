// SPDX-License-Identifier: GPL-3.0-or-later
// servers list, show, add, edit and remove.
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "app/cli/ServerOptions.h"
#include "base/Json.h"
#include "servers/KeychainStore.h"
#include "servers/ServerStore.h"

#include <QCommandLineParser>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QList<ServerConnection> sorted(QList<ServerConnection> servers)
{
    std::sort(servers.begin(), servers.end(), isOrderedBefore);
    return servers;
}

QString address(const ServerConnection &server)
{
    const QString user = server.username.isEmpty() ? QString() : server.username + u'@';
    return u"%1%2:%3"_s.arg(user, server.host).arg(server.port);
}

ExitCode runList(const QCommandLineParser &parser, CommandContext &context)
{
    const QList<ServerConnection> servers = sorted(context.servers().library().servers);
    if (!parser.isSet(u"json"_s)) {
        for (const ServerConnection &server : servers) {
            console::print(u"%1  %2 %3 %4\n"_s.arg(uuidText(server.id),
                                                   rawText(server.networkProtocol).leftJustified(4),
                                                   server.displayName().leftJustified(28), address(server)));
        }
        return ExitCode::done;
    }
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"servers");
    writer.beginArray();
    for (const ServerConnection &server : servers)
        server.writeJson(writer);
    writer.endArray();
    writer.endObject();
    console::printBytes(writer.bytes());
    return ExitCode::done;
}

void printRecord(const ServerConnection &server)
{
    JsonWriter writer;
    server.writeJson(writer);
    console::printBytes(writer.bytes());
}

ExitCode runShow(const QCommandLineParser &parser, CommandContext &context)
{
    const ServerConnection server = context.server(parser.positionalArguments().constFirst());
    if (parser.isSet(u"json"_s)) {
        printRecord(server);
        return ExitCode::done;
    }
    const QList<std::pair<QString, QString>> rows{{u"id"_s, uuidText(server.id)},
                                                  {u"name"_s, server.displayName()},
                                                  {u"protocol"_s, rawText(server.networkProtocol)},
                                                  {u"address"_s, address(server)},
                                                  {u"login"_s, rawText(server.authMethod)},
                                                  {u"key file"_s, server.privateKeyPath.value_or(QString())},
                                                  {u"opens"_s, server.remotePath},
                                                  {u"folder"_s, folderPath(server, context.servers())},
                                                  {u"notes"_s, server.notes}};
    for (const auto &[label, value] : rows) {
        if (!value.isEmpty())
            console::print(u"%1 %2\n"_s.arg(label.leftJustified(9), value));
    }
    return ExitCode::done;
}

/// Saves, and throws when the library file did not take it.
void save(ServerStore &store, const ServerConnection &server)
{
    store.upsert(server);
    if (!store.problem().isEmpty())
        throw Error(u"Servers"_s, store.problem());
}

ExitCode runAdd(const QCommandLineParser &parser, CommandContext &context)
{
    const NetworkProtocol protocol =
        parser.isSet(u"protocol"_s) ? parseProtocol(parser.value(u"protocol"_s)) : NetworkProtocol::sftp;
    ServerConnection server = ServerConnection::newDraft(protocol);
    applyServerOptions(server, parser, context.servers());
    save(context.servers(), server);
    if (parser.isSet(u"json"_s))
        printRecord(*context.servers().server(server.id));
    else
        console::print(uuidText(server.id) + u'\n');
    return ExitCode::done;
}

ExitCode runEdit(const QCommandLineParser &parser, CommandContext &context)
{
    ServerConnection server = context.server(parser.positionalArguments().constFirst());
    applyServerOptions(server, parser, context.servers());
    save(context.servers(), server);
    if (parser.isSet(u"json"_s))
        printRecord(server);
    return ExitCode::done;
}

ExitCode runRemove(const QCommandLineParser &parser, CommandContext &context)
{
    const ServerConnection server = context.server(parser.positionalArguments().constFirst());
    ServerStore &store = context.servers();
    store.remove(server.id);
    if (!store.problem().isEmpty())
        throw Error(u"Servers"_s, store.problem());
    for (const SecretKind kind : allSecretKinds) {
        if (!context.keychain().remove(server.id, kind)) {
            console::complain(u"The server was removed; its secrets could not be looked for: %1"_s.arg(
                context.keychain().lastProblem()));
            return ExitCode::partly;
        }
    }
    return ExitCode::done;
}

} // namespace

QList<Command> serverCommands()
{
    const QCommandLineOption json(u"json"_s, u"Print JSON."_s);
    const QString details =
        u"SERVER is an id, or a name or host that only one server has. The JSON of a server has the\n"
        "fields of its record; absent ones are null. Secrets are never shown."_s;
    Command list{u"servers list"_s, u"[--json]"_s, u"List the saved servers."_s, {}, {}, {json}, 0, 0, runList};
    list.details = u"--json prints {\"servers\":[record…]}."_s;
    list.examples = {u"servers list"_s, u"servers list --json"_s};
    Command show{
        u"servers show"_s, u"SERVER [--json]"_s, u"Show one saved server."_s, details, {}, {json}, 1, 1, runShow};
    show.examples = {u"servers show web-01"_s};
    Command add{u"servers add"_s,
                u"--host HOST [OPTION…]"_s,
                u"Save a new server and print its id."_s,
                {},
                {},
                {},
                0,
                0,
                runAdd};
    add.options = serverOptions() + QList{json};
    add.examples = {u"servers add --host web.example.org --user deploy --name web-01 --auth agent"_s};
    Command edit{
        u"servers edit"_s, u"SERVER OPTION…"_s, u"Change fields of a saved server."_s, details, {}, {}, 1, 1, runEdit};
    edit.options = serverOptions() + QList{json};
    edit.examples = {u"servers edit web-01 --port 2222 --favorite yes"_s};
    Command remove{u"servers remove"_s,
                   u"SERVER"_s,
                   u"Remove a saved server and its secrets."_s,
                   details,
                   {},
                   {},
                   1,
                   1,
                   runRemove};
    remove.examples = {u"servers remove web-01"_s};
    return {list, show, add, edit, remove};
}

} // namespace moorix
