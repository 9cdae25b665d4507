// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/PassphrasePrompt.h"

#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;

PassphrasePrompt::PassphrasePrompt(QWidget *parent)
    : QFrame(parent)
    , m_reason(Widgets::label({}, Widgets::TextRole::body, this))
    , m_field(new QLineEdit(this))
{
    setObjectName(u"passphrasePrompt"_s);
    setProperty("role", u"card"_s);
    setMaximumWidth(620);
    m_reason->setObjectName(u"passphraseReason"_s);
    m_field->setObjectName(u"archivePassphrase"_s);
    m_field->setAccessibleName(tr("Passphrase of the archive"));
    m_field->setPlaceholderText(tr("Passphrase"));
    m_field->setEchoMode(QLineEdit::Password);
    QPushButton *open = Widgets::primaryButton(tr("Open"), u"archiveUnlock"_s, this);
    setFocusProxy(m_field);
    auto *row = new QHBoxLayout;
    row->addWidget(m_field, 1);
    row->addWidget(open);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(16, 12, 16, 12);
    column->setSpacing(8);
    column->addWidget(m_reason);
    column->addLayout(row);
    hide();
    connect(m_field, &QLineEdit::returnPressed, this, &PassphrasePrompt::give);
    connect(open, &QPushButton::clicked, this, &PassphrasePrompt::give);
}

void PassphrasePrompt::ask(const QString &reason)
{
    m_reason->setText(reason);
    show();
    m_field->setFocus();
}

void PassphrasePrompt::give()
{
    const QString typed = m_field->text();
    if (typed.isEmpty())
        return;
    m_field->clear();
    hide();
    emit given(typed);
}

} // namespace moorix
