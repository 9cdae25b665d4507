// SPDX-License-Identifier: GPL-3.0-or-later
// How queued transfers are started, ended and kept.
#include "transfers/TransferEngine.h"

#include "base/Json.h"
#include "files/FileService.h"
#include "transfers/TransferLeftovers.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using State = TransferStatus::State;

namespace {

/// In less than a second nothing is moved that would tell how fast the way is.
double averageRate(qint64 bytes, std::chrono::milliseconds time)
{
    constexpr std::chrono::milliseconds shortest{1000};
    return time < shortest ? 0 : double(bytes) * 1000.0 / double(time.count());
}

} // namespace

void TransferEngine::startNext()
{
    const auto underWay = std::count_if(m_transfers.cbegin(), m_transfers.cend(), [](const TransferStatus &status) {
        return status.state == State::running || status.state == State::reconnecting;
    });
    qsizetype free = m_options.mostAtOnce - underWay;
    for (TransferStatus &status : m_transfers) {
        // One that is tried again may still be ending.
        if (free <= 0 || status.state != State::waiting || m_activities.count(status.id) > 0)
            continue;
        --free;
        start(status);
    }
}

void TransferEngine::start(TransferStatus &status)
{
    const QUuid id = status.id;
    const Order &order = m_orders.at(id);
    if (order.next.source && order.next.destination) {
        setState(status, State::running);
        run(id);
    } else {
        setState(status, State::reconnecting);
        openPlaces(id);
    }
    emit transferChanged(id);
}

void TransferEngine::openPlaces(const QUuid &id)
{
    if (!m_places.open)
        return;
    Order &order = m_orders.at(id);
    // Both ends on one place are one service.
    if (order.stored.source == order.stored.destination) {
        order.openSource = openPlace(order.stored.source, id, [](Order &opened, std::shared_ptr<FileService> service) {
            opened.next.source = service;
            opened.next.destination = std::move(service);
        });
        return;
    }
    order.openSource = openPlace(order.stored.source, id, [](Order &opened, std::shared_ptr<FileService> service) {
        opened.next.source = std::move(service);
    });
    order.openDestination =
        openPlace(order.stored.destination, id, [](Order &opened, std::shared_ptr<FileService> service) {
            opened.next.destination = std::move(service);
        });
}

Job TransferEngine::openPlace(const TransferPlaces::Server &server, const QUuid &id,
                              std::function<void(Order &, std::shared_ptr<FileService>)> opened)
{
    return m_places.open(
        server,
        [this, id, opened = std::move(opened)](std::shared_ptr<FileService> service) {
            Order &order = m_orders.at(id);
            opened(order, std::move(service));
            TransferStatus *status = find(id);
            if (status && status->state == State::reconnecting && order.next.source && order.next.destination)
                start(*status);
        },
        [this, id](const Error &error) { fail(id, error.message()); });
}

void TransferEngine::run(const QUuid &id)
{
    Order &order = m_orders.at(id);
    TransferActivity::Events events;
    events.progressed = [this, id](const TransferCounts &counts) { applyCounts(id, counts); };
    events.asked = [this, id](const TransferConflict &conflict, TransferActivity::Reply reply) {
        ask(id, conflict, std::move(reply));
    };
    events.ended = [this, id](const TransferOutcome &outcome) { finish(id, outcome); };
    order.stored.hasStarted = true;
    m_activities[id] =
        std::make_unique<TransferActivity>(order.next, m_gate, m_options.reconnectDelays, std::move(events));
    if (!m_rateTimer.isActive())
        m_rateTimer.start();
    save();
}

void TransferEngine::finish(const QUuid &id, const TransferOutcome &outcome)
{
    m_activities.at(id)->stopwatch().stop();
    // Its functions are running; it goes once they have returned.
    const std::shared_ptr<TransferActivity> ending = std::move(m_activities.at(id));
    m_activities.erase(id);
    onMain([ending] {});
    withdrawQuestions(id);
    Order &order = m_orders.at(id);
    const TransferRequest request = order.next;
    const TransferStatus *ended = find(id);
    const bool isGivenUp =
        ended && (ended->state == State::cancelled || (outcome.wasCancelled && ended->state != State::waiting));
    // It may not have come to what the run before it had left.
    if (request.isContinuation && isGivenUp)
        removeLeftovers(id, order);
    // A transfer that has ended holds no connection open; another try opens what it needs.
    if (order.isKept && m_places.open) {
        order.next.source.reset();
        order.next.destination.reset();
    }
    order.stored.remaining = outcome.remaining;
    order.stored.failures = outcome.failures;
    // One that is to be tried again already keeps its new state.
    if (TransferStatus *status = find(id); status && status->state != State::waiting) {
        take(outcome.counts, *status);
        status->failures = outcome.failures;
        status->notes = outcome.notes;
        status->hasRemaining = !outcome.remaining.isEmpty();
        status->timeTaken = order.isOlder ? std::nullopt : std::optional(ending->stopwatch().elapsed());
        status->averageRate =
            averageRate(outcome.counts.bytesDone - outcome.counts.bytesFound, ending->stopwatch().elapsed());
        const bool wasCancelled = outcome.wasCancelled || status->state == State::cancelled;
        setState(*status, wasCancelled                 ? State::cancelled
                          : outcome.failures.isEmpty() ? State::finished
                                                       : State::failed);
    }
    emit transferChanged(id);
    if (!outcome.changedTargetFolders.isEmpty())
        emit foldersChanged(request.destination.get(), outcome.changedTargetFolders);
    if (!outcome.changedSourceFolders.isEmpty())
        emit foldersChanged(request.source.get(), outcome.changedSourceFolders);
    startNext();
    removeCleared();
}

