// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

#include <functional>
#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace moorix {

/// Asks for the name of a new entry in a line above the list. What is wrong with a name is said while it is typed. Main
/// thread.
class NameBar final : public QFrame
{
    Q_OBJECT

public:
    struct Question
    {
        QString label;
        QString suggestion;
        /// Why a name cannot be taken, or nothing.
        std::function<std::optional<QString>(const QString &name)> problem;
        std::function<void(const QString &name)> accepted;
    };

    explicit NameBar(QWidget *parent = nullptr);

    void ask(Question question);

signals:
    /// The list should get the keyboard.
    void left();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void check();
    void accept();
    void close();

    QLabel *m_label;
    QLineEdit *m_edit;
    QLabel *m_problem;
    QPushButton *m_create;
    Question m_question;
};

} // namespace moorix
