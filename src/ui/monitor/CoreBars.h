// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

#include <QWidget>

namespace moorix {

/// One bar for each core: what programs use, and on top of it what the system does. Figures are in the tool tips.
class CoreBars final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int tallness = 34;

    explicit CoreBars(QWidget *parent = nullptr);

    void setCores(const QList<CoreUse> &cores);
    QSize sizeHint() const override { return {200, tallness}; }
    QSize minimumSizeHint() const override { return {80, tallness}; }
    /// What is known of the core at a place; empty beside the bars.
    QString textAt(const QPoint &position) const;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QRectF bar(qsizetype index) const;

    QList<CoreUse> m_cores;
};

} // namespace moorix
