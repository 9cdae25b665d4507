// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalWidget.h"

#include "ui/Theme.h"
#include "ui/terminal/TerminalFinder.h"
#include "ui/terminal/TerminalFont.h"
#include "ui/terminal/TerminalNote.h"
#include "ui/terminal/TerminalPainter.h"
#include "ui/terminal/TerminalPasteBar.h"
#include "ui/terminal/TerminalPointer.h"
#include "ui/terminal/TerminalSearchBar.h"

#include <QApplication>
#include <QClipboard>
#include <QOpenGLContext>
#include <QOpenGLWidget>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleHints>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

constexpr int padding = 6;
constexpr qint64 frameMilliseconds = 16;
constexpr qint64 longestRestMilliseconds = 50;
constexpr int heldMilliseconds = 5;
/// Rewrapping a long scrollback takes its time: a window that is dragged larger does not do it at every step.
constexpr int gridMilliseconds = 60;
constexpr int textBlinkMilliseconds = 600;
constexpr int bellMilliseconds = 500;
constexpr std::chrono::milliseconds sizeShown{700};
/// Layouts find the size of a view that has just been shown.
constexpr int settleMilliseconds = 400;

bool canUseOpenGL()
{
    static const bool can = QOpenGLContext().create();
    return can;
}

} // namespace

TerminalWidget::TerminalWidget(QWidget *parent)
    : QAbstractScrollArea(parent)
    , m_wantedFont(Theme::monospace())
    , m_selection(m_emulator)
    , m_pointer(new TerminalPointer(m_emulator, m_selection, m_scene.geometry, this))
    , m_search(new TerminalFinder(m_emulator, this))
    , m_bars(new QWidget(this))
    , m_searchBar(new TerminalSearchBar(m_bars))
    , m_pasteBar(new TerminalPasteBar(m_bars))
    , m_note(new TerminalNote(Qt::AlignTop | Qt::AlignRight, this))
    , m_linkNote(new TerminalNote(Qt::AlignBottom | Qt::AlignLeft, this))
    , m_sizeNote(new TerminalNote(Qt::AlignCenter, this))
{
    setObjectName(u"terminal"_s);
    setAccessibleName(tr("Terminal"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled);
    setAcceptDrops(true);
    setInputMethodHints(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // A bar that comes and goes would change the width of the terminal.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    prepareBars();
    prepareViewport();
    followEmulator();
    followPointer();
    measureFont();
    styleScrollBar();
    updateScrollBar();
}

TerminalWidget::~TerminalWidget() = default;

void TerminalWidget::prepareViewport()
{
    viewport()->setObjectName(u"terminalViewport"_s);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
    viewport()->setCursor(Qt::IBeamCursor);
}

void TerminalWidget::prepareBars()
{
    m_note->setObjectName(u"terminalNote"_s);
    m_linkNote->setObjectName(u"terminalLink"_s);
    m_sizeNote->setObjectName(u"terminalSize"_s);
    m_sizeNote->setShownFor(sizeShown);
    auto *column = new QVBoxLayout(m_bars);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_searchBar);
    column->addWidget(m_pasteBar);
    m_bars->hide();

    connect(m_searchBar, &TerminalSearchBar::needleChanged, this, &TerminalWidget::search);
    connect(m_searchBar, &TerminalSearchBar::stepRequested, this, &TerminalWidget::stepSearch);
    connect(m_searchBar, &TerminalSearchBar::closed, this, &TerminalWidget::closeSearch);
    connect(m_search, &TerminalFinder::counted, this, [this] {
        m_searchBar->setCount(m_search->countText(), m_search->hasFailed());
        updateMarks();
    });
    connect(m_pasteBar, &TerminalPasteBar::accepted, this,
            [this](const QString &text) { type([&] { m_emulator.paste(text); }); });
    connect(m_pasteBar, &TerminalPasteBar::closed, this, [this] {
        arrangeBars();
        setFocus(Qt::OtherFocusReason);
    });
}

void TerminalWidget::followEmulator()
{
    for (QTimer *timer : {&m_frameTimer, &m_gridTimer}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&m_frameTimer, &QTimer::timeout, this, &TerminalWidget::takeFrame);
    connect(&m_gridTimer, &QTimer::timeout, this, &TerminalWidget::applyGrid);
    connect(&m_cursorTimer, &QTimer::timeout, this, [this] {
        m_isCursorOn = !m_isCursorOn;
        updateCursor();
    });
    connect(&m_textTimer, &QTimer::timeout, this, [this] {
        m_scene.showsBlinking = !m_scene.showsBlinking;
        viewport()->update();
    });
    m_flash.setDuration(180);
    m_flash.setStartValue(1.0);
    m_flash.setEndValue(0.0);
    connect(&m_flash, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        m_scene.flash = value.toDouble();
        viewport()->update();
    });
    connect(&m_emulator, &TerminalEmulator::changed, this, &TerminalWidget::scheduleFrame);
    connect(&m_emulator, &TerminalEmulator::relocated, this, [this] {
        m_selection.clear();
        m_search->restart();
        m_keptTop.reset();
        scheduleFrame();
    });
    connect(&m_emulator, &TerminalEmulator::output, this, [this](const QByteArray &bytes) {
        if (!m_isTyping)
            return;
        m_hasTyped = true;
        emit typed(bytes);
    });
    connect(&m_emulator, &TerminalEmulator::bell, this, &TerminalWidget::ring);
    connect(&m_emulator, &TerminalEmulator::clipboardWritten, this, [this](const QString &text) {
        QApplication::clipboard()->setText(text);
        showNote(tr("The program copied text to the clipboard"));
    });
}

