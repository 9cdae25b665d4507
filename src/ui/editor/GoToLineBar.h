// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QLineEdit;

namespace moorix {

/// Asks for a place in a text: "12", or "12:5" with a column.
class GoToLineBar final : public QFrame
{
    Q_OBJECT

public:
    explicit GoToLineBar(QWidget *parent = nullptr);

    void open(int line, int lineCount);

signals:
    /// Counted from 1.
    void chosen(int line, int column);
    void closed();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QLineEdit *m_edit;
    QLabel *m_hint;
};

} // namespace moorix
