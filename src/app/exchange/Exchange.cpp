// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/Exchange.h"

#include "app/exchange/ImportPlan.h"
#include "backup/BackupStore.h"
#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "sync/SyncPairStore.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// A store keeps in memory what it could not write; its problem tells. One of long ago counts only where something is
/// written.
template <class Store>
void require(bool isChange, const Store &store)
{
    if (isChange && !store.problem().isEmpty())
        throw Error(u"Import"_s, store.problem());
}

bool isAlike(const ExchangeDocuments &a, const ExchangeDocuments &b)
{
    return a.settings == b.settings && a.library.folders == b.library.folders &&
           a.library.servers == b.library.servers && a.backups == b.backups && a.syncPairs == b.syncPairs;
}

} // namespace

ExchangeDocuments Exchange::documents() const
{
    m_stores.servers.refresh();
    m_stores.backups.refresh();
    m_stores.syncPairs.refresh();
    return {m_stores.settings.snapshot(), m_stores.servers.library(), m_stores.backups.jobs(),
            m_stores.syncPairs.pairs()};
}

ExchangeDocuments Exchange::apply(const ExchangeContent &content, const ImportChoice &choice,
                                  const QList<documentCopies::Copy> &copies) const
{
    const ExchangeDocuments before = documents();
    try {
        putAll(importPlan::outcome(content, before, choice));
    } catch (const Error &error) {
        putBack(before, copies);
        throw Error(u"Import"_s, u"Nothing was imported. %1"_s.arg(error.message()));
    }
    return documents();
}

void Exchange::undo(const ExchangeDocuments &before, const ExchangeDocuments &after,
                    const QList<documentCopies::Copy> &copies) const
{
    const ExchangeDocuments here = documents();
    if (!isAlike(here, after))
        throw Error(u"Import"_s, u"Something has changed since the import, and would be lost if it were undone."_s);
    try {
        putAll(before);
    } catch (const Error &error) {
        putBack(here, copies);
        throw Error(u"Import"_s, u"The import was not undone. %1"_s.arg(error.message()));
    }
}

void Exchange::putAll(const ExchangeDocuments &target) const
{
    require(m_stores.servers.replaceAll(target.library.folders, target.library.servers), m_stores.servers);
    require(m_stores.backups.replaceAll(target.backups), m_stores.backups);
    require(m_stores.syncPairs.replaceAll(target.syncPairs), m_stores.syncPairs);
    putSettings(target.settings);
}

void Exchange::putSettings(const SettingsSnapshot &settings) const
{
    QString problem;
    const auto noted = QObject::connect(&m_stores.preferences, &Preferences::saveFailed,
                                        [&problem](const QString &message) { problem = message; });
    m_stores.settings.apply(settings);
    m_stores.preferences.flush();
    QObject::disconnect(noted);
    if (!problem.isEmpty())
        throw Error(u"Import"_s, problem);
}

/// Each store by itself: one that cannot be put back by writing, on a full disk say, gets its copy back.
void Exchange::putBack(const ExchangeDocuments &before, const QList<documentCopies::Copy> &copies) const
{
    const auto copyBack = [&copies](const QString &name) {
        const auto found = std::ranges::find_if(
            copies, [&name](const documentCopies::Copy &copy) { return copy.document.endsWith(name); });
        if (found != copies.end())
            documentCopies::putBack(*found);
    };
    if (m_stores.servers.replaceAll(before.library.folders, before.library.servers) &&
        !m_stores.servers.problem().isEmpty())
        copyBack(u"/servers.json"_s);
    if (m_stores.backups.replaceAll(before.backups) && !m_stores.backups.problem().isEmpty())
        copyBack(u"/backups.json"_s);
    if (m_stores.syncPairs.replaceAll(before.syncPairs) && !m_stores.syncPairs.problem().isEmpty())
        copyBack(u"/sync/pairs.json"_s);
    try {
        putSettings(before.settings);
    } catch (const Error &) {
        // The file is the old one; what was changed in memory is back.
    }
}

} // namespace moorix
