// SPDX-License-Identifier: GPL-3.0-or-later
// servers import and export.
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "base/JsonFile.h"
#include "servers/ServerStore.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QString absolute(const QString &path)
{
    return QDir::current().absoluteFilePath(path);
}

ExitCode runExport(const QCommandLineParser &parser, CommandContext &context)
{
    const QString file = parser.positionalArguments().constFirst();
    const QByteArray bytes = context.servers().library().encode();
    if (file == u"-") {
        console::printBytes(bytes);
        return ExitCode::done;
    }
    if (QFileInfo::exists(absolute(file)) && !parser.isSet(u"force"_s))
        throw Error(u"Servers"_s, u"“%1” exists already. With --force it is replaced."_s.arg(file));
    jsonFile::write(absolute(file), bytes);
    return ExitCode::done;
}

ServerLibrary readLibrary(const QString &file, const std::stop_token &stop)
{
    if (file == u"-")
        return ServerLibrary::decode(console::readAll(stop));
    const auto bytes = jsonFile::read(absolute(file));
    if (!bytes)
        throw Error(u"Servers"_s, u"There is no file “%1”."_s.arg(file));
    return ServerLibrary::decode(*bytes);
}

/// Parents first, since a folder whose parent is not there (yet) would go to the top level.
void importFolders(QList<ServerFolder> folders, ServerStore &store)
{
    while (!folders.isEmpty()) {
        const qsizetype before = folders.size();
        folders.removeIf([&store](const ServerFolder &folder) {
            const bool isReady = !folder.parentID || store.folder(*folder.parentID);
            if (isReady)
                store.updateFolder(folder);
            return isReady;
        });
        if (folders.size() == before)
            store.updateFolder(folders.takeFirst());
    }
}

ExitCode runImport(const QCommandLineParser &parser, CommandContext &context)
{
    const ServerLibrary library = readLibrary(parser.positionalArguments().constFirst(), context.stop());
    ServerStore &store = context.servers();
    qsizetype replaced = 0;
    for (const ServerConnection &server : library.servers)
        replaced += store.server(server.id) ? 1 : 0;
    importFolders(library.folders, store);
    for (const ServerConnection &server : library.servers)
        store.upsert(server);
    if (!store.problem().isEmpty())
        throw Error(u"Servers"_s, store.problem());
    console::print(u"%1 servers added, %2 replaced.\n"_s.arg(library.servers.size() - replaced).arg(replaced));
    return ExitCode::done;
}

} // namespace

QList<Command> serverTransferCommands()
{
    Command exportCommand{u"servers export"_s,
                          u"FILE|- [--force]"_s,
                          u"Write the server library as JSON."_s,
                          {},
                          {},
                          {},
                          1,
                          1,
                          runExport};
    exportCommand.details =
        u"The document is {\"folders\":[…],\"servers\":[…],\"lastModified\"}; it never holds secrets."_s;
    exportCommand.options = {{u"force"_s, u"Replace a file that exists."_s}};
    exportCommand.examples = {u"servers export servers.json"_s, u"servers export - | jq '.servers[].host'"_s};
    Command importCommand{
        u"servers import"_s, u"FILE|-"_s, u"Add the servers of an exported library."_s, {}, {}, {}, 1, 1, runImport};
    importCommand.details =
        u"Servers and folders with an id that is known replace the saved ones; nothing is removed."_s;
    importCommand.examples = {u"servers import servers.json"_s};
    return {exportCommand, importCommand};
}

} // namespace moorix
