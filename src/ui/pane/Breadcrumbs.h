// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/PaneModel.h"

#include <QWidget>

class QToolButton;

namespace moorix {

class FileDrop;

/// A path as buttons, the last folder last. What does not fit is reached through a leading "…". Main thread.
class Breadcrumbs final : public QWidget
{
    Q_OBJECT

public:
    explicit Breadcrumbs(QWidget *parent = nullptr);

    void setComponents(const QList<PathComponent> &components);
    /// Takes what is dropped on a folder of the path, from now on.
    void takeDrops(FileDrop &drop);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void componentClicked(const QString &path);
    /// A click beside the buttons.
    void blankClicked();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    /// The folder under a place, empty where there is none.
    QString folderAt(const QPoint &place) const;
    void showDropAt(const QString &folder);
    void arrange();
    void shortenLast();
    void showHiddenOnes();

    QList<PathComponent> m_components;
    QList<QToolButton *> m_buttons;
    QToolButton *m_more;
    FileDrop *m_drop = nullptr;
    /// Index of the first button shown.
    qsizetype m_first = 0;
};

} // namespace moorix
