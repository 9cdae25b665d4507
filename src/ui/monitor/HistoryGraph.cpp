// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/HistoryGraph.h"

#include <QDateTime>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The graph shows the least of these that all readings fit into, so that it does not creep.
constexpr std::array<qint64, 3> spansMsecs{60'000, 300'000, 900'000};
constexpr qreal margin = 2;
constexpr qreal lineWidth = 1.5;

QColor faded(QColor color, float alpha)
{
    color.setAlphaF(alpha);
    return color;
}

} // namespace

HistoryGraph::HistoryGraph(QList<Series> series, Options options, QWidget *parent)
    : QWidget(parent)
    , m_series(std::move(series))
    , m_options(std::move(options))
{
    setObjectName(u"historyGraph"_s);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

HistoryGraph::Span HistoryGraph::span() const
{
    std::optional<qint64> oldest;
    qint64 newest = 0;
    for (const Series &series : m_series) {
        if (series.history->size() == 0)
            continue;
        oldest = std::min(oldest.value_or(series.history->at(0).msecs), series.history->at(0).msecs);
        newest = std::max(newest, series.history->at(series.history->size() - 1).msecs);
    }
    const qint64 covered = newest - oldest.value_or(newest);
    const auto fitting = std::find_if(spansMsecs.begin(), spansMsecs.end(),
                                      [covered](qint64 candidate) { return candidate >= covered; });
    return {newest - (fitting == spansMsecs.end() ? spansMsecs.back() : *fitting), newest};
}

double HistoryGraph::top() const
{
    if (m_options.ceiling)
        return *m_options.ceiling;
    double most = 0;
    for (const Series &series : m_series)
        most = std::max(most, series.history->greatest());
    // Little traffic is not to look like much.
    constexpr double least = 10'000;
    constexpr double headroom = 1.15;
    return std::max(most * headroom, least);
}

QRectF HistoryGraph::plot() const
{
    return QRectF(rect()).adjusted(0, margin, -margin, -1);
}

QPointF HistoryGraph::place(const MetricHistory::Point &point, const Span &shown, double most) const
{
    const QRectF area = plot();
    const double across = double(point.msecs - shown.from) / double(std::max<qint64>(shown.to - shown.from, 1));
    const double up = std::clamp(point.value.value_or(0) / most, 0.0, 1.0);
    return {area.left() + across * area.width(), area.bottom() - up * area.height()};
}

void HistoryGraph::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const QRectF area = plot();
    painter.setPen(faded(Theme::color(Theme::Color::border), 0.7F));
    for (const double part : {0.0, 0.5}) {
        const qreal y = std::floor(area.top() + part * area.height()) + 0.5;
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
    painter.setRenderHint(QPainter::Antialiasing);
    const Span shown = span();
    const double most = top();
    for (const Series &series : m_series)
        drawSeries(painter, series, shown, most);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(Theme::color(Theme::Color::border));
    painter.drawLine(QPointF(area.left(), height() - 0.5), QPointF(area.right(), height() - 0.5));
    if (m_pointer)
        drawPointed(painter, shown, most);
}

void HistoryGraph::drawSeries(QPainter &painter, const Series &series, const Span &shown, double most) const
{
    const QColor color = Theme::color(series.color);
    QLinearGradient ground(0, 0, 0, height());
    ground.setColorAt(0, faded(color, 0.28F));
    ground.setColorAt(1, faded(color, 0.03F));
    QPolygonF line;
    const auto finish = [&] {
        if (line.size() > 1) {
            QPainterPath filled(QPointF(line.constFirst().x(), plot().bottom()));
            for (const QPointF &point : std::as_const(line))
                filled.lineTo(point);
            filled.lineTo(line.constLast().x(), plot().bottom());
            painter.fillPath(filled, ground);
            painter.setPen(QPen(color, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.drawPolyline(line);
        } else if (line.size() == 1) {
            painter.setPen(QPen(color, lineWidth * 2, Qt::SolidLine, Qt::RoundCap));
            painter.drawPoint(line.constFirst());
        }
        line.clear();
    };
    qint64 before = 0;
    for (std::size_t i = 0; i < series.history->size(); ++i) {
        const MetricHistory::Point &point = series.history->at(i);
        if (!point.value || (!line.isEmpty() && point.msecs - before > m_options.longestStepMsecs))
            finish();
        before = point.msecs;
        if (point.value && point.msecs >= shown.from)
            line << place(point, shown, most);
    }
    finish();
}

std::optional<MetricHistory::Point> HistoryGraph::reading(const Series &series, int x) const
{
    const Span shown = span();
    const QRectF area = plot();
    const double across = (x - area.left()) / std::max(area.width(), 1.0);
    const qint64 msecs = shown.from + qint64(across * double(shown.to - shown.from));
    constexpr int reachPixels = 8;
    const qint64 reach = qint64(reachPixels / std::max(area.width(), 1.0) * double(shown.to - shown.from));
    const auto point = series.history->nearest(msecs, std::max(reach, m_options.longestStepMsecs / 2));
    return point && point->value ? point : std::nullopt;
}

QString HistoryGraph::textAt(int x) const
{
    QStringList values;
    QString time;
    for (const Series &series : m_series) {
        const auto point = reading(series, x);
        if (!point)
            continue;
        const QString value = m_options.text(*point->value);
        values << (series.label.isEmpty() ? value : series.label + u' ' + value);
        time = QDateTime::fromMSecsSinceEpoch(point->msecs).toString(u"HH:mm:ss"_s);
    }
    return values.isEmpty() ? QString() : values.join(u"  "_s) + u"  ·  "_s + time;
}

void HistoryGraph::drawPointed(QPainter &painter, const Span &shown, double most) const
{
    const QString text = textAt(*m_pointer);
    if (text.isEmpty())
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    qreal x = 0;
    for (const Series &series : m_series) {
        const auto point = reading(series, *m_pointer);
        if (!point)
            continue;
        const QPointF at = place(*point, shown, most);
        x = at.x();
        painter.setPen(faded(Theme::color(Theme::Color::mutedText), 0.6F));
        painter.drawLine(QPointF(x, plot().top()), QPointF(x, plot().bottom()));
        painter.setPen(QPen(Theme::color(Theme::Color::toolBar), 2));
        painter.setBrush(Theme::color(series.color));
        painter.drawEllipse(at, 4, 4);
    }
    constexpr qreal padding = 6;
    const QSizeF size(fontMetrics().horizontalAdvance(text) + 2 * padding, fontMetrics().height() + 4);
    const qreal left = std::clamp(x - size.width() / 2, 0.0, std::max(0.0, width() - size.width()));
    const QRectF box(QPointF(left, 0), size);
    painter.setPen(Theme::color(Theme::Color::border));
    painter.setBrush(Theme::color(Theme::Color::window));
    painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    painter.setPen(Theme::color(Theme::Color::text));
    painter.drawText(box, Qt::AlignCenter, text);
}

void HistoryGraph::mouseMoveEvent(QMouseEvent *event)
{
    m_pointer = int(event->position().x());
    update();
}

void HistoryGraph::leaveEvent(QEvent *event)
{
    m_pointer.reset();
    update();
    QWidget::leaveEvent(event);
}

} // namespace moorix
