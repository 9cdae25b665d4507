// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/NameBar.h"

#include "ui/Widgets.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace moorix {

NameBar::NameBar(QWidget *parent)
    : QFrame(parent)
    , m_label(Widgets::label({}, Widgets::TextRole::body, this))
    , m_edit(new QLineEdit(this))
    , m_problem(Widgets::label({}, Widgets::TextRole::error, this))
    , m_create(Widgets::primaryButton(tr("Create"), u"nameCreate"_s, this))
{
    setProperty("role", u"bar"_s);
    m_label->setWordWrap(false);
    m_edit->setObjectName(u"nameEdit"_s);
    m_problem->setObjectName(u"nameProblem"_s);
    auto *cancel = Widgets::button(tr("Cancel"), u"nameCancel"_s, this);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(10, 6, 8, 6);
    grid->setHorizontalSpacing(8);
    grid->addWidget(m_label, 0, 0);
    grid->addWidget(m_edit, 0, 1);
    grid->addWidget(m_create, 0, 2);
    grid->addWidget(cancel, 0, 3);
    grid->addWidget(m_problem, 1, 1, 1, 3);
    hide();

    connect(m_edit, &QLineEdit::textChanged, this, &NameBar::check);
    connect(m_create, &QPushButton::clicked, this, &NameBar::accept);
    connect(cancel, &QPushButton::clicked, this, &NameBar::close);
}

void NameBar::ask(Question question)
{
    m_question = std::move(question);
    m_label->setText(m_question.label);
    m_edit->setAccessibleName(m_question.label);
    m_edit->setText(m_question.suggestion);
    check();
    show();
    m_edit->setFocus(Qt::ShortcutFocusReason);
    m_edit->selectAll();
}

void NameBar::check()
{
    const auto problem = m_question.problem ? m_question.problem(m_edit->text()) : std::nullopt;
    m_create->setEnabled(!problem);
    // Nobody needs to be told that an empty line is not a name yet.
    m_problem->setText(m_edit->text().isEmpty() ? QString() : problem.value_or(QString()));
    m_problem->setVisible(!m_problem->text().isEmpty());
}

void NameBar::accept()
{
    if (!m_create->isEnabled())
        return;
    const auto accepted = m_question.accepted;
    const QString name = m_edit->text();
    close();
    accepted(name);
}

void NameBar::close()
{
    hide();
    emit left();
}

void NameBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        accept();
    else
        QFrame::keyPressEvent(event);
}

} // namespace moorix
