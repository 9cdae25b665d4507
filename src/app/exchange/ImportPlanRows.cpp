// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/ImportPlan.h"

#include "app/exchange/ExchangeFile.h"
#include "app/exchange/ImportKeys.h"
#include "app/exchange/ImportMatch.h"
#include "app/exchange/RecordDifferences.h"
#include "endpoints/EndpointAddress.h"
#include "platform/AppPaths.h"

#include <QFileInfo>

#include <algorithm>

namespace moorix::importPlan {

using namespace Qt::StringLiterals;
using namespace importKeys;

namespace {

using What = ImportRow::What;
using Change = ImportRow::Change;
using Mode = ImportChoice::Mode;

bool isOfOneType(const QJsonValue &a, const QJsonValue &b)
{
    return a.type() == b.type();
}

/// Why a setting of a file is not taken over unless the user wants it; empty for most.
QString doubtOf(const QString &setting, const QJsonValue &value)
{
    // A folder of another machine, often another home.
    if (setting == u"defaultLocalPath" && !QFileInfo(AppPaths::expandTilde(value.toString())).isDir())
        return u"There is no such folder here."_s;
    // What is told to whom, and where programs come from, is nothing that a file decides.
    const bool isServer = EndpointAddress::parse(value.toString()).isUsable();
    if (setting == u"diagnosticsEndpoint" && isServer)
        return u"Check-ins would go to this server."_s;
    if (setting == u"updateEndpoint" && isServer)
        return u"Installers would come from this server."_s;
    if (setting == u"remoteDiagnosticsEnabled" && value.toBool())
        return u"Check-ins would begin."_s;
    return {};
}

/// Makes the rows of one import.
class Rows final
{
public:
    Rows(const ExchangeContent &content, const ExchangeDocuments &here, Mode mode)
        : m_file(content.documents)
        , m_here(here)
        , m_mode(mode)
        , m_match(content.documents, here)
    {
    }

    QList<ImportRow> make(ExchangeContent::Kind kind)
    {
        add(m_file.library.folders);
        add(m_file.library.servers);
        if (kind == ExchangeContent::Kind::configuration) {
            add(m_file.backups);
            add(m_file.syncPairs);
            addSettings();
        }
        if (m_mode == Mode::replace) {
            addRemoved(m_here.library.folders, m_file.library.folders);
            addRemoved(m_here.library.servers, m_file.library.servers);
            if (kind == ExchangeContent::Kind::configuration) {
                addRemoved(m_here.backups, m_file.backups);
                addRemoved(m_here.syncPairs, m_file.syncPairs);
            }
        }
        return m_rows;
    }

private:
    template <class Record>
    void add(const QList<Record> &records)
    {
        for (const Record &record : records)
            addRecord(record);
    }

    template <class Record>
    void addRecord(const Record &record)
    {
        const bool merges = m_mode == Mode::merge;
        const Record shown = merges ? m_match.adapted(record) : m_match.replacing(record);
        ImportRow row = rowOf(record);
        if (const Record *before = m_match.same(record)) {
            row.change = shown == *before ? Change::same : Change::differs;
            row.details = differences(*before, shown);
        } else if (merges && m_match.known(record)) {
            row.change = whatIs(record) == What::folder ? Change::same : Change::known;
            if (row.change == Change::known)
                row.details = {knownText(record)};
        } else {
            row.details = remarks(shown);
        }
        m_rows += row;
    }

    template <class Record>
    void addRemoved(const QList<Record> &here, const QList<Record> &file)
    {
        QSet<QUuid> kept;
        for (const Record &record : file)
            kept.insert(record.id);
        for (const Record &record : here) {
            if (kept.contains(record.id))
                continue;
            ImportRow row = rowOf(record);
            row.change = Change::removed;
            m_rows += row;
        }
    }

    void addSettings()
    {
        for (auto setting = m_file.settings.begin(); setting != m_file.settings.end(); ++setting) {
            const QJsonValue before = m_here.settings.value(setting.key());
            if (!isOfOneType(before, setting.value()))
                continue;
            ImportRow row{What::setting, Change::same, settingKey(setting.key()), setting.key(), {}, {}};
            if (setting.value() != exchangeFile::exported(before)) {
                row.change = Change::differs;
                row.details = {recordDifferences::ofSetting(before, setting.value())};
                if (const QString doubt = doubtOf(setting.key(), setting.value()); !doubt.isEmpty()) {
                    row.isDoubtful = true;
                    row.details += doubt;
                }
            }
            m_rows += row;
        }
    }

