// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "transfers/TransferConflict.h"
#include "transfers/TransferRequest.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QUuid>

#include <deque>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

namespace moorix {

class FileService;
struct TransferCounts;
struct TransferOutcome;

/// One copy or move as the user sees it.
struct TransferStatus
{
    enum class State { waiting, running, finished, failed, cancelled };

    QUuid id;
    State state = State::waiting;
    /// "Copying 3 items to /var/www".
    QString title;
    /// The file under way.
    QString currentName;
    qint64 bytesDone = 0;
    /// Grows while folders are walked.
    qint64 bytesTotal = 0;
    qint64 filesDone = 0;
    qint64 filesTotal = 0;
    /// Bytes per second over the last seconds.
    double bytesPerSecond = 0;
    qint64 skipped = 0;
    /// One sentence per item that failed.
    QStringList failures;
};

/// Copies and moves files between any two services, one transfer after the other. A file reaches its real name only
/// once it is whole: it is written under a part name beside the target, its size checked, then renamed. Main thread.
class TransferEngine final : public QObject
{
    Q_OBJECT
    // A signal carries the service; its type must be known where the signals are compiled.
    Q_MOC_INCLUDE("files/FileService.h")

public:
    explicit TransferEngine(QObject *parent = nullptr);
    ~TransferEngine() override;

    QUuid enqueue(TransferRequest request);
    void cancel(const QUuid &id);
    /// In the order they were asked for; finished ones stay until `clearEnded`.
    const QList<TransferStatus> &transfers() const { return m_transfers; }
    void clearEnded();
    /// The conflict of the running transfer that waits for `answer`, if any.
    const std::optional<TransferConflict> &conflict() const { return m_conflict; }
    void answer(const ConflictAnswer &answer);

signals:
    /// State or progress of this transfer changed; at most about ten times a second each.
    void transferChanged(const QUuid &id);
    void listChanged();
    void conflictChanged();
    /// A transfer ended and changed these folders of its services.
    void foldersChanged(const moorix::FileService *service, const QStringList &folders);

private:
    /// The transfer under way.
    struct Active
    {
        QUuid id;
        /// Not the Job's own: a cancelled run still tells which folders it has changed.
        std::stop_source stop;
        std::function<void(ConflictAnswer)> reply;
        /// When how many bytes were done, over the last seconds, in milliseconds.
        std::deque<std::pair<qint64, qint64>> progress;
    };

    TransferStatus *find(const QUuid &id);
    void startNext();
    void run(const TransferRequest &request);
    void applyCounts(const QUuid &id, const TransferCounts &counts);
    void measureRate(TransferStatus &status);
    void ask(const QUuid &id, const TransferConflict &conflict, std::function<void(ConflictAnswer)> reply);
    void finish(const TransferOutcome &outcome);
    void setConflict(std::optional<TransferConflict> conflict);

    QList<TransferStatus> m_transfers;
    std::optional<TransferConflict> m_conflict;
    QHash<QUuid, TransferRequest> m_requests;
    std::optional<Active> m_active;
    Job m_job;
};

} // namespace moorix
