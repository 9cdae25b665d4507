// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncSession.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "sync/SyncManifest.h"

#include <algorithm>
#include <chrono>
#include <mutex>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds pulse{100};
constexpr qint64 rateMsecs = 4000;

qint64 nowMsecs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

struct Reading
{
    SyncPlan plan;
    QString warning;
    QList<SyncLogEntry> log;
};

struct Ending
{
    SyncOutcome outcome;
    QString warning;
    QList<SyncLogEntry> log;
};

} // namespace

/// Where a worker leaves how far it is, to be fetched when there is time to show it.
struct SyncSession::Meter
{
    std::mutex mutex;
    SyncProgress progress;
};

SyncSession::SyncSession(SyncPlaces places, SyncPair pair, ServerConnection server, QObject *parent)
    : QObject(parent)
    , m_places(std::move(places))
    , m_pair(std::move(pair))
    , m_server(std::move(server))
    , m_key(SyncManifest::pairKey(m_pair.localPath, m_server, m_pair.remotePath))
{
    m_pulse.setInterval(pulse);
    connect(&m_pulse, &QTimer::timeout, this, &SyncSession::measure);
}

SyncSession::~SyncSession()
{
    dropPlan();
}

/// Of a large tree, letting go of all that was known takes a while.
void SyncSession::dropPlan()
{
    runJob([plan = std::exchange(m_plan, {})](
               const std::stop_token &) mutable { const SyncPlan dropped = std::move(plan); },
           [] {}, [](const Error &) {})
        .detach();
}

void SyncSession::setPair(const SyncPair &pair)
{
    if (m_pair == pair)
        return;
    m_pair = pair;
    emit pairChanged();
}

bool SyncSession::isBusy() const
{
    return m_state == State::connecting || m_state == State::reading || m_state == State::applying;
}

void SyncSession::setState(State state)
{
    m_state = state;
    m_isCancelling = false;
    if (state != State::failed)
        m_problem.clear();
    m_samples.clear();
    if (isBusy())
        m_pulse.start();
    else
        m_pulse.stop();
    emit stateChanged();
}

void SyncSession::fail(const Error &error)
{
    if (dynamic_cast<const Cancelled *>(&error)) {
        setState(State::cancelled);
        return;
    }
    m_problem = error.message();
    setState(State::failed);
}

void SyncSession::connectThen(const std::function<void()> &next)
{
    m_progress = {};
    setState(State::connecting);
    m_job = m_places.open(
        m_server,
        [this, next](const std::shared_ptr<FileService> &service) {
            m_service = service;
            next();
        },
        [this](const Error &error) { fail(error); });
}

SyncSetup SyncSession::setUp()
{
    m_halt = std::stop_source();
    m_meter = std::make_shared<Meter>();
    SyncSetup setup{{m_places.local, m_pair.localPath},
                    {m_service, m_pair.remotePath},
                    m_key,
                    m_server.displayName(),
                    SyncIgnore(m_pair.ignorePatterns)};
    setup.clock = m_places.clock;
    setup.gate = std::make_shared<TransferGate>(m_places.filesAtOnce());
    setup.progress = [meter = m_meter](const SyncProgress &progress) {
        const std::lock_guard lock(meter->mutex);
        meter->progress = progress;
    };
    return setup;
}

void SyncSession::look()
{
    if (isBusy())
        return;
    keepChoices();
    dropPlan();
    m_outcome.reset();
    m_confirmed.clear();
    m_hasChoices = false;
    m_warning.clear();
    connectThen([this] { read(); });
}

/// A look that is given up keeps those of the look before.
void SyncSession::keepChoices()
{
    if (m_outcome)
        m_chosen.clear();
    if (m_outcome || !m_hasChoices)
        return;
    m_chosen.clear();
    for (const SyncRow &row : std::as_const(m_plan.rows)) {
        if (!row.isBlocked && row.action != usualAction(row.diff.bucket))
            m_chosen.insert(row.diff.relPath, row);
    }
}

