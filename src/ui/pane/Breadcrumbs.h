// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/PaneModel.h"

#include <QWidget>

class QToolButton;

namespace moorix {

/// A path as buttons, the last folder last. What does not fit is reached through a leading "…". Main thread.
class Breadcrumbs final : public QWidget
{
    Q_OBJECT

public:
    explicit Breadcrumbs(QWidget *parent = nullptr);

    void setComponents(const QList<PathComponent> &components);

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

private:
    void arrange();
    void shortenLast();
    void showHiddenOnes();

    QList<PathComponent> m_components;
    QList<QToolButton *> m_buttons;
    QToolButton *m_more;
    /// Index of the first button shown.
    qsizetype m_first = 0;
};

} // namespace moorix
