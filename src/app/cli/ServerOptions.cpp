// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/ServerOptions.h"

#include "app/cli/Command.h"
#include "app/cli/OptionValues.h"
#include "servers/ServerStore.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The words of the command line for the stored texts, which hold blanks.
constexpr std::array authWords{std::pair{"password", AuthMethod::password}, std::pair{"system", AuthMethod::systemKey},
                               std::pair{"agent", AuthMethod::agent}, std::pair{"key-file", AuthMethod::privateKeyFile},
                               std::pair{"pasted-key", AuthMethod::privateKeyPasted}};

AuthMethod parseAuth(const QString &text)
{
    for (const auto &[word, method] : authWords) {
        if (text == QLatin1String(word) || text == rawText(method))
            return method;
    }
    throw UsageError(u"“%1” is no way to log in; it is password, system, agent, key-file or pasted-key."_s.arg(text));
}

std::optional<QString> textOrNothing(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

std::optional<QString> parseColor(const QString &text)
{
    static const QRegularExpression form(u"^#[0-9A-Fa-f]{6}$"_s);
    if (!text.isEmpty() && !form.match(text).hasMatch())
        throw UsageError(u"--color takes a colour such as #3DDC84, not “%1”."_s.arg(text));
    return textOrNothing(text);
}

std::optional<QUuid> parseFolder(const QString &text, const ServerStore &store)
{
    const QUuid id = QUuid::fromString(text);
    if (!id.isNull() && store.folder(id))
        return id;
    std::optional<QUuid> place;
    const QStringList names = text.split(u'/', Qt::SkipEmptyParts);
    for (const QString &name : names) {
        const QList<ServerFolder> folders = store.folders(place);
        const auto found = std::find_if(folders.cbegin(), folders.cend(),
                                        [&name](const ServerFolder &folder) { return folder.name == name; });
        if (found == folders.cend())
            throw UsageError(u"The server library has no folder “%1”."_s.arg(text));
        place = found->id;
    }
    return place;
}

} // namespace

NetworkProtocol parseProtocol(const QString &text)
{
    const auto protocol = networkProtocolFromRaw(text.toUpper());
    if (!protocol)
        throw UsageError(u"“%1” is no protocol; it is sftp, ftp, ftps or ssh."_s.arg(text));
    return *protocol;
}

QList<QCommandLineOption> serverOptions()
{
    return {{u"host"_s, u"Host name or address."_s, u"HOST"_s},
            {u"port"_s, u"TCP port."_s, u"NUMBER"_s},
            {u"user"_s, u"Login name."_s, u"NAME"_s},
            {u"protocol"_s, u"sftp, ftp, ftps or ssh."_s, u"PROTOCOL"_s},
            {u"auth"_s, u"password, system, agent, key-file or pasted-key."_s, u"METHOD"_s},
            {u"key"_s, u"Path of the key file."_s, u"FILE"_s},
            {u"path"_s, u"Folder to open first."_s, u"PATH"_s},
            {u"name"_s, u"Label in the library."_s, u"TEXT"_s},
            {u"folder"_s, u"Folder of the library, by id or as NAME/NAME; empty for the top."_s, u"FOLDER"_s},
            {u"favorite"_s, u"yes or no."_s, u"SWITCH"_s},
            {u"color"_s, u"Colour as #RRGGBB."_s, u"COLOR"_s},
            {u"symbol"_s, u"Name of the symbol shown."_s, u"NAME"_s},
            {u"sort-index"_s, u"Place among the servers of its folder."_s, u"NUMBER"_s},
            {u"passive"_s, u"FTP: passive data connections, yes or no."_s, u"SWITCH"_s},
            {u"tls"_s, u"FTPS: encrypt the connection, yes or no."_s, u"SWITCH"_s},
            {u"keep-alive"_s, u"Seconds between signs of life; 0 for none."_s, u"SECONDS"_s},
            {u"strict"_s, u"Refuse unknown host keys and certificates, yes or no."_s, u"SWITCH"_s},
            {u"charset"_s, u"Character set of remote names."_s, u"NAME"_s},
            {u"notes"_s, u"Free text."_s, u"TEXT"_s}};
}

void applyServerOptions(ServerConnection &server, const QCommandLineParser &parser, const ServerStore &store)
{
    constexpr qint64 largest = std::numeric_limits<qint32>::max();
    const auto take = [&parser](const QString &option, const auto &set) {
        if (parser.isSet(option))
            set(parser.value(option));
    };
    const auto takeNumber = [&take](const QString &option, qint64 &field, qint64 minimum, qint64 maximum) {
        take(option, [&](const QString &text) { field = optionValues::number(option, text, minimum, maximum); });
    };
    const auto takeSwitch = [&take](const QString &option, bool &field) {
        take(option, [&](const QString &text) { field = optionValues::yesOrNo(option, text); });
    };
    take(u"protocol"_s, [&](const QString &text) { server.networkProtocol = parseProtocol(text); });
    take(u"host"_s, [&](const QString &text) { server.host = text; });
    take(u"user"_s, [&](const QString &text) { server.username = text; });
    take(u"auth"_s, [&](const QString &text) { server.authMethod = parseAuth(text); });
    take(u"key"_s, [&](const QString &text) { server.privateKeyPath = textOrNothing(text); });
    take(u"path"_s, [&](const QString &text) { server.remotePath = text; });
    take(u"name"_s, [&](const QString &text) { server.name = text; });
    take(u"folder"_s, [&](const QString &text) { server.folderID = parseFolder(text, store); });
    take(u"color"_s, [&](const QString &text) { server.colorTag = parseColor(text); });
    take(u"symbol"_s, [&](const QString &text) { server.symbol = textOrNothing(text); });
    take(u"charset"_s, [&](const QString &text) { server.charset = text; });
    take(u"notes"_s, [&](const QString &text) { server.notes = text; });
    takeNumber(u"port"_s, server.port, 1, 65535);
    takeNumber(u"keep-alive"_s, server.keepAliveSeconds, 0, largest);
    takeNumber(u"sort-index"_s, server.sortIndex, 0, largest);
    takeSwitch(u"favorite"_s, server.isFavorite);
    takeSwitch(u"passive"_s, server.passiveMode);
    takeSwitch(u"tls"_s, server.useTLS);
    takeSwitch(u"strict"_s, server.strictHostKeyChecking);
    if (server.host.isEmpty())
        throw UsageError(u"A server needs a host: --host NAME."_s);
}

QString folderPath(const ServerConnection &server, const ServerStore &store)
{
    QStringList names;
    for (std::optional<QUuid> id = server.folderID; id;) {
        const auto folder = store.folder(*id);
        if (!folder)
            break;
        names.prepend(folder->name);
        id = folder->parentID;
    }
    return names.join(u'/');
}

} // namespace moorix
