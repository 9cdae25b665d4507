// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QPushButton;

namespace moorix {

/// Asks, below a terminal, before lines are pasted that the program there would run one by one. Enter pastes, Escape
/// does not.
class TerminalPasteBar final : public QFrame
{
    Q_OBJECT

public:
    explicit TerminalPasteBar(QWidget *parent = nullptr);

    /// `leftOut`: control characters in the text that will not be pasted.
    void ask(const QString &text, int leftOut);

signals:
    void accepted(const QString &text);
    /// After either answer.
    void closed();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void answer(bool isAccepted);

    QString m_text;
    QLabel *m_question;
    QLabel *m_preview;
    QPushButton *m_paste;
    QPushButton *m_cancel;
};

} // namespace moorix
