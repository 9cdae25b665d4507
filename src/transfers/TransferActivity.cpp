// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferActivity.h"

#include <algorithm>

namespace moorix {

/// Only touched on the main thread.
struct TransferActivity::Ear
{
    Events events;
};

TransferActivity::TransferActivity(TransferRequest request, std::shared_ptr<TransferGate> gate,
                                   TransferLink::Delays delays, Events events)
    : m_control(std::make_shared<TransferControl>())
    , m_ear(std::make_shared<Ear>(Ear{std::move(events)}))
{
    m_stopwatch.start();
    const std::weak_ptr<Ear> weakEar = m_ear;
    TransferRun::Callbacks callbacks;
    callbacks.gate = std::move(gate);
    callbacks.control = m_control;
    callbacks.reconnectDelays = std::move(delays);
    callbacks.progress = [weakEar](const TransferCounts &counts) {
        onMain([weakEar, counts] {
            if (const auto ear = weakEar.lock())
                ear->events.progressed(counts);
        });
    };
    callbacks.ask = [weakEar](const TransferConflict &conflict, const std::stop_token &stop) {
        return askMain<ConflictAnswer>(stop, [weakEar, conflict](Reply reply) {
            if (const auto ear = weakEar.lock())
                ear->events.asked(conflict, std::move(reply));
        });
    };
    m_job = runJob([request = std::move(request), callbacks = std::move(callbacks)](
                       const std::stop_token &stop) { return TransferRun(request, callbacks).run(stop); },
                   [this](const TransferOutcome &outcome) { m_ear->events.ended(outcome); },
                   [this](const Error &error) {
                       TransferOutcome outcome;
                       outcome.failures.append(error.message());
                       m_ear->events.ended(outcome);
                   });
}

TransferActivity::~TransferActivity()
{
    m_control->stop(TransferControl::Parts::removed);
}

double TransferActivity::measureRate(qint64 bytesCarried)
{
    constexpr qint64 windowMsecs = 4000;
    const qint64 now =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    m_progress.emplace_back(now, bytesCarried);
    while (m_progress.size() > 2 && now - m_progress.front().first > windowMsecs)
        m_progress.pop_front();
    const qint64 msecs = now - m_progress.front().first;
    // A failed file takes its bytes back.
    const qint64 bytes = std::max<qint64>(0, bytesCarried - m_progress.front().second);
    return msecs > 0 ? double(bytes) * 1000.0 / double(msecs) : 0;
}

double TransferActivity::measureRateAgain()
{
    return m_progress.empty() ? 0 : measureRate(m_progress.back().second);
}

} // namespace moorix
