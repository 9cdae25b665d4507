// SPDX-License-Identifier: GPL-3.0-or-later
// Keys and mouse in two compared texts.
#include "ui/compare/DiffView.h"

#include "ui/Theme.h"

#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

#include <algorithm>

namespace moorix {

using Kind = DiffLayout::Row::Kind;

std::optional<DiffView::Button> DiffView::buttonAt(const QPoint &position) const
{
    const qsizetype row = rowAt(position.y());
    for (const DiffSide to : {DiffSide::left, DiffSide::right}) {
        if (startsHunk(row) && copyButton(row, to).contains(position))
            return Button{row, to};
    }
    return std::nullopt;
}

void DiffView::hover(const std::optional<Button> &button)
{
    if (button == m_hovered)
        return;
    m_hovered = button;
    const QString text = !button                         ? QString()
                         : button->to == DiffSide::right ? tr("Copy to the right (Alt+Right)")
                                                         : tr("Copy to the left (Alt+Left)");
    viewport()->setToolTip(text);
    viewport()->setCursor(button ? Qt::PointingHandCursor : Qt::IBeamCursor);
    viewport()->update();
}

bool DiffView::moveByKey(const QKeyEvent &event)
{
    const qsizetype page = std::max<qsizetype>(rowAt(viewport()->height() - rowHeight()) - rowAt(0), 1);
    const Extend extend = event.modifiers().testFlag(Qt::ShiftModifier) ? Extend::yes : Extend::no;
    switch (event.key()) {
    case Qt::Key_Up:
        setCurrent(m_current - 1, extend);
        return true;
    case Qt::Key_Down:
        setCurrent(m_current + 1, extend);
        return true;
    case Qt::Key_PageUp:
        setCurrent(m_current - page, extend);
        return true;
    case Qt::Key_PageDown:
        setCurrent(m_current + page, extend);
        return true;
    case Qt::Key_Home:
        horizontalScrollBar()->setValue(0);
        setCurrent(0, extend);
        return true;
    case Qt::Key_End:
        setCurrent(m_layout.rowCount() - 1, extend);
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
        horizontalScrollBar()->triggerAction(event.key() == Qt::Key_Left ? QScrollBar::SliderSingleStepSub
                                                                         : QScrollBar::SliderSingleStepAdd);
        return true;
    default:
        return false;
    }
}

void DiffView::keyPressEvent(QKeyEvent *event)
{
    const bool isFold = m_content && m_layout.row(m_current).kind == Kind::fold;
    if (!m_content || event->modifiers().testFlag(Qt::AltModifier))
        event->ignore();
    else if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->matches(QKeySequence::SelectAll))
        selectAll();
    else if (isFold && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        unfold(m_current);
    else if (!moveByKey(*event))
        event->ignore();
}

/// Tab changes sides, as it does in the lists of files; Shift+Tab leaves.
bool DiffView::focusNextPrevChild(bool next)
{
    if (!next)
        return QAbstractScrollArea::focusNextPrevChild(next);
    m_side = m_side == DiffSide::left ? DiffSide::right : DiffSide::left;
    viewport()->update();
    return true;
}

void DiffView::mousePressEvent(QMouseEvent *event)
{
    if (!m_content || event->button() != Qt::LeftButton)
        return;
    const QPoint position = event->position().toPoint();
    const qsizetype row = rowAt(position.y());
    if (const auto button = buttonAt(position)) {
        setCurrent(button->row, Extend::no);
        emit copyRequested(*m_layout.hunkAt(button->row), button->to);
        return;
    }
    const bool isExtending = event->modifiers().testFlag(Qt::ShiftModifier);
    if (!isExtending)
        m_side = sideAt(position.x());
    if (m_layout.row(row).kind == Kind::fold && !isExtending)
        unfold(row);
    else
        setCurrent(row, isExtending ? Extend::yes : Extend::no);
}

void DiffView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_content)
        return;
    hover(buttonAt(event->position().toPoint()));
    if (event->buttons().testFlag(Qt::LeftButton) && !m_hovered)
        setCurrent(rowAt(event->position().toPoint().y()), Extend::yes);
}

void DiffView::contextMenuEvent(QContextMenuEvent *event)
{
    if (!m_content)
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (const auto hunk = currentHunk()) {
        // What is shown may be another comparison by the time that something is chosen.
        const auto copyTo = [this, hunk](DiffSide to) {
            if (currentHunk() == hunk)
                emit copyRequested(*hunk, to);
        };
        menu->addAction(tr("Copy change to the right"), this, [copyTo] { copyTo(DiffSide::right); })
            ->setShortcut(Qt::ALT | Qt::Key_Right);
        menu->addAction(tr("Copy change to the left"), this, [copyTo] { copyTo(DiffSide::left); })
            ->setShortcut(Qt::ALT | Qt::Key_Left);
        menu->addSeparator();
    }
    menu->addAction(Theme::icon(QStringLiteral("edit-copy")), tr("Copy lines"), this, &DiffView::copy)
        ->setShortcut(QKeySequence::Copy);
    menu->addAction(Theme::icon(QStringLiteral("edit-select-all")), tr("Select all"), this, &DiffView::selectAll)
        ->setShortcut(QKeySequence::SelectAll);
    menu->popup(event->globalPos());
}

void DiffView::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void DiffView::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

} // namespace moorix
