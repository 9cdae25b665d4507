// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;

namespace moorix {

/// A sentence in the middle of a list that has no rows, with one button when something can be done. Main thread.
class PaneNotice final : public QWidget
{
    Q_OBJECT

public:
    /// Covers `list`'s rows and follows its size; hidden at first.
    explicit PaneNotice(QWidget &list);

    /// An empty `buttonText` shows no button.
    void tell(const QString &text, const QString &buttonText, std::function<void()> pressed);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QLabel *m_text;
    QPushButton *m_button;
    std::function<void()> m_pressed;
};

} // namespace moorix
