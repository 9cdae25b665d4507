// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ExchangeContent.h"
#include "app/exchange/ImportRow.h"

/// What an import means to what is here, and what comes of it. Worker threads.
namespace moorix::importPlan {

/// Folders, servers, backups, folder pairs, settings, each in the order of the file; behind them what replacing
/// removes. Settings that this version does not know, or not of this type, have no row.
/// Blocking, as it looks for folders that settings name.
QList<ImportRow> rows(const ExchangeContent &content, const ExchangeDocuments &here, ImportChoice::Mode mode);

/// What is here once the import is done: `settings` holds those that change. What the file does not hold (a server
/// list holds neither backups nor settings) stays.
ExchangeDocuments outcome(const ExchangeContent &content, const ExchangeDocuments &here, const ImportChoice &choice);

/// Whether something that is here is replaced or removed.
bool losesAnything(const QList<ImportRow> &rows, const ImportChoice &choice);

/// How many records an import adds, changes, removes and leaves alone.
struct ImportCounts
{
    qsizetype added = 0;
    qsizetype changed = 0;
    qsizetype removed = 0;
    qsizetype left = 0;

    bool isNothing() const { return added + changed + removed == 0; }
    /// Of an import that was carried out: "3 added, 1 changed, 12 left as they are"; what is none is left out.
    QString text() const;
    /// Of one that was not yet: "3 to add, 1 to change, 12 stay as they are".
    QString forecast() const;
};
ImportCounts counts(const QList<ImportRow> &rows, const ImportChoice &choice);

} // namespace moorix::importPlan
