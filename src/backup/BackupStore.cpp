// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupStore.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

template <class Jobs>
auto find(Jobs &jobs, const QUuid &id)
{
    return std::find_if(jobs.begin(), jobs.end(), [&id](const BackupJob &job) { return job.id == id; });
}

} // namespace

BackupStore::BackupStore(Options options, KeyValueStore &kv, QObject *parent)
    : QObject(parent)
    , m_file({.path = std::move(options.path),
              .subject = u"backup library"_s,
              .cloudKey = u"backupLibrary.v1"_s,
              .isCloudOn = options.isCloudOn,
              .clock = std::move(options.clock)},
             kv)
{
    connect(&m_file, &LibrarySignals::changed, this, &BackupStore::jobsChanged);
    connect(&m_file, &LibrarySignals::problemChanged, this, &BackupStore::problemChanged);
}

std::optional<BackupJob> BackupStore::job(const QUuid &id) const
{
    const auto found = find(jobs(), id);
    return found == jobs().end() ? std::nullopt : std::optional(*found);
}

void BackupStore::upsert(BackupJob job)
{
    m_file.change([&job](BackupLibrary &library) {
        const auto existing = find(library.jobs, job.id);
        if (existing == library.jobs.end()) {
            library.jobs.append(std::move(job));
            return true;
        }
        // It may have run while it was edited.
        job.lastRun = existing->lastRun;
        job.lastSuccess = existing->lastSuccess;
        job.lastStatus = existing->lastStatus;
        if (*existing == job)
            return false;
        *existing = std::move(job);
        return true;
    });
}

bool BackupStore::replaceAll(const QList<BackupJob> &jobs)
{
    bool isChange = false;
    m_file.change([&](BackupLibrary &library) {
        isChange = library.jobs != jobs;
        library.jobs = jobs;
        return isChange;
    });
    return isChange;
}

void BackupStore::remove(const QUuid &id)
{
    m_file.change([&id](BackupLibrary &library) {
        return library.jobs.removeIf([&id](const BackupJob &job) { return job.id == id; }) > 0;
    });
}

void BackupStore::move(const QUuid &id, qsizetype to)
{
    m_file.change([&](BackupLibrary &library) {
        const auto from = find(library.jobs, id) - library.jobs.begin();
        const qsizetype last = library.jobs.size() - 1;
        const qsizetype place = std::clamp<qsizetype>(to, 0, std::max<qsizetype>(last, 0));
        if (from > last || from == place)
            return false;
        library.jobs.move(from, place);
        return true;
    });
}

void BackupStore::setEnabled(const QUuid &id, bool enabled)
{
    m_file.change([&](BackupLibrary &library) {
        const auto job = find(library.jobs, id);
        return job != library.jobs.end() && std::exchange(job->enabled, enabled) != enabled;
    });
}

void BackupStore::noteRun(const QUuid &id, const std::optional<QDateTime> &lastRun, bool lastSuccess,
                          const QString &lastStatus)
{
    m_file.change([&](BackupLibrary &library) {
        const auto job = find(library.jobs, id);
        if (job == library.jobs.end())
            return false;
        if (lastRun)
            job->lastRun = lastRun;
        job->lastSuccess = lastSuccess;
        job->lastStatus = lastStatus;
        return true;
    });
}

} // namespace moorix

#include "moc_BackupStore.cpp"
