// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTreeView>

namespace moorix {

/// Shows the rows of a ProcessModel, indented where they are a tree. The keyboard of a file list: Enter and the arrow
/// keys fold branches, Delete asks for the end of a process.
class ProcessTreeView final : public QTreeView
{
    Q_OBJECT

public:
    explicit ProcessTreeView(QWidget *parent = nullptr);

signals:
    /// A branch is to be folded or unfolded.
    void foldRequested(const QModelIndex &index, bool isFolded);
    void endRequested();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void drawBranches(QPainter *, const QRect &, const QModelIndex &) const override {}
};

} // namespace moorix
