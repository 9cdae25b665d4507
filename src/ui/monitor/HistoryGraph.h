// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/MetricHistory.h"
#include "ui/Theme.h"

#include <QWidget>

#include <functional>

namespace moorix {

/// The course of one or two figures as lines over a quiet ground. Under the pointer it tells
/// the value and time of a reading.
class HistoryGraph final : public QWidget
{
    Q_OBJECT

public:
    struct Series
    {
        /// Outlives the graph.
        const MetricHistory *history = nullptr;
        Theme::Color color = Theme::Color::accent;
        /// Before its value, where there are two; may be empty.
        QString label;
    };
    struct Options
    {
        /// The top of the graph; nothing lets the greatest value set it.
        std::optional<double> ceiling;
        /// Readings further apart than this are not joined.
        qint64 longestStepMsecs = 0;
        std::function<QString(double)> text;
    };

    HistoryGraph(QList<Series> series, Options options, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {200, 46}; }
    QSize minimumSizeHint() const override { return {80, 44}; }
    /// What stands beside the pointer; empty when it is on no reading.
    QString textAt(int x) const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    /// From the left edge to the right one.
    struct Span
    {
        qint64 from = 0;
        qint64 to = 0;
    };

    Span span() const;
    double top() const;
    QRectF plot() const;
    QPointF place(const MetricHistory::Point &point, const Span &shown, double most) const;
    std::optional<MetricHistory::Point> reading(const Series &series, int x) const;
    void drawSeries(QPainter &painter, const Series &series, const Span &shown, double most) const;
    void drawPointed(QPainter &painter, const Span &shown, double most) const;

    QList<Series> m_series;
    Options m_options;
    std::optional<int> m_pointer;
};

} // namespace moorix
