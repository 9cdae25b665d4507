// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/terminal/TerminalLinkFinder.h"
#include "ui/terminal/TerminalPalette.h"
#include "ui/terminal/TerminalScene.h"
#include "ui/terminal/TerminalSelection.h"

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QTimer>
#include <QVariantAnimation>

#include <functional>
#include <memory>

class QMimeData;

namespace moorix {

namespace TerminalKeyboard {
enum class Command;
}

class TerminalFont;
class TerminalNote;
class TerminalPasteBar;
class TerminalPointer;
class TerminalReader;
class TerminalFinder;
class TerminalSearchBar;

/// Shows a terminal and turns keys, texts and the mouse into what its program expects. Knows no process: whoever owns
/// it feeds the emulator, and takes its output to the program. Main thread.
class TerminalWidget : public QAbstractScrollArea
{
    Q_OBJECT

public:
    using Colors = TerminalColors;
    using Overlay = TerminalOverlay;

    explicit TerminalWidget(QWidget *parent = nullptr);
    ~TerminalWidget() override;

    TerminalEmulator &emulator() { return m_emulator; }
    void setColors(const Colors &colors);
    const Colors &colors() const { return m_palette.colors(); }
    /// The program's own font in the same size where the family is missing or has no fixed pitch.
    void setTerminalFont(const QFont &font);
    /// Paints with OpenGL where that works; elsewhere this changes nothing.
    void setGPU(bool wanted);
    bool usesGPU() const;
    /// Shown over the screen until the next one.
    void setOverlay(Overlay overlay);
    /// A sentence that goes away by itself.
    void showNote(const QString &text);

    const TerminalSelection &selection() const { return m_selection; }
    /// Where the cells are in the viewport.
    const TerminalGeometry &geometry() const { return m_scene.geometry; }
    /// From one place up to the other; the same twice selects nothing.
    void select(TerminalPoint start, TerminalPoint end);
    void copySelection();
    /// Asks first where the program would run the text line by line.
    void paste(const QString &text);
    void openSearch();
    /// Scrolls to a line, unless it is in sight.
    void reveal(qint64 line);
    TerminalReader &reader() { return *m_reader; }

    bool event(QEvent *event) override;
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;
    QSize sizeHint() const override;

signals:
    /// Those bytes of the emulator's output that the user typed or pasted; reports of devices are not among them.
    void typed(const QByteArray &bytes);
    /// The emulator has this size now.
    void sizeChanged(moorix::TerminalSize size);
    /// The user wants larger (1) or smaller (-1) letters, or those of the settings (0).
    void fontSizeStepped(int step);
    /// Of a kind that may be opened.
    void linkActivated(const QUrl &url);
    void folderActivated(const QString &path, const QString &host);
    /// Files were dropped or are to be pasted: their paths are for the owner to type, who knows whose they are.
    void filesOffered(const QMimeData &files);

protected:
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    /// Between the edge of the view and its cells, in pixels.
    static constexpr int padding = 6;

    void prepareViewport();
    void prepareBars();
    void followEmulator();
    void followPointer();
    void applyColors();
    void styleScrollBar();

    void measureFont();
    void updateGrid();
    void applyGrid();
    void showSize();
    void leaveBrokenGPU();
    void arrangeBars();
    qint64 followTop() const;
    void scrollTo(qint64 top);
    void updateScrollBar();
    void scheduleFrame();
    void takeFrame();
    QRegion regionOf(const std::vector<int> &rows) const;
    QRegion cursorRegion() const;
    void updateCursor();
    void updateMarks();
    void restartBlinking();
    void ring();

    void runCommand(TerminalKeyboard::Command command);
    bool type(const std::function<void()> &send);
    void jumpToPrompt(bool isAbove);
    void closeSearch();
    void search();
    void stepSearch(bool isBackward);
    void hoverLink(const std::optional<TerminalLink> &link);
    void openLink(const TerminalLink &link);
    QString primaryText() const;
    void pasteFromClipboard();
    void pasteAllowed(const QString &text, int leftOut);
    bool isBarInUse() const;

    TerminalEmulator m_emulator;
    TerminalPalette m_palette;
    QFont m_wantedFont;
    std::unique_ptr<TerminalFont> m_font;
    TerminalScene m_scene;
    TerminalSelection m_selection;
    TerminalReader *m_reader;
    TerminalPointer *m_pointer;
    TerminalFinder *m_search;
    QWidget *m_bars;
    TerminalSearchBar *m_searchBar;
    TerminalPasteBar *m_pasteBar;
    TerminalNote *m_note;
    TerminalNote *m_linkNote;
    TerminalNote *m_sizeNote;
    /// Set while the user looks at something above; nothing while the view follows the output.
    std::optional<qint64> m_keptTop;
    bool m_wasAlternate = false;
    bool m_isTyping = false;
    bool m_hasTyped = false;
    bool m_isScrollBarMoving = false;
    bool m_isCursorOn = true;
    bool m_isBeingResized = false;
    bool m_isGPUBroken = false;
    QTimer m_frameTimer;
    QElapsedTimer m_sinceFrame;
    /// Since the frame before the last more lines had come than there are in sight.
    bool m_isFlooded = false;
    /// Milliseconds that the last painting took.
    qint64 m_frameCost = 0;
    QTimer m_gridTimer;
    QElapsedTimer m_sinceGrid;
    QElapsedTimer m_sinceShown;
    QTimer m_cursorTimer;
    QTimer m_textTimer;
    QElapsedTimer m_sinceBell;
    QVariantAnimation m_flash;
};

} // namespace moorix
