// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/RecordDifferences.h"

#include "base/Json.h"

#include <algorithm>

namespace moorix::recordDifferences {

using namespace Qt::StringLiterals;

namespace {

/// Far more levels than a library has; a file may hold a circle.
constexpr int mostLevels = 64;
/// Longer texts, notes above all, say only that they differ.
constexpr qsizetype longestShown = 60;

QString shown(const QString &text)
{
    return text.isEmpty() ? u"(empty)"_s : text;
}

QString shown(bool isOn)
{
    return isOn ? u"on"_s : u"off"_s;
}

QString shown(qint64 number)
{
    return QString::number(number);
}

/// Collects the fields that differ.
class Fields final
{
public:
    void add(const QString &label, const QString &before, const QString &after)
    {
        if (before == after)
            return;
        const bool isShort =
            std::max(before.size(), after.size()) <= longestShown && !before.contains(u'\n') && !after.contains(u'\n');
        m_lines +=
            isShort ? u"%1: %2 → %3"_s.arg(label, shown(before), shown(after)) : u"%1: another text"_s.arg(label);
    }
    template <class Value>
    requires std::same_as<Value, bool> || std::same_as<Value, qint64>
    void add(const QString &label, Value before, Value after) { add(label, shown(before), shown(after)); }
    QStringList lines() const { return m_lines; }

private:
    QStringList m_lines;
};

QString serverName(const ServerLibrary &library, const std::optional<QUuid> &id)
{
    if (!id)
        return u"this computer"_s;
    const auto server = std::ranges::find(library.servers, *id, &ServerConnection::id);
    return server == library.servers.end() ? uuidText(*id) : server->displayName();
}

} // namespace

QString folderPath(const ServerLibrary &library, const std::optional<QUuid> &folder)
{
    QStringList names;
    for (std::optional<QUuid> id = folder; id && names.size() < mostLevels;) {
        const auto found = std::ranges::find(library.folders, *id, &ServerFolder::id);
        if (found == library.folders.end())
            break;
        names.prepend(found->name);
        id = found->parentID;
    }
    return names.join(u" / "_s);
}

QString address(const ServerConnection &server)
{
    const QString host = server.host.contains(u':') ? u'[' + server.host + u']' : server.host;
    const QString login = server.username.isEmpty() ? host : server.username + u'@' + host;
    const qint64 usual = ServerConnection::newDraft(server.networkProtocol).port;
    return server.port == usual ? login : u"%1:%2"_s.arg(login).arg(server.port);
}

QString nameOf(const SyncPair &pair)
{
    return pair.name.isEmpty() ? pair.localPath.section(u'/', -1, -1, QString::SectionSkipEmpty) : pair.name;
}

QStringList of(const ServerConnection &before, const ServerLibrary &libraryBefore, const ServerConnection &after,
               const ServerLibrary &libraryAfter)
{
    Fields fields;
    fields.add(u"Name"_s, before.name, after.name);
    fields.add(u"Protocol"_s, rawText(before.networkProtocol), rawText(after.networkProtocol));
    fields.add(u"Host"_s, before.host, after.host);
    fields.add(u"Port"_s, before.port, after.port);
    fields.add(u"User"_s, before.username, after.username);
    fields.add(u"Signs in with"_s, rawText(before.authMethod), rawText(after.authMethod));
    fields.add(u"Key file"_s, before.privateKeyPath.value_or(QString()), after.privateKeyPath.value_or(QString()));
    fields.add(u"Start folder"_s, before.remotePath, after.remotePath);
    fields.add(u"Folder"_s, folderPath(libraryBefore, before.folderID), folderPath(libraryAfter, after.folderID));
    fields.add(u"Favourite"_s, before.isFavorite, after.isFavorite);
    fields.add(u"Colour"_s, before.colorTag.value_or(QString()), after.colorTag.value_or(QString()));
    fields.add(u"Symbol"_s, before.symbol.value_or(QString()), after.symbol.value_or(QString()));
    fields.add(u"Position"_s, before.sortIndex, after.sortIndex);
    fields.add(u"Passive mode"_s, before.passiveMode, after.passiveMode);
    fields.add(u"TLS"_s, before.useTLS, after.useTLS);
    fields.add(u"Keep-alive seconds"_s, before.keepAliveSeconds, after.keepAliveSeconds);
    fields.add(u"Refuses unknown host keys"_s, before.strictHostKeyChecking, after.strictHostKeyChecking);
    fields.add(u"Character set"_s, before.charset, after.charset);
    fields.add(u"Notes"_s, before.notes, after.notes);
    return fields.lines();
}

QStringList of(const ServerFolder &before, const ServerLibrary &libraryBefore, const ServerFolder &after,
               const ServerLibrary &libraryAfter)
{
    Fields fields;
    fields.add(u"Name"_s, before.name, after.name);
    fields.add(u"Inside"_s, folderPath(libraryBefore, before.parentID), folderPath(libraryAfter, after.parentID));
    fields.add(u"Position"_s, before.sortIndex, after.sortIndex);
    fields.add(u"Symbol"_s, before.symbol, after.symbol);
    fields.add(u"Colour"_s, before.colorTag.value_or(QString()), after.colorTag.value_or(QString()));
    return fields.lines();
}

QStringList of(const BackupJob &before, const BackupJob &after, const ServerLibrary &library)
{
    Fields fields;
    fields.add(u"Name"_s, before.name, after.name);
    fields.add(u"Sources"_s, before.sourcePaths.join(u", "_s), after.sourcePaths.join(u", "_s));
    fields.add(u"Destination"_s, before.destinationPath, after.destinationPath);
    fields.add(u"Destination on"_s, serverName(library, before.destinationServerID),
               serverName(library, after.destinationServerID));
    fields.add(u"Runs"_s, rawText(before.frequency), rawText(after.frequency));
    fields.add(u"Day of the week"_s, before.dayOfWeek, after.dayOfWeek);
    fields.add(u"Day of the month"_s, before.dayOfMonth, after.dayOfMonth);
    fields.add(u"Hour"_s, before.hour, after.hour);
    fields.add(u"Minute"_s, before.minute, after.minute);
    fields.add(u"Zip"_s, before.zip, after.zip);
    fields.add(u"Encryption"_s, before.encrypt, after.encrypt);
    fields.add(u"Versions kept"_s, before.keepVersions, after.keepVersions);
    return fields.lines();
}

QStringList of(const SyncPair &before, const SyncPair &after, const ServerLibrary &library)
{
    Fields fields;
    fields.add(u"Name"_s, before.name, after.name);
    fields.add(u"Local folder"_s, before.localPath, after.localPath);
    fields.add(u"Server"_s, serverName(library, before.serverID), serverName(library, after.serverID));
    fields.add(u"Folder on the server"_s, before.remotePath, after.remotePath);
    fields.add(u"Left out"_s, before.ignorePatterns.join(u", "_s), after.ignorePatterns.join(u", "_s));
    return fields.lines();
}

QString ofSetting(const QJsonValue &before, const QJsonValue &after)
{
    const auto text = [](const QJsonValue &value) {
        if (value.isBool())
            return shown(value.toBool());
        const QString plain = value.toVariant().toString();
        return shown(plain.size() > longestShown ? plain.left(longestShown) + u'…' : plain);
    };
    return u"%1 → %2"_s.arg(text(before), text(after));
}

} // namespace moorix::recordDifferences