void SyncSession::restoreChoices()
{
    for (qsizetype i = 0; i < m_plan.rows.size() && !m_chosen.isEmpty(); ++i) {
        const SyncRow &row = m_plan.rows.at(i);
        const auto chosen = m_chosen.constFind(row.diff.relPath);
        if (chosen == m_chosen.cend() || chosen->diff != row.diff || !row.choices().contains(chosen->action))
            continue;
        m_plan.rows[i].action = chosen->action;
        m_hasChoices = true;
    }
    m_chosen.clear();
}

void SyncSession::read()
{
    SyncWork work(store(), setUp());
    setState(State::reading);
    m_job = runJob(
        [work, store = store(), key = m_key, halt = m_halt](const std::stop_token &stop) mutable {
            const std::stop_callback passOn(stop, [&halt] { halt.request_stop(); });
            Reading reading;
            reading.plan = work.review(halt.get_token());
            reading.warning = work.problem();
            reading.log = store.log(key);
            return reading;
        },
        [this](Reading reading) {
            m_plan = std::move(reading.plan);
            restoreChoices();
            m_confirmed = QList<bool>(m_plan.questions.size(), false);
            m_warning = reading.warning;
            m_log = std::move(reading.log);
            setState(State::review);
        },
        [this](const Error &error) { fail(error); });
}

void SyncSession::choose(const QList<qsizetype> &rows, SyncChoice choice)
{
    if (m_state != State::review)
        return;
    bool hasChanged = false;
    for (const qsizetype index : rows) {
        if (index < 0 || index >= m_plan.rows.size())
            continue;
        const SyncAction action = actionFor(m_plan.rows.at(index), choice);
        if (action == m_plan.rows.at(index).action)
            continue;
        m_plan.rows[index].action = action;
        hasChanged = true;
    }
    if (!hasChanged)
        return;
    m_hasChoices = true;
    emit rowsChanged();
}

void SyncSession::resolveConflicts(SyncChoice choice)
{
    QList<qsizetype> conflicts;
    for (qsizetype i = 0; i < m_plan.rows.size(); ++i) {
        if (m_plan.rows.at(i).diff.bucket == SyncBucket::conflict)
            conflicts.append(i);
    }
    choose(conflicts, choice);
}

void SyncSession::confirm(qsizetype question)
{
    if (m_state != State::review || question < 0 || question >= m_confirmed.size() || m_confirmed.at(question))
        return;
    m_confirmed[question] = true;
    emit confirmed();
}

bool SyncSession::needsAnswer() const
{
    return m_confirmed.contains(false);
}

void SyncSession::apply()
{
    if (m_state == State::review && !needsAnswer())
        connectThen([this] { run(); });
}

void SyncSession::run()
{
    SyncPlan plan = std::exchange(m_plan, {});
    m_plan.rows = plan.rows;
    m_plan.leftOut = plan.leftOut;
    m_plan.isFirst = plan.isFirst;
    m_plan.readAt = plan.readAt;
    m_plan.baselineStamp = plan.baselineStamp;
    SyncWork work(store(), setUp());
    setState(State::applying);
    m_job = runJob(
        [work, plan = std::move(plan), store = store(), key = m_key,
         halt = m_halt](const std::stop_token &stop) mutable {
            const std::stop_callback passOn(stop, [&halt] { halt.request_stop(); });
            Ending ending;
            ending.outcome = work.apply(std::move(plan), halt.get_token());
            ending.outcome.manifest.reset();
            ending.warning = work.problem();
            ending.log = store.log(key);
            return ending;
        },
        [this](Ending ending) {
            m_warning = ending.warning;
            m_log = std::move(ending.log);
            finish(std::move(ending.outcome));
        },
        [this](const Error &error) {
            fail(error);
            // It may have stopped in the middle.
            announceChanges();
        });
}

void SyncSession::finish(SyncOutcome outcome)
{
    m_plan.rows = outcome.rows;
    m_plan.leftOut = outcome.leftOut;
    m_outcome = std::move(outcome);
    if (m_outcome->wasCancelled) {
        setState(State::cancelled);
    } else if (!m_outcome->failure.isEmpty()) {
        m_problem = m_outcome->failure;
        setState(State::failed);
    } else {
        setState(State::done);
    }
    announceChanges();
}

