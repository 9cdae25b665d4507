// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>
#include <QTimer>
#include <QVariantAnimation>

#include <chrono>

class QGraphicsOpacityEffect;

namespace moorix {

/// A sentence that floats over a view and takes no part in its layout. Keeps to a corner of its parent.
class TerminalNote final : public QLabel
{
    Q_OBJECT

public:
    /// `corner`: the edges of the parent that the note keeps to.
    TerminalNote(Qt::Alignment corner, QWidget *parent);
    /// How long `tell` shows it before it fades; 3.5 seconds unless set.
    void setShownFor(std::chrono::milliseconds time) { m_shown.setInterval(time); }

    /// For a few seconds, then it fades.
    void tell(const QString &text);
    /// Until `hide`.
    void hold(const QString &text);
    /// The part of the parent it keeps to.
    void setRoom(const QRect &room);

private:
    void place();

    Qt::Alignment m_corner;
    QRect m_room;
    QString m_fullText;
    QTimer m_shown;
    QVariantAnimation m_fade;
    QGraphicsOpacityEffect *m_opacity;
};

} // namespace moorix
