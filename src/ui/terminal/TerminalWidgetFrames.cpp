// SPDX-License-Identifier: GPL-3.0-or-later
// What of a terminal is shown at a moment, and when that is painted.
#include "ui/terminal/TerminalFinder.h"
#include "ui/terminal/TerminalFont.h"
#include "ui/terminal/TerminalPainter.h"
#include "ui/terminal/TerminalPointer.h"
#include "ui/terminal/TerminalWidget.h"

#include <QApplication>
#include <QOpenGLContext>
#include <QOpenGLWidget>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleHints>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

constexpr qint64 frameMilliseconds = 16;
constexpr qint64 longestRestMilliseconds = 50;
/// Where whole screens go by between frames, nobody reads them.
constexpr qint64 floodMilliseconds = 33;
constexpr int heldMilliseconds = 5;
constexpr int textBlinkMilliseconds = 600;
constexpr int bellMilliseconds = 500;

} // namespace

qint64 TerminalWidget::followTop() const
{
    // Where a bar hides lines, those stay in sight that the cursor is in.
    return std::clamp(m_emulator.cursor().position.line - m_scene.geometry.rows + 1, m_emulator.screenLine(),
                      m_emulator.endLine() - m_scene.geometry.rows);
}

void TerminalWidget::scrollTo(qint64 top)
{
    top = std::clamp(top, m_emulator.firstLine(), m_emulator.endLine() - m_scene.geometry.rows);
    m_keptTop = top == followTop() ? std::nullopt : std::optional(top);
    m_frameTimer.stop();
    takeFrame();
}

void TerminalWidget::reveal(qint64 line)
{
    if (!m_scene.geometry.shows(line))
        scrollTo(line - m_scene.geometry.rows / 2);
}

void TerminalWidget::updateScrollBar()
{
    m_isScrollBarMoving = true;
    const qint64 first = m_emulator.firstLine();
    QScrollBar &bar = *verticalScrollBar();
    bar.setPageStep(m_scene.geometry.rows);
    bar.setRange(0, int(m_emulator.endLine() - m_scene.geometry.rows - first));
    bar.setValue(int(m_scene.geometry.top - first));
    bar.setEnabled(bar.maximum() > 0);
    m_isScrollBarMoving = false;
}

void TerminalWidget::scrollContentsBy(int /*dx*/, int /*dy*/)
{
    if (!m_isScrollBarMoving)
        scrollTo(m_emulator.firstLine() + verticalScrollBar()->value());
}

void TerminalWidget::scheduleFrame()
{
    if (m_frameTimer.isActive() || !isVisible())
        return;
    // What takes long to paint is painted less often, so that a flood is read rather than shown.
    const qint64 shortest = m_isFlooded ? floodMilliseconds : frameMilliseconds;
    const qint64 rest = std::clamp(m_frameCost * 12, shortest, longestRestMilliseconds);
    const qint64 since = m_sinceFrame.isValid() ? m_sinceFrame.elapsed() : rest;
    m_frameTimer.start(int(std::max<qint64>(0, rest - since)));
}

void TerminalWidget::takeFrame()
{
    if (m_emulator.holdsPainting()) {
        m_frameTimer.start(heldMilliseconds);
        return;
    }
    if (m_font->ratio() != devicePixelRatioF())
        measureFont();
    if (m_wasAlternate != m_emulator.showsAlternateScreen()) {
        m_wasAlternate = !m_wasAlternate;
        m_keptTop.reset();
        m_selection.clear();
    }
    m_selection.clearIfChanged();
    const QRegion oldCursor = cursorRegion();
    const TerminalGeometry old = m_scene.geometry;
    const bool wasReversed = std::exchange(m_scene.isReversed, m_emulator.isReversed());
    TerminalGeometry &geometry = m_scene.geometry;
    geometry.columns = m_emulator.size().columns;
    geometry.rows =
        std::clamp(int((viewport()->height() - 2 * padding) / geometry.cell.height()), 1, m_emulator.size().rows);
    if (m_keptTop)
        m_keptTop = std::clamp(*m_keptTop, m_emulator.firstLine(), m_emulator.endLine() - geometry.rows);
    geometry.top = m_keptTop.value_or(followTop());
    m_isFlooded = geometry.top - old.top > geometry.rows;
    QRegion region = regionOf(m_scene.frame.take(m_emulator, geometry.top, geometry.rows));
    geometry.wideRows = m_scene.frame.wideRows();
    m_scene.cursor = m_emulator.cursor();
    if (old != geometry || wasReversed != m_scene.isReversed)
        region = viewport()->rect();
    // A key that changes nothing by itself must not hold up its echo.
    if (!region.isEmpty())
        m_sinceFrame.start();
    QElapsedTimer painting;
    painting.start();
    updateMarks();
    if (!m_scene.link.isEmpty())
        m_pointer->updateLink(QApplication::keyboardModifiers());
    m_search->textChanged();
    updateScrollBar();
    restartBlinking();
    // At once: this is the screen's rate already.
    viewport()->repaint(usesGPU() ? QRegion(viewport()->rect()) : region + oldCursor + cursorRegion());
    m_frameCost = painting.elapsed();
}

