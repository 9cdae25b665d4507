// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Theme.h"
#include "ui/pane/FileMimeData.h"
#include "ui/terminal/TerminalFinder.h"
#include "ui/terminal/TerminalKeyboard.h"
#include "ui/terminal/TerminalNote.h"
#include "ui/terminal/TerminalPasteBar.h"
#include "ui/terminal/TerminalPointer.h"
#include "ui/terminal/TerminalReader.h"
#include "ui/terminal/TerminalSearchBar.h"
#include "ui/terminal/TerminalWidget.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Those that a paste leaves out.
int controlCharacters(const QString &text)
{
    return int(std::count_if(text.cbegin(), text.cend(), [](QChar character) {
        return character.category() == QChar::Other_Control && character != u'\t' && character != u'\n' &&
               character != u'\r';
    }));
}

bool offersFiles(const QMimeData &data)
{
    return qobject_cast<const FileMimeData *>(&data) || !FileMimeData::localPaths(data).isEmpty();
}

} // namespace

void TerminalWidget::followPointer()
{
    connect(m_pointer, &TerminalPointer::selectionChanged, this, [this] {
        updateMarks();
        m_reader->tellSelection(m_selection.range());
    });
    connect(m_pointer, &TerminalPointer::selectionMade, this, [this] {
        QClipboard &clipboard = *QApplication::clipboard();
        if (clipboard.supportsSelection())
            clipboard.setText(m_selection.text(), QClipboard::Selection);
    });
    connect(m_pointer, &TerminalPointer::linkHovered, this, &TerminalWidget::hoverLink);
    connect(m_pointer, &TerminalPointer::linkClicked, this, &TerminalWidget::openLink);
    connect(m_pointer, &TerminalPointer::pasteRequested, this, [this] { paste(primaryText()); });
    connect(m_pointer, &TerminalPointer::scrollRequested, this,
            [this](int lines) { scrollTo(m_scene.geometry.top + lines); });
    connect(m_pointer, &TerminalPointer::arrowsRequested, this, [this](bool up, int count) {
        type([&] {
            for (int i = 0; i < count; ++i)
                m_emulator.sendKey(up ? TerminalKey::up : TerminalKey::down, {});
        });
    });
    connect(m_pointer, &TerminalPointer::fontSizeStepped, this, &TerminalWidget::fontSizeStepped);
}

void TerminalWidget::select(TerminalPoint start, TerminalPoint end)
{
    m_selection.begin({start, start}, TerminalSelection::Unit::character);
    m_selection.extend({end, end});
    updateMarks();
}

/// Whatever is sent counts as typed by the user, who wants to see what comes of it. False when that was nothing.
bool TerminalWidget::type(const std::function<void()> &send)
{
    m_hasTyped = false;
    m_isTyping = true;
    send();
    m_isTyping = false;
    if (!m_hasTyped)
        return false;
    m_cursorTimer.stop();
    restartBlinking();
    if (std::exchange(m_keptTop, std::nullopt))
        scheduleFrame();
    return true;
}

/// The bars hand on what they have no use for; that is not meant for the program.
bool TerminalWidget::isBarInUse() const
{
    return m_bars->isAncestorOf(QApplication::focusWidget());
}

bool TerminalWidget::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto &key = *static_cast<QKeyEvent *>(event);
        if (!isBarInUse() && !TerminalKeyboard::isLeftToWindow(key)) {
            event->accept();
            return true;
        }
    }
    return QAbstractScrollArea::event(event);
}

bool TerminalWidget::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::Leave)
        m_pointer->leave();
    return QAbstractScrollArea::viewportEvent(event);
}

bool TerminalWidget::focusNextPrevChild(bool /*next*/)
{
    return false;
}

void TerminalWidget::keyPressEvent(QKeyEvent *event)
{
    using TerminalKeyboard::Command;
    if (isBarInUse())
        return QAbstractScrollArea::keyPressEvent(event);
    m_pointer->updateLink(event->modifiers() |
                          (event->key() == Qt::Key_Control ? Qt::ControlModifier : Qt::NoModifier));
    if (const Command command = TerminalKeyboard::commandOf(*event); command != Command::none)
        return runCommand(command);
    event->setAccepted(type([&] { TerminalKeyboard::send(m_emulator, *event); }));
}

void TerminalWidget::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Control)
        m_pointer->updateLink(event->modifiers() & ~Qt::ControlModifier);
    QAbstractScrollArea::keyReleaseEvent(event);
}

