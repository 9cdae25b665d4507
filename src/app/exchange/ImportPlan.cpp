// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/ImportPlan.h"

#include "app/exchange/ExchangeFile.h"
#include "app/exchange/ImportKeys.h"
#include "app/exchange/ImportMatch.h"

#include <algorithm>
#include <limits>

namespace moorix {

using namespace Qt::StringLiterals;

ImportChoice usualChoice(const QList<ImportRow> &rows, ImportChoice::Mode mode, KnownRecords known)
{
    ImportChoice choice{mode, {}};
    for (const ImportRow &row : rows) {
        if (row.isDoubtful)
            continue;
        const bool isNew = row.change == ImportRow::Change::added;
        if (isNew || (row.change == ImportRow::Change::differs && known == KnownRecords::update))
            choice.taken.insert(row.key);
    }
    return choice;
}

namespace importPlan {

using namespace importKeys;

namespace {

using Change = ImportRow::Change;
using Mode = ImportChoice::Mode;

bool isTaken(const ImportRow &row, const ImportChoice &choice)
{
    return choice.mode == Mode::replace || choice.taken.contains(row.key);
}

/// Puts the file's records that are taken over among those that are here. `isKnown` tells those that have another id
/// here and are not to be taken over, whatever the choice says.
template <class Record, class Known>
void merge(const QList<Record> &file, QList<Record> &here, const ImportMatch &match, const ImportChoice &choice,
           const Known &isKnown)
{
    QHash<QUuid, qsizetype> places;
    for (qsizetype i = 0; i < here.size(); ++i)
        places.insert(here.at(i).id, i);
    for (const Record &record : file) {
        if (!choice.taken.contains(keyOf(record)) || isKnown(record))
            continue;
        const auto place = places.constFind(record.id);
        if (place == places.cend())
            here.append(match.adapted(record));
        else
            here[*place] = match.adapted(record);
    }
}

/// New servers come behind all others, in the order they have among themselves.
QList<ServerConnection> inOrderBehind(QList<ServerConnection> servers, const QList<ServerConnection> &here,
                                      const ImportMatch &match)
{
    std::ranges::stable_sort(servers, isOrderedBefore);
    qint64 last = 0;
    for (const ServerConnection &server : here)
        last = std::max(last, server.sortIndex);
    for (ServerConnection &server : servers) {
        if (!match.same(server) && last < std::numeric_limits<qint64>::max())
            server.sortIndex = ++last;
    }
    return servers;
}

ExchangeDocuments merged(const ExchangeDocuments &file, const ExchangeDocuments &here, const ImportChoice &choice)
{
    ImportMatch match(file, here);
    for (const ServerConnection &server : file.library.servers) {
        if (choice.taken.contains(keyOf(server)))
            match.takeAnyway(server.id);
    }
    const auto never = [](const auto &) { return false; };
    ExchangeDocuments result = here;
    merge(file.library.folders, result.library.folders, match, choice,
          [&match](const ServerFolder &folder) { return match.known(folder).has_value(); });
    merge(inOrderBehind(file.library.servers, here.library.servers, match), result.library.servers, match, choice,
          never);
    merge(file.backups, result.backups, match, choice, never);
    merge(file.syncPairs, result.syncPairs, match, choice, never);
    result.settings = {};
    for (auto setting = file.settings.begin(); setting != file.settings.end(); ++setting) {
        if (choice.taken.contains(settingKey(setting.key())))
            result.settings.insert(setting.key(), setting.value());
    }
    return result;
}

ExchangeDocuments replaced(const ExchangeContent &content, const ExchangeDocuments &here)
{
    const ExchangeDocuments &file = content.documents;
    const ImportMatch match(file, here);
    ExchangeDocuments result = here;
    result.settings = {};
    result.library.folders = file.library.folders;
    result.library.servers.clear();
    for (const ServerConnection &server : file.library.servers)
        result.library.servers += match.replacing(server);
    if (content.kind != ExchangeContent::Kind::configuration)
        return result;
    result.backups.clear();
    for (const BackupJob &job : file.backups)
        result.backups += match.replacing(job);
    result.syncPairs = file.syncPairs;
    for (auto setting = file.settings.begin(); setting != file.settings.end(); ++setting) {
        // What was left out of the file is not to be lost here.
        if (setting.value() != exchangeFile::exported(here.settings.value(setting.key())))
            result.settings.insert(setting.key(), setting.value());
    }
    return result;
}

QString listed(const QList<std::pair<qsizetype, QString>> &counts)
{
    QStringList parts;
    for (const auto &[count, what] : counts) {
        if (count > 0)
            parts += u"%1 %2"_s.arg(count).arg(what);
    }
    return parts.isEmpty() ? u"nothing"_s : parts.join(u", "_s);
}

} // namespace

ExchangeDocuments outcome(const ExchangeContent &content, const ExchangeDocuments &here, const ImportChoice &choice)
{
    return choice.mode == Mode::merge ? merged(content.documents, here, choice) : replaced(content, here);
}

bool losesAnything(const QList<ImportRow> &rows, const ImportChoice &choice)
{
    return std::ranges::any_of(rows, [&choice](const ImportRow &row) {
        return row.change == Change::removed || (row.change == Change::differs && isTaken(row, choice));
    });
}

ImportCounts counts(const QList<ImportRow> &rows, const ImportChoice &choice)
{
    ImportCounts counts;
    for (const ImportRow &row : rows) {
        const bool isIn = isTaken(row, choice);
        if (row.change == Change::removed)
            ++counts.removed;
        else if (row.change == Change::differs && isIn)
            ++counts.changed;
        else if (row.isChoice() && isIn)
            ++counts.added;
        else
            ++counts.left;
    }
    return counts;
}

QString ImportCounts::text() const
{
    return listed({{added, u"added"_s},
                   {changed, u"changed"_s},
                   {removed, u"removed"_s},
                   {left, left == 1 ? u"left as it is"_s : u"left as they are"_s}});
}

QString ImportCounts::forecast() const
{
    return listed({{added, u"to add"_s},
                   {changed, u"to change"_s},
                   {removed, u"to remove"_s},
                   {left, left == 1 ? u"stays as it is"_s : u"stay as they are"_s}});
}

} // namespace importPlan

} // namespace moorix
