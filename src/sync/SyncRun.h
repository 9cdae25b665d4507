// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "files/RemoteFileService.h"
#include "sync/SyncCopies.h"
#include "sync/SyncPlan.h"
#include "sync/SyncVersions.h"

namespace moorix {

/// How far a sync has come.
struct SyncProgress
{
    enum class Stage { reading, comparing, copyingToServer, copyingFromServer, deleting, recording };
    Stage stage = Stage::reading;
    /// While reading: entries found so far on each side.
    qint64 localEntries = 0;
    qint64 remoteEntries = 0;
    /// While copying.
    TransferCounts counts;
};

/// What has become of a plan.
struct SyncOutcome
{
    QList<SyncRow> rows;
    QMap<QString, SyncLeftOut> leftOut;
    /// The new baseline; absent when the sync did not come to its end.
    std::optional<SyncManifest> manifest;
    /// Whether the marks were made, where they are missed from now on.
    bool hasLocalMarker = false;
    bool hasRemoteMarker = false;
    bool wasCancelled = false;
    /// What the transfers said of themselves, and where deleted files are.
    QStringList notes;
    /// Why it did not come to its end: a sentence.
    QString failure;
    qint64 bytesCopied = 0;

    qsizetype count(SyncResult result) const;
    /// Rows that are neither alike nor were made so.
    qsizetype openCount() const;
};

/// What both the reading and the run of one pair need. All of it outlives neither.
struct SyncSetup
{
    SyncSide local;
    SyncSide remote;
    /// The pair key.
    QString key;
    QString serverName;
    SyncIgnore ignore;
    bool expectsLocalMarker = false;
    bool expectsRemoteMarker = false;
    Clock clock = systemNow;
    std::function<void(const SyncProgress &)> progress = {};
    std::shared_ptr<TransferGate> gate = nullptr;
    std::shared_ptr<TransferControl> control = nullptr;
    TransferLink::Delays reconnectDelays = TransferLink::usualDelays();

    /// The file's name in the pair's own folder on each side.
    QString marker() const { return key + QStringLiteral(".pair"); }
};

/// Carries out a plan as the user has left it. Blocking; a worker thread.
class SyncRun final
{
public:
    /// Reads both sides and says what is to be done. Throws when a side cannot be read, or looks as if it were not the
    /// folder it was.
    static SyncPlan review(const SyncSetup &setup, const std::optional<SyncManifest> &manifest,
                           const SyncJournal &journal, const std::stop_token &stop);

    SyncRun(SyncSetup setup, SyncPlan plan);

    /// What is about to be copied, to be written down before `run`.
    SyncJournal journal() const;
    /// Does it; called once. Failures of single rows are in them; nothing is thrown.
    SyncOutcome run(const std::stop_token &stop);

private:
    enum class Way { toLocal, toRemote };

    void runAll();
    void checkStillSo();
    void makeRemoteRoot();
    void confirmRemovals();
    bool isGone(const SyncSide &side, const QString &relPath) const;
    void chooseKeptNames();
    void keepBoth();
    void copy(Way way);
    std::optional<QString> mayReplace(Way way, const QString &relPath, const FileItem &existing);
    void verifyCopies(Way way, const SyncCopies::Outcome &outcome);
    void settleCopy(Way way, SyncRow &row, const SyncCopies::Outcome &outcome, const QHash<QString, FileItem> &arrived);
    void recordCopy(Way way, const QString &relPath, const SyncEntry &original, const FileItem &copy);
    void removeLocal();
    void removeRemote();
    void removeFilesOnServer(const QString &folder, const QList<SyncRow *> &rows);
    void removeFoldersOnServer(const QList<SyncRow *> &rows);
    void takeSteps(std::vector<RemoteStep> steps, const QList<SyncRow *> &rows);
    void removeEach(const QList<SyncRow *> &rows);
    bool isAsPlanned(const FileItem &now, const FileItem &planned, const SyncSide &side) const;
    QHash<QString, FileItem> present(const SyncSide &side, const QStringList &relPaths);
    void leaveMarkers();
    void removeOwnParts();
    SyncManifest record() const;

    QList<SyncRow *> rowsFor(SyncAction action);
    void report(SyncProgress::Stage stage, const TransferCounts &counts = {}) const;
    static void skip(SyncRow &row, const QString &reason);
    static void fail(SyncRow &row, const QString &reason);
    QUuid transferId(Way way) const;

    SyncSetup m_setup;
    SyncPlan m_plan;
    SyncVersions m_versions;
    std::stop_token m_stop;
    SyncOutcome m_outcome;
    /// What is to be recorded of rows that were made alike.
    SyncEntries m_recordedLocal;
    SyncEntries m_recordedRemote;
    /// The names under which local versions were kept beside the server's, by the paths they had.
    QMap<QString, QString> m_keptNames;
    bool m_hasKeptVersions = false;
};

} // namespace moorix
