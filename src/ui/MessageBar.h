// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QList>
#include <QPointer>

#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;

namespace moorix {

/// A button of a question, and what it does.
struct MessageChoice
{
    QString text = {};
    std::function<void()> run = {};
};

/// A sentence with its buttons across the width of a view, in place of a dialog. Hidden until `ask` or `tell`. Escape
/// answers like the close button.
class MessageBar final : public QFrame
{
    Q_OBJECT

public:
    enum class Tone { information, warning, danger };

    explicit MessageBar(QWidget *parent = nullptr);

    /// Shows a sentence that the user closes.
    void tell(const QString &text, Tone tone);
    /// Shows a question with one button, which runs `confirmed`; closing the bar means no. The button gets the focus,
    /// unless there is a better choice, which stands out then.
    void ask(const QString &text, const QString &buttonText, Tone tone, std::function<void()> confirmed,
             MessageChoice better = {});
    /// One more button beside those of the sentence that is shown; goes with it.
    void addChoice(MessageChoice choice);
    /// Like `ask` for what need not be answered: the focus stays where it is.
    void offer(const QString &text, const QString &buttonText, Tone tone, std::function<void()> pressed);
    /// Shows, beside the sentence of `offer`, how far it is; a negative number when that is unknown. Goes with the next
    /// sentence.
    void showProgress(int permille);
    /// Hides the bar without an answer. The keyboard goes back to where it was before the question.
    void dismiss();

signals:
    /// The user closed the bar.
    void dismissed();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void answer(const std::function<void()> &run);
    void show(const QString &text, Tone tone);

    QLabel *m_text;
    QProgressBar *m_progress;
    QPushButton *m_better;
    QPushButton *m_confirm;
    QList<QPushButton *> m_choices;
    std::function<void()> m_confirmed;
    std::function<void()> m_chosen;
    /// Who had the keyboard before a question took it.
    QPointer<QWidget> m_before;
};

} // namespace moorix
