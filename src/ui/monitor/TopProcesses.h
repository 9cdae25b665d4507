// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/RemoteStats.h"

#include <QWidget>

namespace moorix {

/// The busiest processes as rows of name, CPU and memory.
class TopProcesses final : public QWidget
{
    Q_OBJECT

public:
    explicit TopProcesses(QWidget *parent = nullptr);

    void setProcesses(const QList<ProcInfo> &processes);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    int rowHeight() const;

    QList<ProcInfo> m_processes;
};

} // namespace moorix
