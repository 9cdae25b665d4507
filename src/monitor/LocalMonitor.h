// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "monitor/LocalSampler.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <unordered_map>

namespace moorix {

/// Watches this machine, once a second for as long as somebody wants to see it. Main thread; the reading is work on a
/// worker, and each file system is asked for its space on one of its own, since a dead server may never answer.
class LocalMonitor final : public QObject
{
    Q_OBJECT

public:
    /// Vitals are everything but the list of processes.
    enum class Want { vitals, processes };

    explicit LocalMonitor(LocalSampler::Options options = {}, QObject *parent = nullptr);
    ~LocalMonitor() override;

    /// From now on, until `unwatch` or the watcher's end. Again with another want replaces the first.
    void watch(QObject *watcher, Want want);
    void unwatch(QObject *watcher);
    bool isRunning() const { return m_timer.isActive(); }
    /// What the timer does; a reading that is still in progress is waited for.
    void tick();

    /// Nothing before the first reading.
    const std::optional<LocalStats> &stats() const { return m_stats; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }

signals:
    void changed();

private:
    struct Space
    {
        std::optional<DiskSpace> space;
        /// Of the question that is open or was answered last, by the monitor's own count of ticks.
        qint64 askedAt = 0;
        bool isAsked = false;
        Job job;
    };

    void sample();
    void take(LocalStats stats);
    void askForSpace(const QString &mountPoint);
    bool wantsProcesses() const;

    LocalSampler::SpaceReader m_readSpace;
    std::shared_ptr<LocalSampler> m_sampler;
    QTimer m_timer;
    QHash<QObject *, Want> m_watchers;
    std::optional<LocalStats> m_stats;
    std::optional<QString> m_errorMessage;
    std::unordered_map<QString, Space> m_spaces;
    qint64 m_ticks = 0;
    bool m_sampleInFlight = false;
    Job m_job;
};

} // namespace moorix
