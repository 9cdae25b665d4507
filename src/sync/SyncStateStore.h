// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncJournal.h"

#include <QLockFile>
#include <QStringList>

#include <memory>
#include <optional>

namespace moorix {

/// One run that came to an end, for the pair's history.
struct SyncLogEntry
{
    QDateTime started;
    qint64 milliseconds = 0;
    /// Rows made alike.
    qint64 done = 0;
    qint64 skipped = 0;
    qint64 failed = 0;
    qint64 conflicts = 0;
    qint64 bytesCopied = 0;
    /// How it ended: "Completed", "Cancelled", or a sentence.
    QString result;
    /// A line for each row that was treated or is left: "docs/a.txt: copied to the server".
    QStringList lines;
};

/// What is remembered of one pair besides its baseline.
struct SyncPairState
{
    /// The marks that were left in the two folders.
    bool hasLocalMarker = false;
    bool hasRemoteMarker = false;
    /// The newest last.
    QList<SyncLogEntry> log;
};

/// What is known of folder pairs, one set of documents for each pair key in one folder: the baseline KEY.json, the
/// journal KEY.journal.json of a run that has not ended, and KEY.state.json. Blocking; worker threads.
class SyncStateStore final
{
public:
    explicit SyncStateStore(QString folder);

    /// Keeps every other sync of the pair out, in this program and others, until it is let go. Throws when one is under
    /// way.
    [[nodiscard]] std::unique_ptr<QLockFile> lock(const QString &key) const;

    struct Loaded
    {
        std::optional<SyncManifest> manifest;
        SyncJournal journal;
        SyncPairState state;
        /// Documents that could not be read, and where they were moved to; empty when all is well.
        QString problem;
    };
    /// Tells one state of the baseline's document from another.
    QString stamp(const QString &key) const;
    /// One that cannot be decoded is set aside under a name with "corrupt-" and counts as missing.
    Loaded load(const QString &key) const;
    /// Without the baseline, for whoever has it already.
    Loaded loadState(const QString &key) const;
    /// The runs so far, the newest last; none where the document cannot be read, which `load` tells.
    QList<SyncLogEntry> log(const QString &key) const;

    /// These throw an Error when the document cannot be written.
    void saveJournal(const QString &key, const SyncJournal &journal) const;
    /// The journal goes with it: what it told is part of the baseline.
    void saveManifest(const SyncManifest &manifest) const;
    void saveState(const QString &key, const SyncPairState &state) const;
    /// Forgets the pair: its next sync is a first one.
    void forget(const QString &key) const;

private:
    QString path(const QString &key, const QString &kind) const;
    template <class Decode, class Target>
    void read(const QString &key, const QString &kind, Decode decode, Target &target, QString &problem) const;

    QString m_folder;
};

} // namespace moorix
