// SPDX-License-Identifier: GPL-3.0-or-later
// What watching this machine costs: one reading a second may take 1 % of one core, so 10 ms of its time.
#include "Paired.h"

#include "monitor/LocalSampler.h"

#include <QCoreApplication>

#include <algorithm>
#include <ctime>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace moorix;

namespace {

constexpr int readings = 30;
constexpr double limitMilliseconds = 10;

double cpuMilliseconds()
{
    timespec now = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

/// Sleeping processes, so that there are as many as on a desktop.
class Crowd final
{
public:
    explicit Crowd(int count)
    {
        for (int i = 0; i < count; ++i) {
            const pid_t child = ::fork();
            if (child == 0) {
                ::pause();
                ::_exit(0);
            }
            m_children.push_back(child);
        }
    }
    ~Crowd()
    {
        for (const pid_t child : m_children)
            ::kill(child, SIGKILL);
        for (const pid_t child : m_children)
            ::waitpid(child, nullptr, 0);
    }

private:
    std::vector<pid_t> m_children;
};

void reading(benchmark::State &state, LocalSampler::Processes processes)
{
    const Crowd crowd(int(state.range(0)));
    LocalSampler sampler;
    sampler.sample(processes);
    for (auto _ : state) {
        std::vector<double> costs;
        std::size_t seen = 0;
        for (int i = 0; i < readings; ++i) {
            const double before = cpuMilliseconds();
            const LocalStats stats = sampler.sample(processes);
            costs.push_back(cpuMilliseconds() - before);
            seen = stats.processes ? stats.processes->size() : 0;
        }
        std::nth_element(costs.begin(), costs.begin() + readings / 2, costs.end());
        const double median = costs[readings / 2];
        state.SetIterationTime(median / 1e3);
        state.counters["median_ms"] = median;
        state.counters["limit_ms"] = limitMilliseconds;
        state.counters["ratio"] = median / limitMilliseconds;
        state.counters["ok"] = median <= limitMilliseconds;
        state.counters["processes"] = double(seen);
    }
}

void vitals(benchmark::State &state)
{
    reading(state, LocalSampler::Processes::leaveOut);
}

void withProcesses(benchmark::State &state)
{
    reading(state, LocalSampler::Processes::include);
}

BENCHMARK(vitals)->Arg(0)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(withProcesses)->Arg(0)->Arg(400)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
