// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>
#include <vector>

namespace moorix {

/// Tells when a window that is moved about is being shaken: its horizontal direction reverses three times within 0.7
/// seconds. Steps of 6 points or less count for nothing.
class ShakeDetector final
{
public:
    /// The window is at `x`, in points, at `now`, in seconds from any moment on. Returns whether it is being shaken.
    bool trackShake(double now, double x);
    void reset() { m_shakeSamples.clear(); }

private:
    std::vector<std::pair<double, double>> m_shakeSamples;
};

} // namespace moorix
