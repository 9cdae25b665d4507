// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalNote.h"

#include <QGraphicsOpacityEffect>

namespace moorix {

namespace {

constexpr int shownMilliseconds = 3500;
constexpr int fadeMilliseconds = 300;
constexpr int distance = 8;

} // namespace

TerminalNote::TerminalNote(Qt::Alignment corner, QWidget *parent)
    : QLabel(parent)
    , m_corner(corner)
    , m_opacity(new QGraphicsOpacityEffect(this))
{
    setProperty("role", QStringLiteral("floating"));
    setTextFormat(Qt::PlainText);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGraphicsEffect(m_opacity);
    m_shown.setSingleShot(true);
    m_shown.setInterval(shownMilliseconds);
    m_fade.setDuration(fadeMilliseconds);
    m_fade.setStartValue(1.0);
    m_fade.setEndValue(0.0);
    hide();
    connect(&m_shown, &QTimer::timeout, &m_fade, [this] { m_fade.start(); });
    connect(&m_fade, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &value) { m_opacity->setOpacity(value.toDouble()); });
    connect(&m_fade, &QVariantAnimation::finished, this, &QWidget::hide);
}

void TerminalNote::tell(const QString &text)
{
    hold(text);
    m_shown.start();
}

void TerminalNote::hold(const QString &text)
{
    m_shown.stop();
    m_fade.stop();
    m_opacity->setOpacity(1);
    m_fullText = text;
    place();
    show();
    raise();
}

void TerminalNote::setRoom(const QRect &room)
{
    m_room = room;
    if (isVisible())
        place();
}

void TerminalNote::place()
{
    const QRect room = m_room.marginsRemoved({distance, distance, distance, distance});
    setText(m_fullText);
    const int frame = sizeHint().width() - fontMetrics().horizontalAdvance(m_fullText);
    setText(fontMetrics().elidedText(m_fullText, Qt::ElideMiddle, std::max(room.width() - frame, 40)));
    const QSize size = sizeHint();
    const int x = m_corner & Qt::AlignRight  ? room.right() + 1 - size.width()
                  : m_corner & Qt::AlignLeft ? room.left()
                                             : room.center().x() - size.width() / 2;
    const int y = m_corner & Qt::AlignTop      ? room.top()
                  : m_corner & Qt::AlignBottom ? room.bottom() + 1 - size.height()
                                               : room.center().y() - size.height() / 2;
    setGeometry({{x, y}, size});
}

} // namespace moorix
