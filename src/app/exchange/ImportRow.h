// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

namespace moorix {

/// One record of an import, and what it means to what is here.
struct ImportRow
{
    enum class What { folder, server, backup, syncPair, setting };
    /// `same` also stands for a folder of the same name in the same place; `known` for a record that is here under
    /// another id; `removed` for one that only a replacing import takes away.
    enum class Change { added, differs, same, known, removed };

    What what = What::server;
    Change change = Change::added;
    /// Tells the row from all others of the import.
    QString key;
    /// Of a setting its key.
    QString name;
    /// An address, a folder: where the record is or leads to.
    QString place;
    /// How it differs, or what else is to be known of it; sentences or "Port: 22 → 2222".
    QStringList details;
    /// Not taken over unless the user wants it: a folder that there is not here, a server that something is sent to.
    bool isDoubtful = false;

    /// Whether the user decides on it when merging.
    bool isChoice() const { return change != Change::same && change != Change::removed; }
};

/// What is to be made of an import.
struct ImportChoice
{
    enum class Mode { merge, replace };

    Mode mode = Mode::merge;
    /// When merging: the keys of the rows to take over. Those that differ replace what is here.
    QSet<QString> taken;
};

enum class KnownRecords { update, keep };
/// All rows that are new and, if `known` says so, those that differ; none that is here under another id or doubtful.
ImportChoice usualChoice(const QList<ImportRow> &rows, ImportChoice::Mode mode,
                         KnownRecords known = KnownRecords::update);

} // namespace moorix
