// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalPointer.h"

#include "ui/terminal/TerminalKeyboard.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace moorix {

namespace {

constexpr int notch = 120;
constexpr int edgeMilliseconds = 40;

int buttonNumber(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return 1;
    case Qt::MiddleButton:
        return 2;
    case Qt::RightButton:
        return 3;
    default:
        return 0;
    }
}

} // namespace

TerminalPointer::TerminalPointer(TerminalEmulator &emulator, TerminalSelection &selection,
                                 const TerminalGeometry &geometry, QObject *parent)
    : QObject(parent)
    , m_emulator(emulator)
    , m_selection(selection)
    , m_geometry(geometry)
{
    m_edge.setInterval(edgeMilliseconds);
    connect(&m_edge, &QTimer::timeout, this, &TerminalPointer::dragBeyondEdge);
}

bool TerminalPointer::isForProgram(Qt::KeyboardModifiers modifiers) const
{
    return m_emulator.mouse() != TerminalMouse::none && !modifiers.testFlag(Qt::ShiftModifier);
}

TerminalSelection::Position TerminalPointer::positionAt(QPointF position) const
{
    return {m_geometry.cellAt(position), m_geometry.boundaryAt(position)};
}

std::optional<TerminalLink> TerminalPointer::linkAt(QPointF position) const
{
    const QRectF text(m_geometry.origin,
                      QSizeF(m_geometry.columns * m_geometry.cell.width(), m_geometry.rows * m_geometry.cell.height()));
    return text.contains(position) ? TerminalLinkFinder::at(m_emulator, m_geometry.cellAt(position)) : std::nullopt;
}

void TerminalPointer::tellProgram(const QMouseEvent &event, bool isPressed)
{
    const int button = buttonNumber(event.button());
    const TerminalPoint cell = m_geometry.cellAt(event.position());
    // What has scrolled away is no longer the program's. A release ends what it was told of, wherever that is.
    if (button == 0 || (isPressed && cell.line < m_emulator.screenLine()))
        return;
    const int row = int(std::max<qint64>(cell.line - m_emulator.screenLine(), 0));
    m_told.setFlag(event.button(), isPressed);
    m_toldCell = cell;
    m_emulator.sendMouseButton(button, isPressed, row, cell.column, TerminalKeyboard::modifiersOf(event.modifiers()));
}

void TerminalPointer::press(const QMouseEvent &event)
{
    m_position = event.position();
    if (isForProgram(event.modifiers()))
        return tellProgram(event, true);
    if (event.button() == Qt::MiddleButton)
        emit pasteRequested();
    if (event.button() != Qt::LeftButton)
        return;
    m_pressedLink = event.modifiers() == Qt::ControlModifier ? linkAt(event.position()) : std::nullopt;
    if (!m_pressedLink)
        beginSelection(event);
}

void TerminalPointer::beginSelection(const QMouseEvent &event)
{
    using enum TerminalSelection::Unit;
    const bool isThird = m_sinceDoubleClick.isValid() &&
                         m_sinceDoubleClick.elapsed() < QApplication::doubleClickInterval() &&
                         (event.position() - m_doubleClickAt).manhattanLength() < QApplication::startDragDistance();
    m_isDragging = true;
    if (isThird)
        m_selection.begin(positionAt(event.position()), line);
    else if (event.modifiers().testFlag(Qt::ShiftModifier) && !m_selection.isEmpty())
        m_selection.extend(positionAt(event.position()));
    else
        m_selection.begin(positionAt(event.position()),
                          event.modifiers().testFlag(Qt::AltModifier) ? block : character);
    m_sinceDoubleClick.invalidate();
    emit selectionChanged();
}

void TerminalPointer::doubleClick(const QMouseEvent &event)
{
    if (isForProgram(event.modifiers()))
        return tellProgram(event, true);
    if (event.button() != Qt::LeftButton)
        return press(event);
    m_isDragging = true;
    m_selection.begin(positionAt(event.position()), TerminalSelection::Unit::word);
    m_sinceDoubleClick.start();
    m_doubleClickAt = event.position();
    emit selectionChanged();
}

