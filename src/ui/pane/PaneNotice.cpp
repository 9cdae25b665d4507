// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneNotice.h"

#include "ui/Widgets.h"

#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace moorix {

PaneNotice::PaneNotice(QWidget &list)
    : QWidget(&list)
    , m_text(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_button(Widgets::button({}, u"noticeButton"_s, this))
{
    setObjectName(u"paneNotice"_s);
    m_text->setObjectName(u"noticeText"_s);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(32, 24, 32, 24);
    column->setSpacing(12);
    column->addStretch(2);
    column->addWidget(m_text);
    column->addWidget(m_button, 0, Qt::AlignHCenter);
    column->addStretch(3);
    list.installEventFilter(this);
    setGeometry(list.rect());
    hide();
    connect(m_button, &QPushButton::clicked, this, [this] {
        if (m_pressed)
            m_pressed();
    });
}

void PaneNotice::tell(const QString &text, const QString &buttonText, std::function<void()> pressed)
{
    m_text->setText(text);
    m_button->setText(buttonText);
    m_button->setVisible(!buttonText.isEmpty());
    m_pressed = std::move(pressed);
    show();
}

bool PaneNotice::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(static_cast<QWidget *>(watched)->rect());
    return QWidget::eventFilter(watched, event);
}

} // namespace moorix
