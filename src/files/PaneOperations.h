// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/FileActions.h"

#include <QObject>

#include <deque>
#include <functional>
#include <optional>
#include <stop_token>

namespace moorix {

/// Runs a pane's operations in the background, one at a time in the order they were asked for. Main thread.
class PaneOperations final : public QObject
{
    Q_OBJECT

public:
    /// Runs on a worker, so it captures values only.
    using Work = std::function<FileActions::Outcome(const std::stop_token &)>;
    /// Runs on the main thread when the work has ended, with its failure among the outcome's; none if it was stopped.
    using Finished = std::function<void(const FileActions::Outcome &)>;
    /// The same for whoever takes operations over; `folder` is the one that the operation was asked for in.
    using Told = std::function<void(const QString &description, const QString &folder, const FileActions::Outcome &)>;

    explicit PaneOperations(QObject *parent = nullptr);

    void run(const QString &description, const QString &folder, Work work, Finished finished);
    /// The description of what is under way.
    const std::optional<QString> &current() const { return m_current; }
    /// Drops what waits and asks what is under way to stop; it stays current until it has.
    void cancel();
    /// What is under way and waits tells `told` of its end, and no longer who asked for it.
    void handOver(const Told &told);

signals:
    void currentChanged();

private:
    struct Operation
    {
        QString description;
        QString folder;
        Work work;
        Finished finished;
    };

    void startNext();
    void finish(const FileActions::Outcome &outcome);

    std::deque<Operation> m_waiting;
    std::optional<QString> m_current;
    QString m_folder;
    Finished m_finished;
    std::stop_source m_stop;
    Job m_job;
};

} // namespace moorix