/// A transfer whose places cannot be opened waits for the user again.
void TransferEngine::fail(const QUuid &id, const QString &sentence)
{
    TransferStatus *status = find(id);
    if (!status || status->state != State::reconnecting)
        return;
    setState(*status, State::interrupted);
    status->failures = {sentence};
    emit transferChanged(id);
    startNext();
}

/// Behind a transfer that nobody will go on with. What is out of reach stays.
void TransferEngine::removeLeftovers(const QUuid &id, const Order &order)
{
    if (!order.stored.hasStarted)
        return;
    const auto remove = [this, id, request = order.stored.request](const std::shared_ptr<FileService> &destination) {
        TransferRequest left = request;
        left.destination = destination;
        m_cleanups[id] = runJob([left](const std::stop_token &stop) { transferLeftovers::remove(left, stop); }, [] {},
                                [](const Error &) {});
    };
    if (order.next.destination)
        remove(order.next.destination);
    else if (m_places.open)
        m_cleanups[id] = m_places.open(order.stored.destination, remove, [](const Error &) {});
}

void TransferEngine::keepQueueIn(const QString &path, TransferPlaces places)
{
    m_places = std::move(places);
    m_file = std::make_shared<TransferQueueFile>(path);
    m_isLoading = true;
    const auto loaded = [this](TransferQueueFile::Content content) {
        takeUp(std::move(content.transfers));
        emit listChanged();
        if (!content.problem.isEmpty())
            emit queueProblem(content.problem);
        if (m_isSaveDue)
            save();
    };
    m_load = runJob([file = m_file](const std::stop_token &) { return file->load(); }, loaded,
                    [this](const Error &error) {
                        // What nobody has read is not replaced.
                        m_file.reset();
                        m_isLoading = false;
                        emit queueProblem(error.message());
                    });
}

void TransferEngine::takeUp(QList<StoredTransfer> transfers)
{
    m_isLoading = false;
    QList<TransferStatus> all;
    for (StoredTransfer &stored : transfers) {
        TransferStatus status;
        status.id = stored.request.id;
        status.title = stored.request.title();
        status.failures = stored.failures;
        status.ended = stored.ended;
        status.timeTaken = stored.timeTaken;
        status.averageRate = stored.averageRate;
        status.hasRemaining = !stored.remaining.isEmpty();
        status.state = stored.failures.isEmpty() ? State::interrupted : State::failed;
        Order order;
        order.next = stored.request;
        order.next.isContinuation = stored.hasStarted;
        order.isKept = true;
        order.isOlder = stored.hasStarted;
        order.stored = std::move(stored);
        m_orders.insert_or_assign(status.id, std::move(order));
        all.append(std::move(status));
    }
    m_transfers = all + m_transfers;
}

QList<StoredTransfer> TransferEngine::storedTransfers() const
{
    QList<StoredTransfer> stored;
    for (const TransferStatus &status : m_transfers) {
        const auto order = m_orders.find(status.id);
        const bool hasEnded = status.state == State::finished || status.state == State::cancelled;
        if (order == m_orders.end() || !order->second.isKept || hasEnded)
            continue;
        stored.append(order->second.stored);
        // Services are closed on this thread, and not kept open by a document.
        stored.last().request.source.reset();
        stored.last().request.destination.reset();
        stored.last().ended = status.ended;
        stored.last().timeTaken = status.timeTaken;
        stored.last().averageRate = status.averageRate;
        if (isOpen(status.state)) {
            stored.last().failures.clear();
            stored.last().remaining.clear();
        }
    }
    return stored;
}

/// One at a time, in the background: the items of a large folder make a large document.
void TransferEngine::save()
{
    if (!m_file)
        return;
    m_isSaveDue = m_isSaving || m_isLoading;
    if (m_isLoading || std::exchange(m_isSaving, true))
        return;
    const auto ended = [this] {
        m_isSaving = false;
        if (m_isSaveDue)
            save();
    };
    m_save = runJob([file = m_file, stored = storedTransfers(),
                     number = ++m_saves](const std::stop_token &) { file->save(stored, number); },
                    ended,
                    [this, ended](const Error &error) {
                        emit queueProblem(error.message());
                        ended();
                    });
}

/// What the program leaves behind when it ends.
void TransferEngine::saveNow()
{
    if (!m_file || (!m_isSaving && !m_isSaveDue))
        return;
    try {
        // What was enqueued meanwhile comes behind what the document holds.
        if (m_isLoading)
            takeUp(m_file->load().transfers);
        m_file->save(storedTransfers(), ++m_saves);
    } catch (const Error &) {
        // Nobody is there to be told any more.
    }
}

} // namespace moorix
