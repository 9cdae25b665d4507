// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferEngine.h"

#include "base/Json.h"
#include "files/Format.h"
#include "transfers/TransferRun.h"

#include <QDateTime>
#include <QPointer>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QString titleOf(const TransferRequest &request)
{
    const QString verb = request.isMove ? u"Moving"_s : u"Copying"_s;
    const QString what = request.items.size() == 1 ? u"“%1”"_s.arg(Format::display(request.items.constFirst().name))
                                                   : u"%1 items"_s.arg(request.items.size());
    return u"%1 %2 to %3"_s.arg(verb, what, Format::display(request.targetFolder));
}

bool hasEnded(const TransferStatus &status)
{
    return status.state != TransferStatus::State::waiting && status.state != TransferStatus::State::running;
}

} // namespace

TransferEngine::TransferEngine(QObject *parent)
    : QObject(parent)
{
}

TransferEngine::~TransferEngine() = default;

TransferStatus *TransferEngine::find(const QUuid &id)
{
    const auto place = std::find_if(m_transfers.begin(), m_transfers.end(),
                                    [&id](const TransferStatus &status) { return status.id == id; });
    return place == m_transfers.end() ? nullptr : &*place;
}

QUuid TransferEngine::enqueue(TransferRequest request)
{
    TransferStatus status;
    status.id = newUuid();
    status.title = titleOf(request);
    const QUuid id = status.id;
    m_transfers.append(std::move(status));
    m_requests.insert(id, std::move(request));
    emit listChanged();
    startNext();
    return id;
}

void TransferEngine::cancel(const QUuid &id)
{
    TransferStatus *status = find(id);
    if (!status || hasEnded(*status))
        return;
    status->state = TransferStatus::State::cancelled;
    status->bytesPerSecond = 0;
    if (m_active && m_active->id == id) {
        m_active->stop.request_stop();
        m_active->reply = nullptr;
        setConflict(std::nullopt);
    } else {
        m_requests.remove(id);
    }
    emit transferChanged(id);
}

void TransferEngine::clearEnded()
{
    const auto isGone = [this](const TransferStatus &status) {
        return hasEnded(status) && !(m_active && m_active->id == status.id);
    };
    if (m_transfers.removeIf(isGone) > 0)
        emit listChanged();
}

void TransferEngine::startNext()
{
    if (m_active)
        return;
    for (TransferStatus &status : m_transfers) {
        if (status.state != TransferStatus::State::waiting)
            continue;
        status.state = TransferStatus::State::running;
        m_active = Active{status.id, {}, {}, {}};
        run(m_requests.value(status.id));
        emit transferChanged(status.id);
        return;
    }
}

void TransferEngine::run(const TransferRequest &request)
{
    const QPointer<TransferEngine> engine(this);
    const QUuid id = m_active->id;
    TransferRun::Callbacks callbacks;
    callbacks.progress = [engine, id](const TransferCounts &counts) {
        onMain([engine, id, counts] {
            if (engine)
                engine->applyCounts(id, counts);
        });
    };
    callbacks.ask = [engine, id](const TransferConflict &conflict, const std::stop_token &stop) {
        return askMain<ConflictAnswer>(stop, [engine, id, conflict](std::function<void(ConflictAnswer)> reply) {
            if (engine)
                engine->ask(id, conflict, std::move(reply));
        });
    };
    m_job = runJob(
        [request, callbacks, source = m_active->stop](const std::stop_token &stop) mutable {
            const std::stop_callback passOn(stop, [&source] { source.request_stop(); });
            return TransferRun(request, callbacks).run(source.get_token());
        },
        [this](const TransferOutcome &outcome) { finish(outcome); },
        [this](const Error &error) {
            TransferOutcome outcome;
            outcome.failures.append(error.message());
            finish(outcome);
        });
}

void TransferEngine::applyCounts(const QUuid &id, const TransferCounts &counts)
{
    TransferStatus *status = find(id);
    if (!status || status->state != TransferStatus::State::running)
        return;
    status->currentName = counts.currentName;
    status->bytesDone = counts.bytesDone;
    status->bytesTotal = counts.bytesTotal;
    status->filesDone = counts.filesDone;
    status->filesTotal = counts.filesTotal;
    status->skipped = counts.skipped;
    measureRate(*status);
    emit transferChanged(id);
}

void TransferEngine::measureRate(TransferStatus &status)
{
    constexpr qint64 windowMsecs = 4000;
    auto &progress = m_active->progress;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    progress.emplace_back(now, status.bytesDone);
    while (progress.size() > 2 && now - progress.front().first > windowMsecs)
        progress.pop_front();
    const qint64 msecs = now - progress.front().first;
    // A failed file takes its bytes back.
    const qint64 bytes = std::max<qint64>(0, status.bytesDone - progress.front().second);
    status.bytesPerSecond = msecs > 0 ? double(bytes) * 1000.0 / double(msecs) : 0;
}

void TransferEngine::ask(const QUuid &id, const TransferConflict &conflict, std::function<void(ConflictAnswer)> reply)
{
    if (!m_active || m_active->id != id || m_active->stop.stop_requested())
        return;
    m_active->reply = std::move(reply);
    setConflict(conflict);
}

void TransferEngine::answer(const ConflictAnswer &answer)
{
    if (!m_conflict || !m_active || !m_active->reply)
        return;
    if (answer.choice == ConflictAnswer::Choice::cancel) {
        cancel(m_active->id);
        return;
    }
    const auto reply = std::exchange(m_active->reply, nullptr);
    setConflict(std::nullopt);
    reply(answer);
}

void TransferEngine::setConflict(std::optional<TransferConflict> conflict)
{
    if (!conflict && !m_conflict)
        return;
    m_conflict = std::move(conflict);
    emit conflictChanged();
}

void TransferEngine::finish(const TransferOutcome &outcome)
{
    const QUuid id = m_active->id;
    const TransferRequest request = m_requests.take(id);
    if (TransferStatus *status = find(id)) {
        if (status->state == TransferStatus::State::running)
            applyCounts(id, outcome.counts);
        status->failures = outcome.failures;
        status->bytesPerSecond = 0;
        if (outcome.wasCancelled)
            status->state = TransferStatus::State::cancelled;
        else
            status->state =
                outcome.failures.isEmpty() ? TransferStatus::State::finished : TransferStatus::State::failed;
    }
    m_active.reset();
    setConflict(std::nullopt);
    emit transferChanged(id);
    if (!outcome.changedTargetFolders.isEmpty())
        emit foldersChanged(request.destination.get(), outcome.changedTargetFolders);
    if (!outcome.changedSourceFolders.isEmpty())
        emit foldersChanged(request.source.get(), outcome.changedSourceFolders);
    startNext();
}

} // namespace moorix
