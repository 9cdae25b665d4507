// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QLineEdit;

namespace moorix {

class PaneModel;

/// The line above a list that narrows it to the names containing a text. Closing it shows everything again. Main
/// thread.
class FilterBar final : public QFrame
{
    Q_OBJECT

public:
    explicit FilterBar(PaneModel &pane, QWidget *parent = nullptr);

    void open();
    void close();

signals:
    /// The list should get the keyboard.
    void left();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showCount();

    PaneModel &m_pane;
    QLineEdit *m_edit;
    QLabel *m_count;
};

} // namespace moorix
