// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>

#include <optional>
#include <vector>

namespace moorix {

/// The course of one figure over the last while: as many readings as it has room for, the oldest forgotten first.
class MetricHistory final
{
public:
    struct Point
    {
        qint64 msecs = 0;
        /// Nothing where there was a reading without this figure.
        std::optional<double> value;

        bool operator==(const Point &) const = default;
    };

    explicit MetricHistory(std::size_t capacity);

    /// A time before the last one, as after the clock was set back, forgets what was noted so far.
    void append(const QDateTime &time, std::optional<double> value);
    void clear();

    std::size_t size() const { return m_points.size(); }
    /// 0 is the oldest.
    const Point &at(std::size_t index) const { return m_points[(m_first + index) % m_points.size()]; }
    /// The reading nearest to a moment; nothing when there is none within `reachMsecs`.
    std::optional<Point> nearest(qint64 msecs, qint64 reachMsecs) const;
    /// The greatest value; 0 without any.
    double greatest() const;

private:
    std::size_t m_capacity;
    std::vector<Point> m_points;
    std::size_t m_first = 0;
};

} // namespace moorix
