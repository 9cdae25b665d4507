// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <vector>

namespace moorix {

class DiffHeights;
class DiffLayout;

/// A narrow picture of both texts from beginning to end beside the scroll bar: where lines are on the left only, on
/// the right only, or differ, and what is in sight. A click or a drag goes there.
class DiffOverview final : public QWidget
{
    Q_OBJECT

public:
    explicit DiffOverview(QWidget *parent = nullptr);

    static int usualWidth() { return 14; }
    /// Takes time for each change; nothing of both is kept.
    void setChanges(const DiffLayout &layout, const DiffHeights &heights);
    /// What is in sight, as parts of the whole.
    void setInSight(double from, double to);

signals:
    /// The middle of what is to be seen, as a part of the whole.
    void wanted(double place);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;

private:
    struct Change
    {
        double from = 0;
        double to = 0;
        bool isLeft = false;
        bool isRight = false;
    };

    std::vector<Change> m_changes;
    double m_from = 0;
    double m_to = 1;
};

} // namespace moorix
