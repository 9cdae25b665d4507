// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/TopProcesses.h"

#include "files/Format.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHelpEvent>
#include <QLocale>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr int rows = 8;
constexpr int figureWidth = 74;
constexpr qreal barHeight = 2;

QString percent(double value)
{
    return QLocale().toString(value, 'f', 1) + u" %"_s;
}

} // namespace

TopProcesses::TopProcesses(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"topProcesses"_s);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::MinimumExpanding);
}

int TopProcesses::rowHeight() const
{
    return fontMetrics().height() + 5;
}

QSize TopProcesses::sizeHint() const
{
    return {3 * figureWidth, rows * rowHeight()};
}

QSize TopProcesses::minimumSizeHint() const
{
    // Those for which there is no room are left out.
    constexpr int fewest = 5;
    return {3 * figureWidth, (fewest + 1) * rowHeight()};
}

void TopProcesses::setProcesses(const QList<ProcInfo> &processes)
{
    m_processes = processes.first(std::min<qsizetype>(processes.size(), rows));
    QStringList spoken;
    for (const ProcInfo &process : m_processes)
        spoken << process.name + u' ' + percent(process.cpu);
    setAccessibleDescription(spoken.join(u", "_s));
    update();
}

void TopProcesses::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const auto figure = [this](int fromRight, int y) {
        return QRect(width() - (fromRight + 1) * figureWidth, y, figureWidth, rowHeight());
    };
    painter.setPen(Theme::color(Theme::Color::faintText));
    painter.drawText(QRect(0, 0, width(), rowHeight()), Qt::AlignLeft | Qt::AlignVCenter, tr("Name"));
    painter.drawText(figure(1, 0), Qt::AlignRight | Qt::AlignVCenter, tr("CPU"));
    painter.drawText(figure(0, 0), Qt::AlignRight | Qt::AlignVCenter, tr("Memory"));
    int y = rowHeight();
    for (const ProcInfo &process : m_processes) {
        if (y + rowHeight() > height())
            break;
        const QRect nameRect(0, y, width() - 2 * figureWidth, rowHeight());
        painter.setPen(Theme::color(Theme::Color::text));
        painter.drawText(nameRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         fontMetrics().elidedText(Format::display(process.name), Qt::ElideMiddle, nameRect.width()));
        painter.drawText(figure(1, y), Qt::AlignRight | Qt::AlignVCenter, percent(process.cpu));
        painter.setPen(Theme::color(Theme::Color::mutedText));
        painter.drawText(figure(0, y), Qt::AlignRight | Qt::AlignVCenter, percent(process.mem));
        constexpr double hundred = 100;
        QColor bar = Theme::color(Theme::Color::accent);
        bar.setAlphaF(0.55F);
        painter.fillRect(QRectF(0, y + rowHeight() - barHeight,
                                std::clamp(process.cpu / hundred, 0.0, 1.0) * nameRect.width(), barHeight),
                         bar);
        y += rowHeight();
    }
}

bool TopProcesses::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const qsizetype row = help->pos().y() / rowHeight() - 1;
    QString text;
    if (row >= 0 && row < m_processes.size())
        text = tr("%1 (process %2)").arg(Format::display(m_processes.at(row).name)).arg(m_processes.at(row).id);
    QToolTip::showText(help->globalPos(), Widgets::toolTip(text), this);
    return true;
}

} // namespace moorix