    ImportRow rowOf(const ServerFolder &folder) const
    {
        return {What::folder,
                Change::added,
                keyOf(folder),
                folder.name,
                recordDifferences::folderPath(m_match.same(folder) ? m_here.library : m_file.library, folder.parentID),
                {}};
    }
    ImportRow rowOf(const ServerConnection &server) const
    {
        return {What::server,
                Change::added,
                keyOf(server),
                server.displayName(),
                rawText(server.networkProtocol) + u' ' + recordDifferences::address(server),
                {}};
    }
    ImportRow rowOf(const BackupJob &job) const
    {
        return {What::backup, Change::added, keyOf(job), job.name, job.sourcePaths.join(u", "_s), {}};
    }
    ImportRow rowOf(const SyncPair &pair) const
    {
        return {What::syncPair,
                Change::added,
                keyOf(pair),
                recordDifferences::nameOf(pair),
                pair.localPath + u" ↔ "_s + pair.remotePath,
                {}};
    }

    QStringList differences(const ServerFolder &before, const ServerFolder &after) const
    {
        return recordDifferences::of(before, m_here.library, after, m_file.library);
    }
    QStringList differences(const ServerConnection &before, const ServerConnection &after) const
    {
        const bool isMoved = before.folderID != after.folderID;
        return recordDifferences::of(before, m_here.library, after, isMoved ? m_file.library : m_here.library);
    }
    QStringList differences(const BackupJob &before, const BackupJob &after) const
    {
        return recordDifferences::of(before, after, m_here.library);
    }
    QStringList differences(const SyncPair &before, const SyncPair &after) const
    {
        return recordDifferences::of(before, after, m_here.library);
    }

    template <class Record>
    static QString nameHere(const QList<Record> &records, const std::optional<QUuid> &id)
    {
        const auto found = std::ranges::find(records, id.value_or(QUuid()), &Record::id);
        return found == records.end() ? QString() : rowName(*found);
    }
    static QString rowName(const ServerConnection &server) { return server.displayName(); }
    static QString rowName(const BackupJob &job) { return job.name; }
    static QString rowName(const SyncPair &pair) { return recordDifferences::nameOf(pair); }

    QString knownText(const ServerFolder &) const { return {}; }
    QString knownText(const ServerConnection &server) const
    {
        return u"“%1” is the same server."_s.arg(nameHere(m_here.library.servers, m_match.known(server)));
    }
    QString knownText(const BackupJob &job) const
    {
        return u"“%1” writes to the same place."_s.arg(nameHere(m_here.backups, m_match.known(job)));
    }
    QString knownText(const SyncPair &pair) const
    {
        return u"“%1” keeps the same folders alike."_s.arg(nameHere(m_here.syncPairs, m_match.known(pair)));
    }

    static QStringList remarks(const ServerFolder &) { return {}; }
    static QStringList remarks(const ServerConnection &) { return {}; }
    QStringList remarks(const BackupJob &job) const
    {
        QStringList said{u"Comes switched off, as it may still run where it is from."_s};
        if (job.encrypt)
            said += u"Its passphrase is not part of the file."_s;
        if (job.destinationServerID && !hasServer(*job.destinationServerID))
            said += u"The server it stores to is neither in the file nor here."_s;
        return said;
    }
    QStringList remarks(const SyncPair &pair) const
    {
        return hasServer(pair.serverID) ? QStringList() : QStringList{u"Its server is neither in the file nor here."_s};
    }
    bool hasServer(const QUuid &id) const
    {
        const auto isThere = [&id](const ServerLibrary &library) {
            return std::ranges::find(library.servers, id, &ServerConnection::id) != library.servers.end();
        };
        return isThere(m_file.library) || (m_mode == Mode::merge && isThere(m_here.library));
    }

    const ExchangeDocuments &m_file;
    const ExchangeDocuments &m_here;
    Mode m_mode;
    ImportMatch m_match;
    QList<ImportRow> m_rows;
};

} // namespace

QList<ImportRow> rows(const ExchangeContent &content, const ExchangeDocuments &here, ImportChoice::Mode mode)
{
    return Rows(content, here, mode).make(content.kind);
}

} // namespace moorix::importPlan
