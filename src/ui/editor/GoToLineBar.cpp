// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/GoToLineBar.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QRegularExpression>
#include <QRegularExpressionValidator>

using namespace Qt::StringLiterals;

namespace moorix {

GoToLineBar::GoToLineBar(QWidget *parent)
    : QFrame(parent)
    , m_edit(new QLineEdit(this))
    , m_hint(Widgets::label({}, Widgets::TextRole::muted, this))
{
    setObjectName(u"goToLineBar"_s);
    setProperty("role", u"lowerBar"_s);
    setFocusProxy(m_edit);
    m_edit->setObjectName(u"goToLine"_s);
    m_edit->setAccessibleName(tr("Line, or line:column"));
    m_edit->setFixedWidth(180);
    m_edit->addAction(Theme::icon(u"go-jump"_s, Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_edit->setValidator(new QRegularExpressionValidator(QRegularExpression(u"\\d{1,9}(:\\d{0,9})?"_s), m_edit));
    m_hint->setWordWrap(false);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(10, 7, 8, 7);
    row->setSpacing(10);
    row->addWidget(m_edit);
    row->addWidget(m_hint, 1);
    hide();
}

void GoToLineBar::open(int line, int lineCount)
{
    m_hint->setText(tr("Line or line:column, of %1 lines").arg(QLocale().toString(lineCount)));
    m_edit->setText(QString::number(line));
    show();
    m_edit->setFocus(Qt::ShortcutFocusReason);
    m_edit->selectAll();
}

void GoToLineBar::keyPressEvent(QKeyEvent *event)
{
    const bool isAccepted = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isAccepted && event->key() != Qt::Key_Escape)
        return QFrame::keyPressEvent(event);
    const QString text = m_edit->text();
    hide();
    emit closed();
    if (isAccepted && !text.isEmpty())
        emit chosen(text.section(u':', 0, 0).toInt(), std::max(1, text.section(u':', 1, 1).toInt()));
}

} // namespace moorix
