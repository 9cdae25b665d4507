// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "transfers/TransferRun.h"
#include "transfers/TransferStopwatch.h"

#include <deque>
#include <functional>
#include <memory>
#include <utility>

namespace moorix {

/// One transfer under way: its run on a worker, and what comes back from there. Main thread.
class TransferActivity final
{
public:
    using Reply = std::function<void(ConflictAnswer)>;

    /// Called on the main thread, as long as the object lives; `ended` may destroy it.
    struct Events
    {
        std::function<void(const TransferCounts &counts)> progressed;
        std::function<void(const TransferConflict &conflict, Reply reply)> asked;
        std::function<void(const TransferOutcome &outcome)> ended;
    };

    TransferActivity(TransferRequest request, std::shared_ptr<TransferGate> gate, TransferLink::Delays delays,
                     Events events);
    /// Stops the run; its end is not heard of any more.
    ~TransferActivity();
    Q_DISABLE_COPY_MOVE(TransferActivity)

    TransferControl &control() { return *m_control; }
    /// Runs from the beginning.
    TransferStopwatch &stopwatch() { return m_stopwatch; }
    /// Bytes per second over the last seconds, `bytesCarried` being what has travelled until this moment.
    double measureRate(qint64 bytesCarried);
    /// The same where nothing has come since.
    double measureRateAgain();

private:
    /// Lives as long as somebody may want to tell something.
    struct Ear;

    std::shared_ptr<TransferControl> m_control;
    TransferStopwatch m_stopwatch;
    std::shared_ptr<Ear> m_ear;
    /// When how many bytes were done, in milliseconds.
    std::deque<std::pair<qint64, qint64>> m_progress;
    Job m_job;
};

} // namespace moorix