void TerminalWidget::runCommand(TerminalKeyboard::Command command)
{
    using enum TerminalKeyboard::Command;
    const qint64 top = m_scene.geometry.top;
    switch (command) {
    case none:
        return;
    case copy:
        return copySelection();
    case pasteClipboard:
        return pasteFromClipboard();
    case pasteSelection:
        return paste(primaryText());
    case pageUp:
        return scrollTo(top - std::max(1, m_scene.geometry.rows - 1));
    case pageDown:
        return scrollTo(top + std::max(1, m_scene.geometry.rows - 1));
    case toTop:
        return scrollTo(m_emulator.firstLine());
    case toBottom:
        return scrollTo(followTop());
    case previousPrompt:
        return jumpToPrompt(true);
    case nextPrompt:
        return jumpToPrompt(false);
    case find:
        return openSearch();
    case selectAll:
        m_selection.selectAll();
        return updateMarks();
    case largerFont:
        emit fontSizeStepped(1);
        return;
    case smallerFont:
        emit fontSizeStepped(-1);
        return;
    case defaultFont:
        emit fontSizeStepped(0);
        return;
    }
}

void TerminalWidget::jumpToPrompt(bool isAbove)
{
    const qint64 top = m_scene.geometry.top;
    const std::optional<qint64> line = isAbove ? m_emulator.promptAbove(top) : m_emulator.promptBelow(top);
    if (line)
        scrollTo(*line);
    else if (!isAbove)
        scrollTo(followTop());
}

void TerminalWidget::copySelection()
{
    if (!m_selection.isEmpty())
        QApplication::clipboard()->setText(m_selection.text());
}

QString TerminalWidget::primaryText() const
{
    const QClipboard &clipboard = *QApplication::clipboard();
    if (clipboard.supportsSelection())
        return clipboard.text(QClipboard::Selection);
    return m_selection.isEmpty() ? clipboard.text() : m_selection.text();
}

void TerminalWidget::paste(const QString &text)
{
    if (text.isEmpty())
        return;
    const int leftOut = controlCharacters(text);
    const bool hasLineEnd = text.contains(u'\n') || text.contains(u'\r');
    if (!hasLineEnd || m_emulator.bracketsPastes())
        return pasteAllowed(text, leftOut);
    m_pasteBar->ask(text, leftOut);
    arrangeBars();
}

/// Files as their paths, anything else as text.
void TerminalWidget::pasteFromClipboard()
{
    const QMimeData *content = QApplication::clipboard()->mimeData();
    if (content && offersFiles(*content))
        emit filesOffered(*content);
    else
        paste(QApplication::clipboard()->text());
}

void TerminalWidget::dragEnterEvent(QDragEnterEvent *event)
{
    dragMoveEvent(event);
}

void TerminalWidget::dragMoveEvent(QDragMoveEvent *event)
{
    // Only paths are typed: whatever the source proposes, nothing is moved.
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(offersFiles(*event->mimeData()));
}

void TerminalWidget::dropEvent(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(offersFiles(*event->mimeData()));
    if (event->isAccepted())
        emit filesOffered(*event->mimeData());
}

void TerminalWidget::pasteAllowed(const QString &text, int leftOut)
{
    type([&] { m_emulator.paste(text); });
    if (leftOut == 1)
        showNote(tr("One control character was left out of the paste"));
    else if (leftOut > 1)
        showNote(tr("%L1 control characters were left out of the paste").arg(leftOut));
}

void TerminalWidget::openSearch()
{
    const QString selected = m_selection.text();
    m_searchBar->open(selected.contains(u'\n') ? QString() : selected);
    arrangeBars();
}

void TerminalWidget::closeSearch()
{
    m_search->setNeedle({}, Qt::CaseInsensitive);
    updateMarks();
    arrangeBars();
    setFocus(Qt::OtherFocusReason);
}

void TerminalWidget::search()
{
    m_search->setNeedle(m_searchBar->needle(), m_searchBar->sensitivity());
    m_searchBar->setCount(m_search->countText(), false);
    if (m_search->needle().isEmpty())
        updateMarks();
    else
        stepSearch(true);
}

void TerminalWidget::stepSearch(bool isBackward)
{
    // The first place is the lowest one in sight, or else above it.
    const std::optional<TerminalRange> found =
        m_search->step(isBackward, {m_scene.geometry.top + m_scene.geometry.rows, 0});
    if (found)
        reveal(found->start.line);
    updateMarks();
}

void TerminalWidget::hoverLink(const std::optional<TerminalLink> &link)
{
    m_scene.link = link ? link->range : TerminalRange{};
    viewport()->setCursor(link ? Qt::PointingHandCursor : Qt::IBeamCursor);
    viewport()->update();
    if (!link)
        return m_linkNote->hide();
    // Letters of other scripts may pass for those of a well-known name.
    const QUrl url(link->address, QUrl::StrictMode);
    const QString address = url.isValid() ? QString::fromLatin1(url.toEncoded()) : link->address;
    const QString refusal = TerminalLinkFinder::refusal(link->address);
    m_linkNote->hold(refusal.isEmpty() ? address : address + u" — "_s + refusal);
}

void TerminalWidget::openLink(const TerminalLink &link)
{
    if (const QString refusal = TerminalLinkFinder::refusal(link.address); !refusal.isEmpty())
        showNote(refusal);
    else
        emit linkActivated(QUrl(link.address, QUrl::StrictMode));
}

