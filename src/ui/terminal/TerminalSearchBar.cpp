// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalSearchBar.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace moorix {

TerminalSearchBar::TerminalSearchBar(QWidget *parent)
    : QFrame(parent)
    , m_edit(new QLineEdit(this))
    , m_count(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_case(new QToolButton(this))
{
    setObjectName(u"terminalSearchBar"_s);
    setProperty("role", u"lowerBar"_s);
    // A click beside the line must not leave it for the terminal.
    setFocusPolicy(Qt::ClickFocus);
    setFocusProxy(m_edit);
    m_edit->setObjectName(u"terminalSearchEdit"_s);
    m_edit->setPlaceholderText(tr("Find in the terminal…"));
    m_edit->setAccessibleName(tr("Find in the terminal"));
    m_edit->addAction(Theme::icon(u"edit-find"_s, Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_edit->setMaximumWidth(420);
    m_edit->installEventFilter(this);
    m_count->setObjectName(u"terminalSearchCount"_s);
    m_count->setWordWrap(false);
    m_case->setObjectName(u"terminalSearchCase"_s);
    m_case->setText(u"Aa"_s);
    m_case->setCheckable(true);
    m_case->setToolTip(tr("Match upper and lower case"));
    m_case->setAccessibleName(m_case->toolTip());
    auto *previous = Widgets::iconButton(u"go-up"_s, tr("Previous (Enter)"), u"terminalSearchPrevious"_s, this);
    auto *next = Widgets::iconButton(u"go-down"_s, tr("Next (Shift+Enter)"), u"terminalSearchNext"_s, this);
    auto *closeButton = Widgets::iconButton(u"window-close"_s, tr("Close (Escape)"), u"terminalSearchClose"_s, this);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(6);
    row->addWidget(m_edit, 2);
    row->addWidget(m_case);
    row->addWidget(previous);
    row->addWidget(next);
    row->addWidget(m_count);
    row->addStretch(1);
    row->addWidget(closeButton);
    hide();

    connect(m_edit, &QLineEdit::textChanged, this, &TerminalSearchBar::needleChanged);
    connect(m_case, &QToolButton::toggled, this, &TerminalSearchBar::needleChanged);
    connect(previous, &QToolButton::clicked, this, [this] { emit stepRequested(true); });
    connect(next, &QToolButton::clicked, this, [this] { emit stepRequested(false); });
    connect(closeButton, &QToolButton::clicked, this, &TerminalSearchBar::close);
}

void TerminalSearchBar::open(const QString &text)
{
    if (!text.isEmpty())
        m_edit->setText(text);
    show();
    m_edit->setFocus(Qt::ShortcutFocusReason);
    m_edit->selectAll();
    if (!m_edit->text().isEmpty())
        emit needleChanged();
}

void TerminalSearchBar::close()
{
    hide();
    emit closed();
}

QString TerminalSearchBar::needle() const
{
    return m_edit->text();
}

Qt::CaseSensitivity TerminalSearchBar::sensitivity() const
{
    return m_case->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive;
}

void TerminalSearchBar::setCount(const QString &text, bool hasFailed)
{
    m_count->setText(text);
    Widgets::setStyleProperty(*m_count, "role", hasFailed ? u"error"_s : u"muted"_s);
}

bool TerminalSearchBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    const auto &key = *static_cast<QKeyEvent *>(event);
    if (key.key() != Qt::Key_Return && key.key() != Qt::Key_Enter)
        return QFrame::eventFilter(watched, event);
    emit stepRequested(!key.modifiers().testFlag(Qt::ShiftModifier));
    return true;
}

void TerminalSearchBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QFrame::keyPressEvent(event);
}

} // namespace moorix
