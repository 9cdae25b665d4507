// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncCopies.h"

#include "files/FileService.h"

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QString folderOf(const QString &relPath)
{
    const qsizetype slash = relPath.lastIndexOf(u'/');
    return slash < 0 ? QString() : relPath.left(slash);
}

} // namespace

QString SyncCopies::Outcome::reasonFor(const QString &relPath) const
{
    for (QString path = relPath; !path.isEmpty(); path = folderOf(path)) {
        const auto reason = failures.constFind(path);
        if (reason != failures.cend())
            return *reason;
    }
    return failure;
}

SyncCopies::SyncCopies(const SyncSide &from, const SyncSide &to, QUuid id)
    : m_from(from)
    , m_to(to)
    , m_id(id)
{
}

void SyncCopies::add(const QString &relPath, const FileItem &item, const SyncSnapshot &snapshot)
{
    ++m_count;
    QList<QString> above;
    for (QString folder = folderOf(relPath); !folder.isEmpty() && !m_placed.contains(folder); folder = folderOf(folder))
        above.prepend(folder);
    for (const QString &folder : above)
        place(folder, snapshot.items.value(folder));
    if (!m_placed.contains(relPath))
        place(relPath, item);
}

void SyncCopies::place(const QString &relPath, const FileItem &item)
{
    m_placed.insert(relPath);
    m_entries[folderOf(relPath)].append(item);
}

SyncCopies::Outcome SyncCopies::run(TransferRun::Callbacks callbacks, const Guard &guard, const std::stop_token &stop)
{
    TransferRequest request;
    request.source = m_from.shared();
    request.destination = m_to.shared();
    request.items = m_entries.value(QString());
    request.targetFolder = m_to.root();
    request.requiresUnchanged = true;
    request.id = m_id;
    Outcome outcome;
    callbacks.entriesOf = [this](const QString &folder) { return m_entries.value(m_from.relPath(folder)); };
    callbacks.failed = [this, &outcome](const FileItem &source, const QString &reason) {
        const std::lock_guard lock(m_mutex);
        outcome.failures.insert(m_from.relPath(source.path), reason);
    };
    callbacks.decide = [this, &guard, &outcome](const TransferConflict &conflict) {
        const QString relPath = m_to.relPath(conflict.existing.path);
        const auto objection = guard(relPath, conflict.existing);
        if (!objection)
            return ConflictAnswer::Choice::overwrite;
        outcome.refused.insert(relPath, *objection);
        return ConflictAnswer::Choice::skip;
    };
    outcome.transfer = TransferRun(std::move(request), std::move(callbacks)).run(stop);
    if (!outcome.transfer.failures.isEmpty())
        outcome.failure = outcome.transfer.failures.constLast();
    return outcome;
}

} // namespace moorix
