// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <benchmark/benchmark.h>

#include <functional>

namespace moorix::bench {

enum class WarmUp { yes, no };

/// Runs `ours` and `peer` in turn, each of them first in every other pair, so that a machine that changes its speed,
/// and what one of them leaves to be written to the disk, weigh on both. Reports the median of their ratios ("ratio",
/// smaller is better for us) beside the limit it must not pass ("limit"), which "ok" tells to be met (1) or not (0).
/// Times are of `ours`; "peer_ms" is the peer's median.
void paired(benchmark::State &state, const std::function<void()> &ours, const std::function<void()> &peer, double limit,
            WarmUp warmUp = WarmUp::yes);

/// Measures `work` and reports its median in milliseconds beside its limit.
void limited(benchmark::State &state, const std::function<void()> &prepare, const std::function<void()> &work,
             double limitMilliseconds);

} // namespace moorix::bench
