// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/LocalMonitor.h"

#include <algorithm>

namespace moorix {

using namespace std::chrono_literals;

namespace {

constexpr auto interval = 1000ms;
/// In ticks.
constexpr qint64 spaceInterval = 5;
constexpr qint64 patience = 3;

} // namespace

LocalMonitor::LocalMonitor(LocalSampler::Options options, QObject *parent)
    : QObject(parent)
    , m_readSpace(options.readSpace)
    , m_sampler(std::make_shared<LocalSampler>(std::move(options)))
{
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &LocalMonitor::tick);
}

LocalMonitor::~LocalMonitor() = default;

void LocalMonitor::watch(QObject *watcher, Want want)
{
    if (!m_watchers.contains(watcher))
        connect(watcher, &QObject::destroyed, this, &LocalMonitor::unwatch);
    m_watchers.insert(watcher, want);
    if (m_timer.isActive())
        return;
    m_timer.start();
    tick();
}

void LocalMonitor::unwatch(QObject *watcher)
{
    if (m_watchers.remove(watcher) == 0)
        return;
    disconnect(watcher, &QObject::destroyed, this, &LocalMonitor::unwatch);
    if (m_watchers.isEmpty())
        m_timer.stop();
}

bool LocalMonitor::wantsProcesses() const
{
    return std::any_of(m_watchers.cbegin(), m_watchers.cend(), [](Want want) { return want == Want::processes; });
}

void LocalMonitor::tick()
{
    ++m_ticks;
    if (!m_sampleInFlight)
        sample();
}

void LocalMonitor::sample()
{
    m_sampleInFlight = true;
    const auto processes = wantsProcesses() ? LocalSampler::Processes::include : LocalSampler::Processes::leaveOut;
    m_job = runJob([sampler = m_sampler, processes](const std::stop_token &) { return sampler->sample(processes); },
                   [this](LocalStats stats) { take(std::move(stats)); },
                   [this](const Error &error) {
                       m_sampleInFlight = false;
                       m_errorMessage = error.message();
                       emit changed();
                   });
}

void LocalMonitor::take(LocalStats stats)
{
    m_sampleInFlight = false;
    m_errorMessage.reset();
    std::erase_if(m_spaces, [&stats](const auto &entry) {
        return std::none_of(stats.disks.cbegin(), stats.disks.cend(),
                            [&entry](const LocalDisk &disk) { return disk.mountPoint == entry.first; });
    });
    for (LocalDisk &disk : stats.disks) {
        askForSpace(disk.mountPoint);
        const Space &space = m_spaces[disk.mountPoint];
        disk.space = space.space;
        disk.isSilent = space.isAsked && m_ticks - space.askedAt >= patience;
    }
    if (!stats.processes && m_stats && wantsProcesses())
        stats.processes = m_stats->processes;
    m_stats = std::move(stats);
    emit changed();
}

void LocalMonitor::askForSpace(const QString &mountPoint)
{
    Space &space = m_spaces[mountPoint];
    if (space.isAsked && m_ticks - space.askedAt >= patience)
        space.space.reset();
    if (space.isAsked || (space.askedAt > 0 && m_ticks - space.askedAt < spaceInterval))
        return;
    space.isAsked = true;
    space.askedAt = m_ticks;
    space.job = runJob([mountPoint, read = m_readSpace](const std::stop_token &) { return read(mountPoint); },
                       [this, mountPoint](const std::optional<DiskSpace> &found) {
                           Space &answered = m_spaces[mountPoint];
                           const bool isNews = answered.space != found;
                           answered.isAsked = false;
                           answered.space = found;
                           for (LocalDisk &disk : m_stats->disks) {
                               if (disk.mountPoint == mountPoint)
                                   disk.space = found;
                           }
                           if (isNews)
                               emit changed();
                       },
                       [](const Error &) {});
}

} // namespace moorix
