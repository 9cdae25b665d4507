// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupHistoryStore.h"

#include "backup/BackupSchedule.h"
#include "base/Json.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

BackupJobState &stateIn(BackupHistory &history, const QUuid &jobID)
{
    const auto found = std::find_if(history.jobs.begin(), history.jobs.end(),
                                    [&jobID](const BackupJobState &state) { return state.jobID == jobID; });
    if (found != history.jobs.end())
        return *found;
    BackupJobState &fresh = history.jobs.emplaceBack();
    fresh.jobID = jobID;
    fresh.transferID = newUuid();
    return fresh;
}

void followOne(BackupHistory &history, const BackupJob &job, const QDateTime &now)
{
    BackupJobState &state = stateIn(history, job.id);
    const QString schedule = BackupSchedule::fingerprint(job);
    // A date in the future is none: the clock was put back.
    if (state.since.isValid() && state.since <= now && state.schedule == schedule)
        return;
    const bool isUnknown = !state.since.isValid();
    state.schedule = schedule;
    state.since = isUnknown && job.lastRun && *job.lastRun < now ? *job.lastRun : now;
}

} // namespace

BackupHistoryStore::BackupHistoryStore(const QString &path, QObject *parent)
    : QObject(parent)
    , m_file(path, u"the history of backups"_s, SharedDocument::Access::readWrite)
{
    adopt();
    connect(&m_file, &SharedDocument::touched, this, &BackupHistoryStore::refresh);
}

bool BackupHistoryStore::adopt()
{
    try {
        std::optional<BackupHistory> history = m_file.readIfChanged<BackupHistory>();
        if (!history)
            return false;
        m_history = *std::move(history);
        return true;
    } catch (const Error &error) {
        setProblem(u"The history of backups could not be read, so it starts anew. %1"_s.arg(error.message()));
        return false;
    }
}

void BackupHistoryStore::refresh()
{
    if (adopt())
        emit changed();
}

void BackupHistoryStore::setProblem(const QString &problem)
{
    if (std::exchange(m_problem, problem) != problem)
        emit problemChanged();
}

std::optional<BackupJobState> BackupHistoryStore::state(const QUuid &jobID) const
{
    const auto found = std::find_if(m_history.jobs.cbegin(), m_history.jobs.cend(),
                                    [&jobID](const BackupJobState &state) { return state.jobID == jobID; });
    return found == m_history.jobs.cend() ? std::nullopt : std::optional(*found);
}

void BackupHistoryStore::edit(const std::function<void(BackupHistory &)> &edit)
{
    const auto lock = m_file.lock();
    bool isChanged = adopt();
    const BackupHistory before = m_history;
    edit(m_history);
    if (!(m_history == before)) {
        isChanged = true;
        try {
            m_file.write(m_history);
            setProblem({});
        } catch (const Error &error) {
            setProblem(error.message());
        }
    }
    if (isChanged)
        emit changed();
}

void BackupHistoryStore::change(const QUuid &jobID, const std::function<void(BackupJobState &)> &edit)
{
    this->edit([&](BackupHistory &history) { edit(stateIn(history, jobID)); });
}

void BackupHistoryStore::follow(const QList<BackupJob> &jobs, const QDateTime &now)
{
    edit([&](BackupHistory &history) {
        // A list that is empty may be one that could not be read.
        const bool forgets = !jobs.isEmpty();
        history.jobs.removeIf([&jobs, forgets](const BackupJobState &state) {
            return forgets && std::none_of(jobs.cbegin(), jobs.cend(),
                                           [&state](const BackupJob &job) { return job.id == state.jobID; });
        });
        for (const BackupJob &job : jobs)
            followOne(history, job, now);
    });
}

} // namespace moorix

#include "moc_BackupHistoryStore.cpp"
