// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/PaneOperations.h"

namespace moorix {

PaneOperations::PaneOperations(QObject *parent)
    : QObject(parent)
{
}

void PaneOperations::run(const QString &description, const QString &folder, Work work, Finished finished)
{
    m_waiting.push_back({description, folder, std::move(work), std::move(finished)});
    if (!m_current)
        startNext();
}

void PaneOperations::cancel()
{
    m_waiting.clear();
    m_stop.request_stop();
}

void PaneOperations::handOver(const Told &told)
{
    const auto teller = [&told](const QString &description, const QString &folder) {
        return [=](const FileActions::Outcome &outcome) { told(description, folder, outcome); };
    };
    if (m_current)
        m_finished = teller(*m_current, m_folder);
    for (Operation &waiting : m_waiting)
        waiting.finished = teller(waiting.description, waiting.folder);
}

void PaneOperations::startNext()
{
    if (m_waiting.empty()) {
        m_current.reset();
        emit currentChanged();
        return;
    }
    Operation next = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_current = next.description;
    m_folder = next.folder;
    m_finished = std::move(next.finished);
    // A stop of its own: a job that is cancelled drops its outcome, but what a stopped operation has done must be
    // shown.
    m_stop = std::stop_source();
    m_job = runJob(
        [work = std::move(next.work), source = m_stop](const std::stop_token &jobStop) mutable {
            const std::stop_callback forward(jobStop, [&source] { source.request_stop(); });
            return work(source.get_token());
        },
        [this](const FileActions::Outcome &outcome) { finish(outcome); },
        [this](const Error &error) {
            const bool wasStopped = dynamic_cast<const Cancelled *>(&error) != nullptr;
            finish(wasStopped ? FileActions::Outcome{{}, {}, true} : FileActions::Outcome{{error.message()}, {}});
        });
    emit currentChanged();
}

void PaneOperations::finish(const FileActions::Outcome &outcome)
{
    const Finished finished = std::move(m_finished);
    startNext();
    finished(outcome);
}

} // namespace moorix

// Here rather than with all others in one file: a program that uses this class then links no class it does not use.
#include "moc_PaneOperations.cpp"
