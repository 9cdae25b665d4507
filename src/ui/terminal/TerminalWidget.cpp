// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalWidget.h"

#include "ui/Theme.h"
#include "ui/terminal/TerminalAccessible.h"
#include "ui/terminal/TerminalFinder.h"
#include "ui/terminal/TerminalFont.h"
#include "ui/terminal/TerminalNote.h"
#include "ui/terminal/TerminalPasteBar.h"
#include "ui/terminal/TerminalPointer.h"
#include "ui/terminal/TerminalReader.h"
#include "ui/terminal/TerminalSearchBar.h"

#include <QApplication>
#include <QClipboard>
#include <QOpenGLContext>
#include <QOpenGLWidget>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Rewrapping a long scrollback takes its time: a window that is dragged larger does not do it at every step.
constexpr int gridMilliseconds = 60;
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
    , m_reader(new TerminalReader(m_emulator, *this))
    , m_pointer(new TerminalPointer(m_emulator, m_selection, m_scene.geometry, this))
    , m_search(new TerminalFinder(m_emulator, this))
    , m_bars(new QWidget(this))
    , m_searchBar(new TerminalSearchBar(m_bars))
    , m_pasteBar(new TerminalPasteBar(m_bars))
    , m_note(new TerminalNote(Qt::AlignTop | Qt::AlignRight, this))
    , m_linkNote(new TerminalNote(Qt::AlignBottom | Qt::AlignLeft, this))
    , m_sizeNote(new TerminalNote(Qt::AlignCenter, this))
{
    // The name makes Qt ask for the interface.
    TerminalAccessible::install();
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
    m_emulator.setThemeColors(TerminalPalette::themeColors(m_palette.colors()));
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
    connect(&m_emulator, &TerminalEmulator::colorsChanged, this, &TerminalWidget::applyColors);
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
    m_emulator.setThemeColors(TerminalPalette::themeColors(colors));
    applyColors();
}

/// What the program has chosen stays when the theme changes.
void TerminalWidget::applyColors()
{
    m_palette = TerminalPalette(m_palette.colors(), m_emulator.colors());
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
