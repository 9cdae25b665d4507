// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupLedger.h"

#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "base/Error.h"
#include "files/Format.h"

#include <QDir>
#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The lock ends with its program, however that ends.
FileDescriptor takeLock(const QString &path)
{
    QDir().mkpath(Format::parent(path));
    FileDescriptor lock(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock.isOpen())
        throw Error(u"Backup"_s, u"“%1” could not be opened: %2"_s.arg(path, systemErrorText(errno)));
    if (::flock(lock.value(), LOCK_EX | LOCK_NB) != 0)
        throw Error(u"Backup"_s, u"Another backup is running."_s);
    return lock;
}

} // namespace

BackupLedger::BackupLedger(BackupStore &store, BackupHistoryStore &history, Options options)
    : m_store(store)
    , m_history(history)
    , m_options(std::move(options))
{
}

BackupLedger::Begun BackupLedger::begin(const QUuid &jobID)
{
    FileDescriptor lock = takeLock(m_options.lockPath);
    // Another program may have run it, or changed it, a moment ago.
    m_store.refresh();
    const auto job = m_store.job(jobID);
    if (!job)
        throw Error(u"Backup"_s, u"This backup is no longer in the list."_s);
    BackupRun::Surroundings surroundings;
    if (job->destinationServerID)
        surroundings.serverName = m_options.serverName(*job->destinationServerID);
    surroundings.allJobs = m_store.jobs();
    m_history.change(jobID, [&](BackupJobState &state) {
        surroundings.transferID = state.transferID;
        if (state.destination == job->destinationPath)
            surroundings.mountPoint = state.mountPoint;
    });
    return {*job, surroundings, std::move(lock)};
}

void BackupLedger::end(const QUuid &jobID, const BackupOutcome &outcome)
{
    const auto job = m_store.job(jobID);
    m_store.noteRun(jobID, outcome.started, outcome.succeeded(), outcome.status());
    if (!job)
        return;
    m_history.change(jobID, [&](BackupJobState &state) {
        state.add(BackupRecord::of(outcome));
        if (outcome.archive.isEmpty())
            return;
        state.absentSince.reset();
        state.isAbsenceTold = false;
        state.destination = job->destinationPath;
        state.mountPoint = outcome.mountPoint;
    });
}

} // namespace moorix
