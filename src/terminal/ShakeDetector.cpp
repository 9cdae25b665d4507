// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/ShakeDetector.h"

#include <cmath>

namespace moorix {

namespace {
constexpr double memorySeconds = 0.7;
constexpr double smallestStep = 6;
constexpr int reversalsOfAShake = 3;
} // namespace

bool ShakeDetector::trackShake(double now, double x)
{
    m_shakeSamples.emplace_back(now, x);
    std::erase_if(m_shakeSamples, [now](const auto &sample) { return now - sample.first > memorySeconds; });
    int reversals = 0;
    double direction = 0;
    for (std::size_t i = 1; i < m_shakeSamples.size(); ++i) {
        const double step = m_shakeSamples[i].second - m_shakeSamples[i - 1].second;
        if (std::abs(step) <= smallestStep)
            continue;
        if (step * direction < 0)
            ++reversals;
        direction = step;
    }
    return reversals >= reversalsOfAShake;
}

} // namespace moorix
