// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ElidedLabel.h"

#include "ui/Widgets.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace moorix {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget *parent)
    : QLabel(parent)
    , m_mode(mode)
{
    setTextFormat(Qt::PlainText);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

bool ElidedLabel::isElided() const
{
    return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}

bool ElidedLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), isElided() ? Widgets::toolTip(text()) : QString(),
                       this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent *event)
{
    if (!isElided() || hasSelectedText()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), int(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), m_mode, contentsRect().width()), foregroundRole());
}

} // namespace moorix
