// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QProgressBar;
class QPushButton;

namespace moorix {

/// What is being done, how far it is, and a button that stops it. Hidden while nothing is done.
class WorkBar final : public QFrame
{
    Q_OBJECT

public:
    explicit WorkBar(QWidget *parent = nullptr);

    void begin(const QString &text);
    /// Of bytes; a total of 0 is not known.
    void advance(qint64 done, qint64 total);
    void end();

signals:
    void cancelled();

private:
    QLabel *m_text;
    QLabel *m_amount;
    QProgressBar *m_bar;
    QPushButton *m_cancel;
};

} // namespace moorix