void SyncSession::announceChanges()
{
    // The pair's own folder comes into both roots.
    QSet<QString> local{m_pair.localPath};
    QSet<QString> remote{m_pair.remotePath};
    for (const SyncRow &row : std::as_const(m_plan.rows)) {
        const QString folder = row.diff.relPath.section(u'/', 0, -2);
        const auto in = [&folder](const QString &root) { return folder.isEmpty() ? root : Format::join(root, folder); };
        const bool isBoth = row.action == SyncAction::keepBoth;
        if (isBoth || row.action == SyncAction::copyToLocal || row.action == SyncAction::removeLocal)
            local.insert(in(m_pair.localPath));
        if (isBoth || row.action == SyncAction::copyToRemote || row.action == SyncAction::removeRemote)
            remote.insert(in(m_pair.remotePath));
    }
    emit foldersChanged(m_places.local.get(), QStringList(local.cbegin(), local.cend()));
    emit foldersChanged(m_service.get(), QStringList(remote.cbegin(), remote.cend()));
}

void SyncSession::cancel()
{
    if (!isBusy() || m_isCancelling)
        return;
    if (m_state == State::connecting) {
        m_job.cancel();
        setState(hasPlan() ? State::review : State::cancelled);
        return;
    }
    // The work tells how far it came, and lets go of the pair before another look at it begins.
    m_isCancelling = true;
    m_halt.request_stop();
    emit stateChanged();
}

void SyncSession::measure()
{
    if (m_meter) {
        const std::lock_guard lock(m_meter->mutex);
        m_progress = m_meter->progress;
    }
    const qint64 carried = m_progress.counts.bytesDone - m_progress.counts.bytesFound;
    // Another stage, or a failed file, takes bytes back.
    if (!m_samples.empty() && carried < m_samples.back().second)
        m_samples.clear();
    m_samples.emplace_back(nowMsecs(), carried);
    while (m_samples.size() > 2 && m_samples.back().first - m_samples.front().first > rateMsecs)
        m_samples.pop_front();
    emit progressed();
}

double SyncSession::bytesPerSecond() const
{
    if (m_samples.size() < 2)
        return 0;
    const qint64 msecs = m_samples.back().first - m_samples.front().first;
    return msecs > 0 ? double(m_samples.back().second - m_samples.front().second) * 1000.0 / double(msecs) : 0;
}

std::optional<std::pair<SyncSession::File, SyncSession::File>> SyncSession::filesOf(qsizetype row) const
{
    const SyncDiffEntry &diff = m_plan.rows.at(row).diff;
    if (!diff.local || !diff.remote || m_plan.rows.at(row).isFolder())
        return std::nullopt;
    const auto item = [&diff](const QString &root, const SyncEntry &entry) {
        FileItem made;
        made.path = Format::join(root, diff.relPath);
        made.name = Format::fileName(made.path);
        made.size = entry.size;
        made.modified = entry.modified;
        return made;
    };
    return std::pair{File{m_places.local, item(m_pair.localPath, *diff.local)},
                     File{m_service, item(m_pair.remotePath, *diff.remote)}};
}

Job SyncSession::compare(qsizetype row, std::function<void(const ContentComparison &)> done,
                         SyncPlaces::Failed failed) const
{
    const QString relPath = m_plan.rows.at(row).diff.relPath;
    return runJob(
        [local = m_places.local, remote = m_service, relPath, here = Format::join(m_pair.localPath, relPath),
         there = Format::join(m_pair.remotePath, relPath)](const std::stop_token &stop) {
            const auto one = local->stat(here, stop);
            const auto other = remote->stat(there, stop);
            if (!one || !other)
                throw Error(u"Sync"_s, u"“%1” is no longer on both sides."_s.arg(Format::display(relPath)));
            return ContentComparison::of(*local, *one, *remote, *other, stop);
        },
        std::move(done), std::move(failed));
}

} // namespace moorix
