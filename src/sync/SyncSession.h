// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "servers/ServerConnection.h"
#include "sync/SyncChoice.h"
#include "sync/SyncPair.h"
#include "sync/SyncWork.h"
#include "transfers/ContentComparison.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <deque>
#include <optional>
#include <utility>

namespace moorix {

/// What syncs work with.
struct SyncPlaces
{
    using Opened = std::function<void(const std::shared_ptr<FileService> &)>;
    using Failed = std::function<void(const Error &)>;

    std::shared_ptr<FileService> local;
    /// Connects to a server, or joins its live connection.
    std::function<Job(const ServerConnection &, Opened, Failed)> open;
    /// Where the documents of pairs lie.
    QString stateFolder;
    std::function<int()> filesAtOnce = [] { return 4; };
    Clock clock = systemNow;
};

/// One folder pair being synced: read, shown, decided, done. Ends what is under way when it goes. Main thread.
class SyncSession final : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("files/FileService.h")

public:
    /// After `done`, and where there is an `outcome` after `failed` and `cancelled` too, the rows tell what became of
    /// them.
    enum class State { idle, connecting, reading, review, applying, done, failed, cancelled };

    SyncSession(SyncPlaces places, SyncPair pair, ServerConnection server, QObject *parent = nullptr);
    ~SyncSession() override;

    const SyncPair &pair() const { return m_pair; }
    /// Its name and what is left out; used from the next look on.
    void setPair(const SyncPair &pair);
    const ServerConnection &server() const { return m_server; }
    const QString &key() const { return m_key; }
    State state() const { return m_state; }
    bool isBusy() const;
    bool isApplying() const { return m_state == State::applying; }
    /// Told to stop, and not yet there.
    bool isCancelling() const { return m_isCancelling; }
    /// Why it failed: a sentence, with the client's own words behind a line break. Else empty.
    const QString &problem() const { return m_problem; }
    /// Damaged documents that were met; else empty.
    const QString &warning() const { return m_warning; }
    const SyncProgress &progress() const { return m_progress; }
    /// Of what is being copied, over the last seconds.
    double bytesPerSecond() const;
    /// What was found, and later what became of it. Without the snapshots once it is being applied.
    const SyncPlan &plan() const { return m_plan; }
    /// Both sides were read, and the plan is of them.
    bool hasPlan() const { return m_plan.readAt.isValid(); }
    const std::optional<SyncOutcome> &outcome() const { return m_outcome; }
    /// Earlier runs, the newest last; known once both sides were read.
    const QList<SyncLogEntry> &log() const { return m_log; }

    /// Connects and reads both sides anew. What was chosen and not applied stays chosen where both sides are as they
    /// were. All of these do nothing while it is at work.
    void look();
    /// For those rows that offer it; by their places in the plan.
    void choose(const QList<qsizetype> &rows, SyncChoice choice);
    void resolveConflicts(SyncChoice choice);
    /// Whether anything was chosen by hand.
    bool hasChoices() const { return m_hasChoices; }
    bool isConfirmed(qsizetype question) const { return m_confirmed.value(question); }
    void confirm(qsizetype question);
    /// A question is open; nothing is applied before it is confirmed.
    bool needsAnswer() const;
    /// Makes both sides alike as the plan says.
    void apply();
    /// Stops what is under way. What was done until then is kept and told.
    void cancel();
    /// A file of a row, and who holds it.
    struct File
    {
        std::shared_ptr<FileService> service;
        FileItem item;
    };
    /// The local file of a row and the server's; nothing where they are not both files.
    std::optional<std::pair<File, File>> filesOf(qsizetype row) const;
    /// Compares what the two files of a row hold.
    [[nodiscard]] Job compare(qsizetype row, std::function<void(const ContentComparison &)> done,
                              SyncPlaces::Failed failed) const;

signals:
    void stateChanged();
    void pairChanged();
    /// About ten times a second while it is at work.
    void progressed();
    /// Actions of rows were chosen.
    void rowsChanged();
    void confirmed();
    /// These folders of a side hold something else now.
    void foldersChanged(const moorix::FileService *service, const QStringList &folders);

private:
    struct Meter;

    void connectThen(const std::function<void()> &next);
    void read();
    void run();
    SyncSetup setUp();
    SyncStateStore store() const { return SyncStateStore(m_places.stateFolder); }
    void setState(State state);
    void fail(const Error &error);
    void finish(SyncOutcome outcome);
    void announceChanges();
    void measure();
    void dropPlan();
    void keepChoices();
    void restoreChoices();

    SyncPlaces m_places;
    SyncPair m_pair;
    ServerConnection m_server;
    QString m_key;
    State m_state = State::idle;
    bool m_isCancelling = false;
    bool m_hasChoices = false;
    QString m_problem;
    QString m_warning;
    SyncProgress m_progress;
    std::shared_ptr<Meter> m_meter;
    /// When so many bytes had travelled, in milliseconds.
    std::deque<std::pair<qint64, qint64>> m_samples;
    SyncPlan m_plan;
    /// What was chosen by hand before the present look, by path.
    QHash<QString, SyncRow> m_chosen;
    QList<bool> m_confirmed;
    std::optional<SyncOutcome> m_outcome;
    QList<SyncLogEntry> m_log;
    std::shared_ptr<FileService> m_service;
    std::stop_source m_halt;
    QTimer m_pulse;
    Job m_job;
};

} // namespace moorix
