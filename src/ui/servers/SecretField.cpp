// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/SecretField.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QToolButton>

namespace moorix {

SecretField::SecretField(Form form, QWidget *parent)
    : QWidget(parent)
    , m_forget(Widgets::iconButton(QStringLiteral("edit-delete"), tr("Remove the stored one"),
                                   QStringLiteral("forgetSecret"), this))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    if (form == Form::line) {
        m_line = new QLineEdit(this);
        m_line->setEchoMode(QLineEdit::Password);
        m_reveal = Widgets::iconButton(QStringLiteral("view-visible"), tr("Show what is typed"),
                                       QStringLiteral("revealSecret"), this);
        m_reveal->setCheckable(true);
        row->addWidget(m_line, 1);
        row->addWidget(m_reveal);
        setFocusProxy(m_line);
        connect(m_line, &QLineEdit::textEdited, this, &SecretField::edited);
        connect(m_reveal, &QToolButton::toggled, this,
                [this](bool shown) { m_line->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password); });
    } else {
        m_block = new QPlainTextEdit(this);
        m_block->setFont(Theme::monospace());
        m_block->setTabChangesFocus(true);
        m_block->setFixedHeight(110);
        row->addWidget(m_block, 1);
        setFocusProxy(m_block);
        connect(m_block, &QPlainTextEdit::textChanged, this, &SecretField::edited);
    }
    row->addWidget(m_forget);
    connect(m_forget, &QToolButton::clicked, this, [this] {
        m_isForgotten = true;
        updateAppearance();
        emit edited();
    });
    updateAppearance();
}

void SecretField::setStored(bool isStored)
{
    m_isStored = isStored;
    updateAppearance();
}

void SecretField::setPlaceholder(const QString &text)
{
    m_placeholder = text;
    updateAppearance();
}

QString SecretField::typed() const
{
    return m_line ? m_line->text() : m_block->toPlainText();
}

std::optional<QString> SecretField::secret() const
{
    if (!typed().isEmpty())
        return typed();
    return m_isForgotten ? std::optional(QString()) : std::nullopt;
}

void SecretField::updateAppearance()
{
    m_forget->setVisible(m_isStored && !m_isForgotten);
    QString text = m_placeholder;
    if (m_isStored)
        text = m_isForgotten ? tr("Removed when you save") : tr("•••• stored");
    if (m_line)
        m_line->setPlaceholderText(text);
    else
        m_block->setPlaceholderText(text);
}

} // namespace moorix