QRegion TerminalWidget::regionOf(const std::vector<int> &rows) const
{
    QRegion region;
    for (const int row : rows) {
        // Letters may reach into the lines around.
        const QRectF rect = m_scene.geometry.rect({m_scene.geometry.top + row, 0}).adjusted(0, -2, 0, 2);
        region += QRect(0, int(rect.top()), viewport()->width(), qCeil(rect.height()) + 1);
    }
    return region;
}

QRegion TerminalWidget::cursorRegion() const
{
    const TerminalPoint position = m_scene.cursorPosition();
    if (!m_scene.geometry.shows(position.line))
        return {};
    return m_scene.geometry.rect({position.line, position.column - 1}, 4).toAlignedRect();
}

void TerminalWidget::updateCursor()
{
    const bool isShown = m_scene.cursor.visible && m_scene.preedit.isEmpty();
    const TerminalScene::Cursor focused = m_isCursorOn ? TerminalScene::Cursor::solid : TerminalScene::Cursor::none;
    const auto look = !isShown ? TerminalScene::Cursor::none : hasFocus() ? focused : TerminalScene::Cursor::hollow;
    if (std::exchange(m_scene.cursorLook, look) != look)
        viewport()->update(usesGPU() ? QRegion(viewport()->rect()) : cursorRegion());
}

/// The marks on the text that are not the program's.
void TerminalWidget::updateMarks()
{
    const bool wasMarked = !m_scene.selection.isEmpty() || !m_scene.hits.empty();
    const TerminalGeometry &geometry = m_scene.geometry;
    std::vector<TerminalRange> hits = m_search->hits(geometry.top, geometry.top + geometry.rows);
    if (wasMarked || !hits.empty() || !m_selection.isEmpty()) {
        if (m_scene.selection != m_selection.range() || m_scene.hits != hits ||
            m_scene.currentHit != m_search->current())
            viewport()->update();
    }
    m_scene.selection = m_selection.range();
    m_scene.hits = std::move(hits);
    m_scene.currentHit = m_search->current();
}

void TerminalWidget::restartBlinking()
{
    const int period = QApplication::styleHints()->cursorFlashTime();
    const bool blinks = period > 0 && hasFocus() && m_scene.cursor.blinks && m_scene.cursor.visible;
    if (blinks != m_cursorTimer.isActive()) {
        m_isCursorOn = true;
        blinks ? m_cursorTimer.start(period / 2) : m_cursorTimer.stop();
    }
    if (m_scene.frame.blinks() != m_textTimer.isActive()) {
        m_scene.showsBlinking = true;
        m_scene.frame.blinks() ? m_textTimer.start(textBlinkMilliseconds) : m_textTimer.stop();
    }
    updateCursor();
}

void TerminalWidget::ring()
{
    if (m_sinceBell.isValid() && m_sinceBell.elapsed() < bellMilliseconds)
        return;
    m_sinceBell.start();
    if (isVisible())
        m_flash.start();
    if (!isActiveWindow())
        QApplication::alert(window());
}

void TerminalWidget::paintEvent(QPaintEvent *event)
{
    const auto *gl = qobject_cast<const QOpenGLWidget *>(viewport());
    if (gl && (!gl->isValid() || !gl->context()->isValid()))
        return leaveBrokenGPU();
    QPainter painter(viewport());
    TerminalPainter terminal(painter, m_emulator, m_scene, m_palette, *m_font);
    if (usesGPU()) {
        terminal.paint(viewport()->rect(), viewport()->rect());
        return;
    }
    for (const QRect &rect : event->region()) {
        painter.setClipRect(rect);
        terminal.paint(rect, viewport()->rect());
    }
}

} // namespace moorix
