// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupEngine.h"

#include "backup/BackupHistoryStore.h"
#include "backup/BackupPresence.h"
#include "backup/BackupSchedule.h"
#include "backup/BackupStaging.h"
#include "backup/BackupStore.h"
#include "base/Error.h"
#include "files/Format.h"

#include <QPointer>

namespace moorix {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto tickInterval = 60s;
/// A run that begins later than this after its time is one that was missed.
constexpr qint64 punctualSeconds = 300;
/// So many periods may pass without the destination before the user is told.
constexpr int patientPeriods = 2;

} // namespace

QString BackupEngine::schedulingNote()
{
    return u"Scheduled while Moorix is running"_s;
}

BackupEngine::BackupEngine(BackupStore &store, BackupHistoryStore &history, Options options, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_history(history)
    , m_options(std::move(options))
    , m_ledger(m_store, m_history, m_options.ledger)
{
    m_timer.setInterval(tickInterval);
    connect(&m_timer, &QTimer::timeout, this, &BackupEngine::tick);
    // A job that is new or has another schedule counts from now, not from the next tick.
    connect(&m_store, &BackupStore::jobsChanged, this, [this] { m_history.follow(m_store.jobs(), m_options.clock()); });
}

BackupEngine::~BackupEngine() = default;

void BackupEngine::start()
{
    m_sweep =
        runJob([](const std::stop_token &) { return BackupStaging::removeDead(); }, [](int) {}, [](const Error &) {});
    m_timer.start();
    QTimer::singleShot(0, this, &BackupEngine::tick);
}

std::optional<QDateTime> BackupEngine::dueMoment(const BackupJob &job) const
{
    const auto state = m_history.state(job.id);
    if (!state || !state->since.isValid())
        return std::nullopt;
    return BackupSchedule::dueMoment(job, state->since, m_options.clock(), m_options.zone());
}

std::optional<QDateTime> BackupEngine::nextRun(const BackupJob &job) const
{
    if (!job.enabled)
        return std::nullopt;
    return BackupSchedule::nextDue(job, m_options.clock(), m_options.zone());
}

void BackupEngine::tick()
{
    m_store.refresh();
    m_history.refresh();
    m_history.follow(m_store.jobs(), m_options.clock());
    for (const BackupJob &job : m_store.jobs()) {
        if (!m_due.contains(job.id) && m_runningJobID != job.id && dueMoment(job))
            m_due.append(job.id);
    }
    runNext();
}

void BackupEngine::runNext()
{
    while (!m_isBusy && !m_due.isEmpty()) {
        const auto job = m_store.job(m_due.takeFirst());
        // Another program may have run it meanwhile, or it was changed.
        if (job && dueMoment(*job))
            lookFor(*job);
    }
}

void BackupEngine::lookFor(const BackupJob &job)
{
    const auto due = dueMoment(job);
    const QString note = due && due->secsTo(m_options.clock()) > punctualSeconds
                             ? u"Made up for the run of %1."_s.arg(Format::date(due->toLocalTime()))
                             : QString();
    const auto beginNow = [this, id = job.id, note] {
        try {
            begin(id, note);
        } catch (const Error &) {
            // Another program's run is in progress: the next tick looks again.
            m_isBusy = false;
        }
    };
    m_isBusy = true;
    if (job.destinationServerID || job.destinationPath.isEmpty()) {
        beginNow();
        return;
    }
    const auto state = m_history.state(job.id);
    const QString usual = state && state->destination == job.destinationPath ? state->mountPoint : QString();
    m_job = runJob([folder = job.destinationPath,
                    usual](const std::stop_token &) { return backupPresence::isAbsent(folder, usual); },
                   [this, id = job.id, beginNow](bool isAbsent) {
                       if (!isAbsent) {
                           beginNow();
                           return;
                       }
                       m_isBusy = false;
                       noteAbsence(id);
                       runNext();
                   },
                   [this](const Error &) { m_isBusy = false; });
}

/// Not a failure: the disk is simply not plugged in. The job stays due and is looked at with each tick.
void BackupEngine::noteAbsence(const QUuid &jobID)
{
    const auto job = m_store.job(jobID);
    if (!job)
        return;
    const QDateTime now = m_options.clock();
    const auto longest = patientPeriods * BackupSchedule::period(job->frequency);
    QString sentence;
    m_history.change(jobID, [&](BackupJobState &state) {
        state.absentSince = state.absentSince.value_or(now);
        if (state.isAbsenceTold || state.absentSince->secsTo(now) < std::chrono::seconds(longest).count())
            return;
        state.isAbsenceTold = true;
        sentence = u"The destination “%1” has been away since %2; nothing was backed up since then."_s.arg(
            job->destinationPath, Format::date(state.absentSince->toLocalTime()));
    });
    if (sentence.isEmpty())
        return;
    m_store.noteRun(jobID, std::nullopt, false, sentence);
    emit failureRaised(jobID, job->name, sentence);
}

std::optional<QString> BackupEngine::run(const QUuid &jobID)
{
    if (m_runningJobID)
        return u"Another backup is running."_s;
    try {
        begin(jobID, {});
        return std::nullopt;
    } catch (const Error &error) {
        return error.message();
    }
}

void BackupEngine::begin(const QUuid &jobID, const QString &note)
{
    BackupLedger::Begun begun = m_ledger.begin(jobID);
    m_lock = std::move(begun.lock);
    m_isBusy = true;
    m_runningJobID = jobID;
    m_note = note;
    setProgress({u"Starting “%1”…"_s.arg(begun.job.name)});
    emit runningJobChanged();
    const auto report = [self = QPointer(this), jobID](const BackupProgress &progress) {
        onMain([self, jobID, progress] {
            if (self && self->m_runningJobID == jobID)
                self->setProgress(progress);
        });
    };
    // A stop of its own: what a run that is cancelled has brought to its end by then is to be noted.
    m_stop = std::stop_source();
    m_job = runJob(
        [job = begun.job, environment = m_options.environment, surroundings = begun.surroundings, report,
         start = m_options.clock(), source = m_stop](const std::stop_token &stop) mutable {
            const std::stop_callback passOn(stop, [&source] { source.request_stop(); });
            return BackupRun(job, environment, surroundings, report).run(start, source.get_token());
        },
        [this](BackupOutcome outcome) { finish(std::move(outcome)); },
        [this](const Error &error) {
            BackupOutcome outcome;
            outcome.started = outcome.ended = m_options.clock();
            outcome.failure = error.message();
            finish(std::move(outcome));
        });
}

void BackupEngine::cancel()
{
    m_due.clear();
    m_stop.request_stop();
}

void BackupEngine::finish(BackupOutcome outcome)
{
    if (!m_note.isEmpty())
        outcome.notes.prepend(m_note);
    const QUuid jobID = *m_runningJobID;
    const auto job = m_store.job(jobID);
    m_ledger.end(jobID, outcome);
    m_lock = FileDescriptor();
    m_runningJobID.reset();
    m_isBusy = false;
    setProgress({});
    emit runningJobChanged();
    emit runEnded(jobID, outcome);
    if (job && !outcome.succeeded() && !outcome.wasCancelled)
        emit failureRaised(jobID, job->name, outcome.status());
    runNext();
}

void BackupEngine::setProgress(const BackupProgress &progress)
{
    m_progress = progress;
    emit progressChanged();
}

} // namespace moorix

#include "moc_BackupEngine.cpp"