void TerminalPointer::move(const QMouseEvent &event)
{
    m_position = event.position();
    if (m_isDragging)
        return dragTo(event.position());
    if (m_pressedLink && m_geometry.cellAt(event.position()) < m_pressedLink->range.end &&
        m_geometry.cellAt(event.position()) >= m_pressedLink->range.start)
        return;
    m_pressedLink.reset();
    updateLink(event.modifiers());
    const TerminalPoint cell = m_geometry.cellAt(event.position());
    if ((m_told || isForProgram(event.modifiers())) && cell != m_toldCell && cell.line >= m_emulator.screenLine()) {
        m_toldCell = cell;
        m_emulator.sendMouseMove(int(cell.line - m_emulator.screenLine()), cell.column,
                                 TerminalKeyboard::modifiersOf(event.modifiers()));
    }
}

void TerminalPointer::dragTo(QPointF position)
{
    m_selection.extend(positionAt(position));
    emit selectionChanged();
    const double bottom = m_geometry.origin.y() + m_geometry.rows * m_geometry.cell.height();
    const bool isBeyond = position.y() < 0 || position.y() > bottom + m_geometry.origin.y();
    if (isBeyond && !m_edge.isActive())
        m_edge.start();
    else if (!isBeyond)
        m_edge.stop();
}

/// The farther away the mouse is, the faster.
void TerminalPointer::dragBeyondEdge()
{
    const double bottom = m_geometry.origin.y() + m_geometry.rows * m_geometry.cell.height();
    const double beyond = m_position.y() < 0 ? m_position.y() : m_position.y() - bottom;
    const int lines = std::clamp(int(beyond / m_geometry.cell.height()), -20, 20);
    emit scrollRequested(lines == 0 ? (beyond < 0 ? -1 : 1) : lines);
    dragTo(m_position);
}

void TerminalPointer::release(const QMouseEvent &event)
{
    if (m_told.testFlag(event.button()))
        return tellProgram(event, false);
    if (event.button() != Qt::LeftButton)
        return;
    m_edge.stop();
    if (const std::optional<TerminalLink> link = std::exchange(m_pressedLink, std::nullopt))
        emit linkClicked(*link);
    if (std::exchange(m_isDragging, false) && !m_selection.isEmpty())
        emit selectionMade();
}

void TerminalPointer::wheel(const QWheelEvent &event)
{
    if (event.phase() == Qt::ScrollBegin)
        m_wheelAngle = 0;
    // With Alt, some systems turn the wheel to the side.
    m_wheelAngle += event.angleDelta().y() != 0 ? event.angleDelta().y() : event.angleDelta().x();
    if (event.modifiers().testFlag(Qt::ControlModifier)) {
        const int steps = std::exchange(m_wheelAngle, m_wheelAngle % notch) / notch;
        if (steps != 0)
            emit fontSizeStepped(steps > 0 ? 1 : -1);
        return;
    }
    if (isForProgram(event.modifiers())) {
        const int steps = std::exchange(m_wheelAngle, m_wheelAngle % notch) / notch;
        wheelToProgram(steps > 0, std::abs(steps), event.modifiers(), event.position());
        return;
    }
    const int perLine = std::max(1, notch / std::max(1, QApplication::wheelScrollLines()));
    const int lines = std::exchange(m_wheelAngle, m_wheelAngle % perLine) / perLine;
    if (lines == 0)
        return;
    if (m_emulator.showsAlternateScreen())
        emit arrowsRequested(lines > 0, std::abs(lines));
    else
        emit scrollRequested(-lines);
}

void TerminalPointer::wheelToProgram(bool up, int notches, Qt::KeyboardModifiers modifiers, QPointF position)
{
    const TerminalPoint cell = m_geometry.cellAt(position);
    const int row = int(std::max<qint64>(cell.line - m_emulator.screenLine(), 0));
    for (int i = 0; i < notches; ++i)
        m_emulator.sendMouseButton(up ? 4 : 5, true, row, cell.column, TerminalKeyboard::modifiersOf(modifiers));
}

void TerminalPointer::updateLink(Qt::KeyboardModifiers modifiers)
{
    const bool looks = modifiers.testFlag(Qt::ControlModifier) && !isForProgram(modifiers) && !m_isDragging;
    setLink(looks ? linkAt(m_position) : std::nullopt);
}

void TerminalPointer::leave()
{
    m_position = {-1, -1};
    setLink(std::nullopt);
}

void TerminalPointer::setLink(const std::optional<TerminalLink> &link)
{
    const bool isSame = link.has_value() == m_link.has_value() &&
                        (!link || (link->address == m_link->address && link->range == m_link->range));
    m_link = link;
    if (!isSame)
        emit linkHovered(link);
}

} // namespace moorix
