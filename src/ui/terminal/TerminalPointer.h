// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/terminal/TerminalGeometry.h"
#include "ui/terminal/TerminalLinkFinder.h"
#include "ui/terminal/TerminalSelection.h"

#include <QElapsedTimer>
#include <QTimer>

class QMouseEvent;
class QWheelEvent;

namespace moorix {

/// The mouse over a terminal: selects, follows links and scrolls, unless the program wants the mouse; holding Shift
/// takes it back. Positions are those of the view.
class TerminalPointer final : public QObject
{
    Q_OBJECT

public:
    /// `geometry` is that of the view, as it is at each event.
    TerminalPointer(TerminalEmulator &emulator, TerminalSelection &selection, const TerminalGeometry &geometry,
                    QObject *parent = nullptr);

    void press(const QMouseEvent &event);
    void doubleClick(const QMouseEvent &event);
    void move(const QMouseEvent &event);
    void release(const QMouseEvent &event);
    void wheel(const QWheelEvent &event);
    /// A modifier was pressed or released while the mouse stood still, or what is below it has changed.
    void updateLink(Qt::KeyboardModifiers modifiers);
    void leave();

    bool isForProgram(Qt::KeyboardModifiers modifiers) const;
    std::optional<TerminalLink> linkAt(QPointF position) const;

signals:
    void selectionChanged();
    /// The selection is what the user wanted.
    void selectionMade();
    void linkHovered(const std::optional<moorix::TerminalLink> &link);
    void linkClicked(const moorix::TerminalLink &link);
    void pasteRequested();
    /// By lines; down is positive.
    void scrollRequested(int lines);
    /// In a program without scrollback the wheel stands for the arrow keys.
    void arrowsRequested(bool up, int count);
    void fontSizeStepped(int step);

private:
    TerminalSelection::Position positionAt(QPointF position) const;
    void beginSelection(const QMouseEvent &event);
    void dragTo(QPointF position);
    void dragBeyondEdge();
    void tellProgram(const QMouseEvent &event, bool isPressed);
    void wheelToProgram(bool up, int notches, Qt::KeyboardModifiers modifiers, QPointF position);
    void setLink(const std::optional<TerminalLink> &link);

    TerminalEmulator &m_emulator;
    TerminalSelection &m_selection;
    const TerminalGeometry &m_geometry;
    QPointF m_position;
    bool m_isDragging = false;
    /// The button was pressed on a link, and the mouse has not been moved since.
    std::optional<TerminalLink> m_pressedLink;
    std::optional<TerminalLink> m_link;
    /// Buttons that the program has been told of.
    Qt::MouseButtons m_told;
    TerminalPoint m_toldCell{-1, -1};
    QElapsedTimer m_sinceDoubleClick;
    QPointF m_doubleClickAt;
    QTimer m_edge;
    int m_wheelAngle = 0;
};

} // namespace moorix