void TerminalWidget::setColors(const Colors &colors)
{
    if (colors == m_palette.colors())
        return;
    m_palette = TerminalPalette(colors);
    styleScrollBar();
    viewport()->update();
}

/// It lies on the ground of the terminal, which is not that of the window.
void TerminalWidget::styleScrollBar()
{
    const QRgb ground = m_palette.background();
    const auto tint = [&](double share) {
        return QColor::fromRgb(TerminalPalette::mix(ground, m_palette.foreground(), share)).name();
    };
    const QString name = QColor::fromRgb(ground).name();
    verticalScrollBar()->setStyleSheet(
        u"QScrollBar:vertical { background: %1; } QScrollBar::handle:vertical { background: %2; }"
        u"QScrollBar::handle:vertical:hover { background: %3; } QScrollBar::handle:vertical:disabled { background: %1; }"_s
            .arg(name, tint(0.25), tint(0.45)));
}

void TerminalWidget::setTerminalFont(const QFont &font)
{
    if (font == m_wantedFont)
        return;
    m_wantedFont = font;
    measureFont();
}

void TerminalWidget::measureFont()
{
    m_font = std::make_unique<TerminalFont>(m_wantedFont, devicePixelRatioF());
    m_scene.geometry.cell = m_font->cell();
    const double edge = std::round(padding * m_font->ratio()) / m_font->ratio();
    m_scene.geometry.origin = {edge, edge};
    updateGrid();
    scheduleFrame();
    viewport()->update();
}

void TerminalWidget::setGPU(bool wanted)
{
    if (wanted == usesGPU() || (wanted && (m_isGPUBroken || !canUseOpenGL())))
        return;
    setViewport(wanted ? new QOpenGLWidget : new QWidget);
    prepareViewport();
    viewport()->update();
}

bool TerminalWidget::usesGPU() const
{
    return qobject_cast<const QOpenGLWidget *>(viewport()) != nullptr;
}

/// A context that could be made for the trial may still not be had for the window, or be lost later.
void TerminalWidget::leaveBrokenGPU()
{
    m_isGPUBroken = true;
    QMetaObject::invokeMethod(
        this, [this] { setGPU(false); }, Qt::QueuedConnection);
}

void TerminalWidget::setOverlay(Overlay overlay)
{
    if (overlay.cells.empty() && m_scene.overlay.cells.empty() && overlay.cursor == m_scene.overlay.cursor)
        return;
    m_scene.overlay = std::move(overlay);
    viewport()->update();
}

void TerminalWidget::showNote(const QString &text)
{
    m_note->tell(text);
}

QSize TerminalWidget::sizeHint() const
{
    const QSizeF cell = m_scene.geometry.cell;
    return {qCeil(80 * cell.width()) + 2 * padding + verticalScrollBar()->sizeHint().width(),
            qCeil(24 * cell.height()) + 2 * padding};
}

/// What is below does not count: a bar hides some lines, the program need not hear of it.
void TerminalWidget::updateGrid()
{
    if (m_sinceGrid.isValid() && m_sinceGrid.elapsed() < gridMilliseconds && isVisible()) {
        if (!m_gridTimer.isActive())
            m_gridTimer.start(gridMilliseconds);
        return;
    }
    applyGrid();
}

void TerminalWidget::applyGrid()
{
    const QSizeF cell = m_scene.geometry.cell;
    const TerminalSize size{std::max(1, int((height() - 2 * padding) / cell.height())),
                            std::max(2, int((viewport()->width() - 2 * padding) / cell.width()))};
    if (size != m_emulator.size()) {
        m_emulator.resize(size);
        m_sinceGrid.start();
        emit sizeChanged(size);
        showSize();
    }
    m_isBeingResized = false;
    scheduleFrame();
}

/// Only where the user is at it: not while a window opens or a font is chosen.
void TerminalWidget::showSize()
{
    if (isVisible() && m_isBeingResized)
        m_sizeNote->tell(tr("%1 × %2").arg(m_emulator.size().columns).arg(m_emulator.size().rows));
}

void TerminalWidget::arrangeBars()
{
    const bool hasBars = !m_searchBar->isHidden() || !m_pasteBar->isHidden();
    m_bars->setVisible(hasBars);
    int space = 0;
    if (hasBars) {
        m_bars->layout()->activate();
        space = m_bars->hasHeightForWidth() ? m_bars->heightForWidth(viewport()->width()) : m_bars->sizeHint().height();
    }
    setViewportMargins(0, 0, 0, space);
    m_bars->setGeometry(0, height() - space, viewport()->width(), space);
    m_bars->raise();
    const QRect room(0, 0, viewport()->width(), height() - space);
    m_note->setRoom(room);
    m_linkNote->setRoom(room);
    m_sizeNote->setRoom(room);
    scheduleFrame();
}

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
    const qint64 rest = std::clamp(m_frameCost * 12, frameMilliseconds, longestRestMilliseconds);
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
    QRegion region = regionOf(m_scene.frame.take(m_emulator, geometry.top, geometry.rows));
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

void TerminalWidget::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    m_isBeingResized = m_sinceShown.isValid() && m_sinceShown.elapsed() > settleMilliseconds;
    updateGrid();
    if (m_bars->geometry().bottom() + 1 != height() || m_bars->width() != viewport()->width())
        arrangeBars();
    viewport()->update();
}

void TerminalWidget::showEvent(QShowEvent *event)
{
    QAbstractScrollArea::showEvent(event);
    m_sinceShown.start();
    applyGrid();
    takeFrame();
}

} // namespace moorix
