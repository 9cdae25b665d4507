// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

namespace moorix {

/// A line of plain text that gives way where there is no room for all of it; all of it is in its tool tip then.
class ElidedLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget *parent = nullptr);

    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isElided() const;

    Qt::TextElideMode m_mode;
};

} // namespace moorix
