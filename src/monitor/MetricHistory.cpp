// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/MetricHistory.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace moorix {

MetricHistory::MetricHistory(std::size_t capacity)
    : m_capacity(std::max<std::size_t>(capacity, 1))
{
}

void MetricHistory::append(const QDateTime &time, std::optional<double> value)
{
    if (value && !std::isfinite(*value))
        value.reset();
    const Point point{time.toMSecsSinceEpoch(), value};
    if (!m_points.empty() && point.msecs < at(size() - 1).msecs)
        clear();
    if (m_points.size() < m_capacity) {
        m_points.push_back(point);
        return;
    }
    m_points[m_first] = point;
    m_first = (m_first + 1) % m_capacity;
}

void MetricHistory::clear()
{
    m_points.clear();
    m_first = 0;
}

std::optional<MetricHistory::Point> MetricHistory::nearest(qint64 msecs, qint64 reachMsecs) const
{
    std::optional<Point> best;
    for (const Point &point : m_points) {
        const qint64 distance = std::abs(point.msecs - msecs);
        if (distance <= reachMsecs && (!best || distance < std::abs(best->msecs - msecs)))
            best = point;
    }
    return best;
}

double MetricHistory::greatest() const
{
    double most = 0;
    for (const Point &point : m_points)
        most = std::max(most, point.value.value_or(0));
    return most;
}

} // namespace moorix
