// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <optional>

namespace moorix {

/// How much of something is in use, as a slim bar that turns yellow and red towards its end.
class UsageBar final : public QWidget
{
    Q_OBJECT

public:
    explicit UsageBar(QWidget *parent = nullptr);

    /// From 0 to 1; nothing leaves the bar empty.
    void setShare(std::optional<double> share);
    QSize sizeHint() const override { return {120, 6}; }
    QSize minimumSizeHint() const override { return {40, 6}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::optional<double> m_share;
};

} // namespace moorix