void TerminalWidget::inputMethodEvent(QInputMethodEvent *event)
{
    if (!event->commitString().isEmpty())
        type([&] { m_emulator.sendText(event->commitString()); });
    if (m_scene.preedit != event->preeditString()) {
        m_scene.preedit = event->preeditString();
        updateCursor();
        viewport()->update();
    }
    event->accept();
}

QVariant TerminalWidget::inputMethodQuery(Qt::InputMethodQuery query) const
{
    switch (query) {
    case Qt::ImEnabled:
        return true;
    case Qt::ImCursorRectangle:
        return m_scene.geometry.rect(m_scene.cursorPosition()).translated(viewport()->pos()).toRect();
    case Qt::ImFont:
        return m_wantedFont;
    case Qt::ImHints:
        return int(inputMethodHints());
    default:
        return {};
    }
}

void TerminalWidget::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    m_emulator.sendFocus(true);
    restartBlinking();
}

void TerminalWidget::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    m_emulator.sendFocus(false);
    m_pointer->updateLink({});
    restartBlinking();
}

void TerminalWidget::mousePressEvent(QMouseEvent *event)
{
    m_pointer->press(*event);
}

void TerminalWidget::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_pointer->doubleClick(*event);
}

void TerminalWidget::mouseMoveEvent(QMouseEvent *event)
{
    m_pointer->move(*event);
}

void TerminalWidget::mouseReleaseEvent(QMouseEvent *event)
{
    m_pointer->release(*event);
}

void TerminalWidget::wheelEvent(QWheelEvent *event)
{
    m_pointer->wheel(*event);
    event->accept();
}

void TerminalWidget::contextMenuEvent(QContextMenuEvent *event)
{
    const bool isByMouse = event->reason() == QContextMenuEvent::Mouse;
    if (isByMouse && m_pointer->isForProgram(event->modifiers()))
        return;
    const QPoint inView = viewport()->mapFrom(this, event->pos());
    const std::optional<TerminalLink> link = isByMouse ? m_pointer->linkAt(inView) : std::nullopt;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(u"terminalMenu"_s);
    const auto add = [menu](const QString &icon, const QString &text, const QString &name, bool isEnabled,
                            const QKeySequence &keys, const std::function<void()> &run) {
        QAction *action = menu->addAction(Theme::icon(icon), text);
        action->setObjectName(name);
        action->setEnabled(isEnabled);
        action->setShortcut(keys);
        // The terminal reads these keys itself.
        action->setShortcutContext(Qt::WidgetShortcut);
        connect(action, &QAction::triggered, menu, run);
    };
    if (link) {
        add(u"internet-services"_s, tr("Open Link"), u"terminalOpenLink"_s,
            TerminalLinkFinder::refusal(link->address).isEmpty(), {}, [this, link] { openLink(*link); });
        add(u"edit-copy"_s, tr("Copy Link Address"), u"terminalCopyLink"_s, true, {},
            [link] { QApplication::clipboard()->setText(link->address); });
        menu->addSeparator();
    }
    constexpr auto both = Qt::CTRL | Qt::SHIFT;
    const QMimeData *clipboard = QApplication::clipboard()->mimeData();
    const bool canPaste = clipboard && (offersFiles(*clipboard) || !clipboard->text().isEmpty());
    add(u"edit-copy"_s, tr("Copy"), u"terminalCopy"_s, !m_selection.isEmpty(), both | Qt::Key_C,
        [this] { copySelection(); });
    add(u"edit-paste"_s, tr("Paste"), u"terminalPaste"_s, canPaste, both | Qt::Key_V, [this] { pasteFromClipboard(); });
    add(u"edit-select-all"_s, tr("Select All"), u"terminalSelectAll"_s, true, both | Qt::Key_A,
        [this] { runCommand(TerminalKeyboard::Command::selectAll); });
    menu->addSeparator();
    add(u"edit-find"_s, tr("Find…"), u"terminalFind"_s, true, both | Qt::Key_F, [this] { openSearch(); });
    if (!m_emulator.workingFolder().isEmpty())
        add(u"folder-open"_s, tr("Open Folder in Pane"), u"terminalOpenFolder"_s, true, {},
            [this] { emit folderActivated(m_emulator.workingFolder(), m_emulator.workingHost()); });
    menu->addSeparator();
    add(u"edit-clear-history"_s, tr("Clear Scrollback"), u"terminalClearScrollback"_s,
        m_emulator.firstLine() < m_emulator.screenLine(), {}, [this] { m_emulator.clearScrollback(); });
    menu->popup(isByMouse
                    ? event->globalPos()
                    : viewport()->mapToGlobal(m_scene.geometry.rect(m_scene.cursorPosition()).bottomLeft().toPoint()));
}

} // namespace moorix
