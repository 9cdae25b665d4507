// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/ContentComparison.h"
#include "transfers/TransferActivity.h"
#include "transfers/TransferPlaces.h"
#include "transfers/TransferQueueFile.h"
#include "transfers/TransferStatus.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <deque>
#include <map>
#include <optional>

namespace moorix {

/// The queue of copies and moves between any two services: several at once, within a limit of files at once over all
/// of them. A file reaches its real name only once it is whole: it is written under a part name beside the target, its
/// size checked, then renamed. Main thread.
class TransferEngine final : public QObject
{
    Q_OBJECT
    // A signal carries the service; its type must be known where the signals are compiled.
    Q_MOC_INCLUDE("files/FileService.h")

public:
    struct Options
    {
        /// Files, and transfers, at the same time.
        int mostAtOnce = 3;
        TransferLink::Delays reconnectDelays = TransferLink::usualDelays();
    };

    explicit TransferEngine(QObject *parent = nullptr);
    explicit TransferEngine(const Options &options, QObject *parent = nullptr);
    ~TransferEngine() override;

    /// Keeps the queue in a document from now on, and takes up what it holds once it is read, ahead of what is enqueued
    /// meanwhile: those transfers wait for `resume`. Called once.
    void keepQueueIn(const QString &path, TransferPlaces places);
    void setMostAtOnce(int count);

    QUuid enqueue(TransferRequest request);
    void cancel(const QUuid &id);
    /// Files under way stop where they are; `resume` goes on from there.
    void pause(const QUuid &id);
    void resume(const QUuid &id);
    /// For ended transfers: what did not arrive, or everything.
    void retryFailed(const QUuid &id);
    void retryAll(const QUuid &id);
    /// Before or behind the next one that waits.
    void moveUp(const QUuid &id);
    void moveDown(const QUuid &id);
    /// In the order they run; ended ones stay until `clearEnded`.
    const QList<TransferStatus> &transfers() const { return m_transfers; }
    TransferTotals totals() const;
    /// Where a transfer comes from and goes to; servers as TransferPlaces knows them.
    struct Ends
    {
        TransferPlaces::Server source;
        QString sourceFolder;
        TransferPlaces::Server destination;
        QString targetFolder;
    };
    Ends ends(const QUuid &id) const;
    /// What the servers at both ends are called; empty for the local disk, and where nobody knows any names.
    struct EndNames
    {
        QString source;
        QString destination;
    };
    EndNames endNames(const QUuid &id) const;
    /// Servers have been renamed, or are gone.
    void noteNewNames();
    /// One that was cancelled a moment ago goes as soon as its work has stopped.
    void clearEnded();
    /// The conflict that waits for `answer`, if any, and the transfer it belongs to.
    const std::optional<TransferConflict> &conflict() const { return m_conflict; }
    QUuid conflictTransfer() const { return m_questions.empty() ? QUuid() : m_questions.front().id; }
    void answer(const ConflictAnswer &answer);
    /// Compares what the two files of the conflict hold. Called only while there is one.
    [[nodiscard]] Job compareConflict(std::function<void(const ContentComparison &)> done,
                                      std::function<void(const Error &)> failed) const;

signals:
    /// State or progress of this transfer changed; at most about ten times a second each.
    void transferChanged(const QUuid &id);
    void listChanged();
    void conflictChanged();
    /// A transfer ended and changed these folders of its services.
    void foldersChanged(const moorix::FileService *service, const QStringList &folders);
    /// The queue could not be read or written, in words.
    void queueProblem(const QString &sentence);

private:
    /// What a transfer is about, and what it needs to start.
    struct Order
    {
        StoredTransfer stored;
        /// The request to be run: all of it, or what is left.
        TransferRequest next;
        bool isKept = false;
        /// It began in an earlier run of the program.
        bool isOlder = false;
        /// It is to go as soon as its work has stopped.
        bool isCleared = false;
        /// The jobs that open its two places.
        Job openSource = {};
        Job openDestination = {};
    };
    struct Question
    {
        QUuid id;
        TransferConflict conflict;
        TransferActivity::Reply reply;
    };

    TransferStatus *find(const QUuid &id);
    void setState(TransferStatus &status, TransferStatus::State state);
    void startNext();
    void start(TransferStatus &status);
    void openPlaces(const QUuid &id);
    Job openPlace(const TransferPlaces::Server &server, const QUuid &id,
                  std::function<void(Order &, std::shared_ptr<FileService>)> opened);
    void run(const QUuid &id);
    void retry(const QUuid &id, const QList<TransferPiece> &pieces);
    void swapWithWaiting(const QUuid &id, int step);
    static void take(const TransferCounts &counts, TransferStatus &status);
    void applyCounts(const QUuid &id, const TransferCounts &counts);
    void ask(const QUuid &id, const TransferConflict &conflict, TransferActivity::Reply reply);
    void withdrawQuestions(const QUuid &id);
    void showFirstQuestion();
    void finish(const QUuid &id, const TransferOutcome &outcome);
    void fail(const QUuid &id, const QString &sentence);
    void updateRates();
    void removeCleared();
    void removeLeftovers(const QUuid &id, const Order &order);
    void takeUp(QList<StoredTransfer> transfers);
    QList<StoredTransfer> storedTransfers() const;
    void save();
    void saveNow();

    Options m_options;
    std::shared_ptr<TransferGate> m_gate;
    QList<TransferStatus> m_transfers;
    std::map<QUuid, Order> m_orders;
    std::map<QUuid, std::unique_ptr<TransferActivity>> m_activities;
    std::deque<Question> m_questions;
    std::optional<TransferConflict> m_conflict;
    TransferPlaces m_places;
    std::shared_ptr<TransferQueueFile> m_file;
    Job m_load;
    /// Nothing is saved until then.
    bool m_isLoading = false;
    Job m_save;
    bool m_isSaving = false;
    /// The queue has changed since.
    bool m_isSaveDue = false;
    qint64 m_saves = 0;
    /// Cleaning up behind transfers, services being opened for it.
    std::map<QUuid, Job> m_cleanups;
    /// Progress comes when something moves only; what is told of it must not stand still.
    QTimer m_rateTimer;
};

} // namespace moorix
