// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MessageBar.h"

#include "ui/Widgets.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>

#include <array>
#include <utility>

namespace moorix {

MessageBar::MessageBar(QWidget *parent)
    : QFrame(parent)
    , m_text(Widgets::label({}, Widgets::TextRole::body, this))
    , m_progress(new QProgressBar(this))
    , m_better(Widgets::primaryButton({}, QStringLiteral("messageBarBetter"), this))
    , m_confirm(Widgets::button({}, QStringLiteral("messageBarConfirm"), this))
{
    setObjectName(QStringLiteral("messageBar"));
    m_text->setObjectName(QStringLiteral("messageBarText"));
    // What has no place to break is cut off; it must not push the buttons out of the window.
    m_text->setMinimumWidth(1);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_progress->setObjectName(QStringLiteral("messageBarProgress"));
    m_progress->setFixedWidth(140);
    m_progress->setTextVisible(false);
    m_progress->hide();
    QToolButton *close =
        Widgets::iconButton(QStringLiteral("window-close"), tr("Close"), QStringLiteral("messageBarClose"), this);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 7, 8, 7);
    row->addWidget(m_text, 1);
    row->addWidget(m_progress);
    row->addWidget(m_better);
    row->addWidget(m_confirm);
    row->addWidget(close);
    hide();

    connect(m_confirm, &QPushButton::clicked, this, [this] { answer(m_confirmed); });
    connect(m_better, &QPushButton::clicked, this, [this] { answer(m_chosen); });
    connect(close, &QToolButton::clicked, this, [this] {
        dismiss();
        emit dismissed();
    });
}

/// A copy of the function: it may ask the next question.
void MessageBar::answer(const std::function<void()> &run)
{
    const std::function<void()> chosen = run;
    dismiss();
    if (chosen)
        chosen();
}

void MessageBar::tell(const QString &text, Tone tone)
{
    m_confirmed = {};
    m_confirm->hide();
    m_better->hide();
    show(text, tone);
}

void MessageBar::ask(const QString &text, const QString &buttonText, Tone tone, std::function<void()> confirmed,
                     MessageChoice better)
{
    if (!isAncestorOf(QApplication::focusWidget()))
        m_before = QApplication::focusWidget();
    offer(text, buttonText, tone, std::move(confirmed));
    m_confirm->setFocusPolicy(Qt::StrongFocus);
    m_chosen = std::move(better.run);
    m_better->setText(better.text);
    m_better->setVisible(!better.text.isEmpty());
    QPushButton *first = better.text.isEmpty() ? m_confirm : m_better;
    // Screen readers say what has the keyboard, not what it is about.
    first->setAccessibleDescription(text);
    first->setFocus();
}

void MessageBar::addChoice(MessageChoice choice)
{
    QPushButton *button = Widgets::button(choice.text, QStringLiteral("messageBarChoice"), this);
    button->setFocusPolicy(Qt::TabFocus);
    auto *row = static_cast<QHBoxLayout *>(layout());
    row->insertWidget(row->indexOf(m_confirm), button);
    connect(button, &QPushButton::clicked, this, [this, run = std::move(choice.run)] { answer(run); });
    button->show();
    m_choices.append(button);
}

void MessageBar::offer(const QString &text, const QString &buttonText, Tone tone, std::function<void()> pressed)
{
    m_confirmed = std::move(pressed);
    m_confirm->setText(buttonText);
    // A click leaves the keyboard where it is.
    m_confirm->setFocusPolicy(Qt::TabFocus);
    m_confirm->show();
    m_better->hide();
    show(text, tone);
}

void MessageBar::showProgress(int permille)
{
    m_progress->setRange(0, permille < 0 ? 0 : 1000);
    m_progress->setValue(permille);
    m_progress->show();
}

void MessageBar::dismiss()
{
    m_confirmed = {};
    m_chosen = {};
    // Left to itself it would go to whatever comes next.
    if (m_before && isAncestorOf(QApplication::focusWidget()))
        m_before->setFocus();
    hide();
}

void MessageBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        dismiss();
        emit dismissed();
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        for (QPushButton *button : QList{m_better, m_confirm} + m_choices) {
            if (button->hasFocus())
                return button->click();
        }
    }
    QFrame::keyPressEvent(event);
}

void MessageBar::show(const QString &text, Tone tone)
{
    static const std::array names{QStringLiteral("information"), QStringLiteral("warning"), QStringLiteral("danger")};
    m_text->setText(text);
    m_progress->hide();
    for (QPushButton *button : std::exchange(m_choices, {})) {
        // Later: it may be the one that was pressed.
        button->hide();
        button->deleteLater();
    }
    Widgets::setStyleProperty(*this, "tone", names.at(std::size_t(tone)));
    QFrame::show();
}

} // namespace moorix
