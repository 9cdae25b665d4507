// SPDX-License-Identifier: GPL-3.0-or-later
#include "Paired.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace moorix::bench {

namespace {

double seconds(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

void paired(benchmark::State &state, const std::function<void()> &ours, const std::function<void()> &peer, double limit,
            WarmUp warmUp)
{
    std::vector<double> ratios;
    std::vector<double> peerTimes;
    if (warmUp == WarmUp::yes) {
        ours();
        peer();
    }
    bool peerIsFirst = true;
    for (auto iteration : state) {
        double ourTime = 0;
        if (!peerIsFirst)
            ourTime = seconds(ours);
        peerTimes.push_back(seconds(peer));
        if (peerIsFirst)
            ourTime = seconds(ours);
        peerIsFirst = !peerIsFirst;
        state.SetIterationTime(ourTime);
        ratios.push_back(ourTime / peerTimes.back());
    }
    const double ratio = median(ratios);
    state.counters["ratio"] = ratio;
    state.counters["limit"] = limit;
    state.counters["ok"] = ratio <= limit ? 1 : 0;
    state.counters["peer_ms"] = median(peerTimes) * 1000;
}

void limited(benchmark::State &state, const std::function<void()> &prepare, const std::function<void()> &work,
             double limitMilliseconds)
{
    std::vector<double> times;
    for (auto iteration : state) {
        prepare();
        times.push_back(seconds(work));
        state.SetIterationTime(times.back());
    }
    state.counters["median_ms"] = median(times) * 1000;
    state.counters["limit_ms"] = limitMilliseconds;
}

} // namespace moorix::bench
