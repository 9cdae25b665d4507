// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferEngine.h"

#include "base/Json.h"
#include "files/Format.h"

#include <QSet>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using State = TransferStatus::State;

namespace {

bool isUnderWay(State state)
{
    return state == State::running || state == State::reconnecting;
}

} // namespace

TransferEngine::TransferEngine(QObject *parent)
    : TransferEngine(Options(), parent)
{
}

TransferEngine::TransferEngine(const Options &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_gate(std::make_shared<TransferGate>(options.mostAtOnce))
{
    m_rateTimer.setInterval(std::chrono::seconds(1));
    connect(&m_rateTimer, &QTimer::timeout, this, &TransferEngine::updateRates);
}

TransferEngine::~TransferEngine()
{
    saveNow();
    // What the document holds goes on with its part files another time.
    for (const auto &[id, activity] : m_activities) {
        const auto order = m_orders.find(id);
        const TransferStatus *status = find(id);
        if (m_file && order != m_orders.end() && order->second.isKept && status && isOpen(status->state))
            activity->control().stop(TransferControl::Parts::kept);
    }
}

TransferStatus *TransferEngine::find(const QUuid &id)
{
    const auto place = std::find_if(m_transfers.begin(), m_transfers.end(),
                                    [&id](const TransferStatus &status) { return status.id == id; });
    return place == m_transfers.end() ? nullptr : &*place;
}

void TransferEngine::setState(TransferStatus &status, State state)
{
    status.state = state;
    if (const auto activity = m_activities.find(status.id); activity != m_activities.end()) {
        TransferStopwatch &stopwatch = activity->second->stopwatch();
        state == State::running ? stopwatch.start() : stopwatch.stop();
    }
    if (!isOpen(state))
        status.ended = QDateTime::currentDateTimeUtc();
    if (!isUnderWay(state))
        status.bytesPerSecond = 0;
    if (state != State::reconnecting)
        status.waitingFor.clear();
}

void TransferEngine::setMostAtOnce(int count)
{
    m_options.mostAtOnce = std::max(1, count);
    m_gate->setMostAtOnce(m_options.mostAtOnce);
    startNext();
}

QUuid TransferEngine::enqueue(TransferRequest request)
{
    TransferStatus status;
    status.id = newUuid();
    status.title = request.title();
    request.id = status.id;
    Order order;
    order.next = request;
    if (m_places.serverOf) {
        order.stored.source = m_places.serverOf(*request.source);
        order.stored.destination = m_places.serverOf(*request.destination);
        order.isKept = order.stored.source != QUuid() && order.stored.destination != QUuid();
    }
    order.stored.request = std::move(request);
    m_orders.insert_or_assign(status.id, std::move(order));
    const QUuid id = status.id;
    m_transfers.append(std::move(status));
    emit listChanged();
    startNext();
    save();
    return id;
}

void TransferEngine::cancel(const QUuid &id)
{
    TransferStatus *status = find(id);
    if (!status || !isOpen(status->state))
        return;
    setState(*status, State::cancelled);
    Order &order = m_orders.at(id);
    order.openSource.cancel();
    order.openDestination.cancel();
    if (const auto activity = m_activities.find(id); activity != m_activities.end()) {
        activity->second->control().stop(TransferControl::Parts::removed);
        withdrawQuestions(id);
    } else {
        removeLeftovers(id, order);
    }
    emit transferChanged(id);
    startNext();
    save();
}

void TransferEngine::pause(const QUuid &id)
{
    TransferStatus *status = find(id);
    if (!status || (status->state != State::waiting && !isUnderWay(status->state)))
        return;
    setState(*status, State::paused);
    if (const auto activity = m_activities.find(id); activity != m_activities.end())
        activity->second->control().pause();
    emit transferChanged(id);
    startNext();
    save();
}

void TransferEngine::resume(const QUuid &id)
{
    TransferStatus *status = find(id);
    if (!status || (status->state != State::paused && status->state != State::interrupted))
        return;
    const auto activity = m_activities.find(id);
    setState(*status, activity == m_activities.end() ? State::waiting : State::running);
    if (activity != m_activities.end())
        activity->second->control().resume();
    emit transferChanged(id);
    startNext();
    save();
}

void TransferEngine::retryFailed(const QUuid &id)
{
    if (const auto order = m_orders.find(id); order != m_orders.end() && !order->second.stored.remaining.isEmpty())
        retry(id, order->second.stored.remaining);
}

void TransferEngine::retryAll(const QUuid &id)
{
    if (const auto order = m_orders.find(id); order != m_orders.end())
        retry(id, order->second.stored.request.pieces());
}

void TransferEngine::retry(const QUuid &id, const QList<TransferPiece> &pieces)
{
    TransferStatus *status = find(id);
    if (!status || isOpen(status->state))
        return;
    Order &order = m_orders.at(id);
    order.next.items = pieces.constFirst().items;
    order.next.targetFolder = pieces.constFirst().targetFolder;
    order.next.more = pieces.mid(1);
    order.next.isContinuation = true;
    order.isOlder = false;
    order.isCleared = false;
    // What is still being removed would be gone on with.
    m_cleanups.erase(id);
    // A connection may have been closed since.
    if (order.isKept && m_places.open) {
        order.next.source.reset();
        order.next.destination.reset();
    }
    TransferStatus fresh;
    fresh.id = id;
    fresh.title = status->title;
    *status = fresh;
    emit transferChanged(id);
    startNext();
    save();
}

void TransferEngine::moveUp(const QUuid &id)
{
    swapWithWaiting(id, -1);
}

void TransferEngine::moveDown(const QUuid &id)
{
    swapWithWaiting(id, 1);
}

void TransferEngine::swapWithWaiting(const QUuid &id, int step)
{
    const TransferStatus *status = find(id);
    if (!status || m_activities.count(id) > 0 || !isOpen(status->state))
        return;
    const qsizetype from = status - m_transfers.constData();
    for (qsizetype to = from + step; to >= 0 && to < m_transfers.size(); to += step) {
        if (!isOpen(m_transfers.at(to).state) || m_activities.count(m_transfers.at(to).id) > 0)
            continue;
        m_transfers.swapItemsAt(from, to);
        emit listChanged();
        save();
        return;
    }
}

TransferTotals TransferEngine::totals() const
{
    TransferTotals totals;
    for (const TransferStatus &status : m_transfers) {
        if (!isOpen(status.state))
            continue;
        totals.bytesDone += status.bytesDone;
        totals.bytesTotal += status.bytesTotal;
        totals.filesDone += status.filesDone;
        totals.filesTotal += status.filesTotal;
        totals.bytesPerSecond += status.bytesPerSecond;
        ++totals.transfers;
    }
    return totals;
}

TransferEngine::Ends TransferEngine::ends(const QUuid &id) const
{
    const auto order = m_orders.find(id);
    if (order == m_orders.end())
        return {};
    const StoredTransfer &stored = order->second.stored;
    const QList<FileItem> &items = stored.request.items;
    return {stored.source, items.isEmpty() ? QString() : Format::parent(items.constFirst().path), stored.destination,
            stored.request.targetFolder};
}

TransferEngine::EndNames TransferEngine::endNames(const QUuid &id) const
{
    const auto order = m_orders.find(id);
    if (order == m_orders.end() || !m_places.nameOf)
        return {};
    return {m_places.nameOf(order->second.stored.source), m_places.nameOf(order->second.stored.destination)};
}

void TransferEngine::noteNewNames()
{
    if (!m_transfers.isEmpty())
        emit listChanged();
}

void TransferEngine::clearEnded()
{
    for (const TransferStatus &status : std::as_const(m_transfers)) {
        if (const auto order = m_orders.find(status.id); order != m_orders.end() && !isOpen(status.state))
            order->second.isCleared = true;
    }
    removeCleared();
}

void TransferEngine::removeCleared()
{
    QSet<QUuid> gone;
    for (const TransferStatus &status : std::as_const(m_transfers)) {
        const auto order = m_orders.find(status.id);
        if (order == m_orders.end() || !order->second.isCleared || m_activities.count(status.id) > 0)
            continue;
        if (status.state == State::failed && status.hasRemaining)
            removeLeftovers(status.id, order->second);
        m_orders.erase(order);
        gone.insert(status.id);
    }
    if (m_transfers.removeIf([&gone](const TransferStatus &status) { return gone.contains(status.id); }) > 0)
        emit listChanged();
    save();
}

void TransferEngine::take(const TransferCounts &counts, TransferStatus &status)
{
    status.currentName = counts.currentName;
    status.bytesDone = counts.bytesDone;
    status.bytesTotal = counts.bytesTotal;
    status.filesDone = counts.filesDone;
    status.filesTotal = counts.filesTotal;
    status.skipped = counts.skipped;
}

void TransferEngine::applyCounts(const QUuid &id, const TransferCounts &counts)
{
    TransferStatus *status = find(id);
    const auto activity = m_activities.find(id);
    // One that is to be tried again hears nothing more of the try that is ending.
    if (!status || activity == m_activities.end() || !isOpen(status->state) || status->state == State::waiting)
        return;
    if (counts.bytesDone != status->bytesDone || counts.filesDone != status->filesDone)
        activity->second->stopwatch().mark();
    take(counts, *status);
    if (status->state != State::paused) {
        setState(*status, counts.waitingFor.isEmpty() ? State::running : State::reconnecting);
        status->waitingFor = counts.waitingFor;
        status->bytesPerSecond = activity->second->measureRate(counts.bytesDone - counts.bytesFound);
    }
    emit transferChanged(id);
}

void TransferEngine::updateRates()
{
    if (m_activities.empty())
        m_rateTimer.stop();
    for (TransferStatus &status : m_transfers) {
        const auto activity = m_activities.find(status.id);
        if (activity == m_activities.end() || status.bytesPerSecond <= 0)
            continue;
        status.bytesPerSecond = activity->second->measureRateAgain();
        emit transferChanged(status.id);
    }
}

void TransferEngine::ask(const QUuid &id, const TransferConflict &conflict, TransferActivity::Reply reply)
{
    const TransferStatus *status = find(id);
    if (!status || !isOpen(status->state))
        return;
    m_activities.at(id)->stopwatch().ask();
    m_questions.push_back({id, conflict, std::move(reply)});
    showFirstQuestion();
}

void TransferEngine::answer(const ConflictAnswer &answer)
{
    if (m_questions.empty())
        return;
    if (answer.choice == ConflictAnswer::Choice::cancel) {
        cancel(m_questions.front().id);
        return;
    }
    m_activities.at(m_questions.front().id)->stopwatch().answered();
    const TransferActivity::Reply reply = std::move(m_questions.front().reply);
    m_questions.pop_front();
    showFirstQuestion();
    reply(answer);
}

Job TransferEngine::compareConflict(std::function<void(const ContentComparison &)> done,
                                    std::function<void(const Error &)> failed) const
{
    const TransferRequest &request = m_orders.at(m_questions.front().id).next;
    return runJob(
        [source = request.source, destination = request.destination,
         conflict = *m_conflict](const std::stop_token &stop) {
            return ContentComparison::of(*source, conflict.source, *destination, conflict.existing, stop);
        },
        std::move(done), std::move(failed));
}

void TransferEngine::withdrawQuestions(const QUuid &id)
{
    const auto isOf = [&id](const Question &question) { return question.id == id; };
    m_questions.erase(std::remove_if(m_questions.begin(), m_questions.end(), isOf), m_questions.end());
    showFirstQuestion();
}

void TransferEngine::showFirstQuestion()
{
    if (m_questions.empty() && !m_conflict)
        return;
    m_conflict = m_questions.empty() ? std::nullopt : std::optional(m_questions.front().conflict);
    emit conflictChanged();
}

} // namespace moorix
