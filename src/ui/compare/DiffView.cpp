// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffView.h"

#include "ui/Theme.h"
#include "ui/compare/DiffPainter.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace moorix {

using Kind = DiffLayout::Row::Kind;

DiffView::DiffView(QWidget *parent)
    : QAbstractScrollArea(parent)
{
    setObjectName(QStringLiteral("diffView"));
    setAccessibleName(tr("Both files, line by line"));
    setFrameShape(NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setCursor(Qt::IBeamCursor);
}

void DiffView::setContent(std::shared_ptr<const DiffContent> content)
{
    const bool isAnew = m_content != nullptr;
    const DiffPlace before = isAnew ? place() : DiffPlace();
    m_content = std::move(content);
    m_layout = DiffLayout(m_content->runs);
    relayout();
    const DiffText &text = before.side == DiffSide::left ? m_content->left.text : m_content->right.text;
    const qsizetype row = isAnew ? m_layout.reveal(before.side, std::min(before.line, text.lineCount() - 1))
                          : m_changes.empty() ? 0
                                              : m_changes.front();
    relayout();
    setCurrent(row, Extend::no);
    ensureVisible(row, true);
}

int DiffView::rowHeight() const
{
    return DiffPainter::rowHeight(fontMetrics());
}

void DiffView::relayout()
{
    // Characters are shown as they are, not as the signs that some fonts make of several.
    QFont font = Theme::monospace();
    font.setStyleStrategy(QFont::PreferNoShaping);
    setFont(font);
    m_changes = m_layout.changes();
    m_current = std::clamp<qsizetype>(m_current, 0, std::max<qsizetype>(m_layout.rowCount() - 1, 0));
    m_anchor = std::clamp<qsizetype>(m_anchor, 0, std::max<qsizetype>(m_layout.rowCount() - 1, 0));
    arrange();
    viewport()->update();
}

void DiffView::arrange()
{
    if (!m_content)
        return;
    const int height = viewport()->height();
    verticalScrollBar()->setRange(0, int(std::max<qsizetype>(m_layout.rowCount() * rowHeight() - height, 0)));
    verticalScrollBar()->setSingleStep(rowHeight());
    verticalScrollBar()->setPageStep(height);
    const DiffPainter painter(*m_content, *this, 0);
    const int room = painter.textRect(QRect(0, 0, viewport()->width(), 1), DiffSide::left).width();
    const int wanted = int((m_content->columns + 2) * fontMetrics().horizontalAdvance(u'0'));
    horizontalScrollBar()->setRange(0, std::max(wanted - room, 0));
    horizontalScrollBar()->setSingleStep(4 * fontMetrics().horizontalAdvance(u'0'));
    horizontalScrollBar()->setPageStep(room);
}

qsizetype DiffView::rowAt(int y) const
{
    const qsizetype row = (y + verticalScrollBar()->value()) / rowHeight();
    return std::clamp<qsizetype>(row, 0, m_layout.rowCount() - 1);
}

DiffSide DiffView::sideAt(int x) const
{
    return x < viewport()->width() / 2 ? DiffSide::left : DiffSide::right;
}

DiffPlace DiffView::place() const
{
    // A row without a line of this side stands where the next one with a line does.
    for (qsizetype row = m_current; row < m_layout.rowCount(); ++row) {
        const DiffLayout::Row here = m_layout.row(row);
        for (const DiffSide side : {m_side, m_side == DiffSide::left ? DiffSide::right : DiffSide::left}) {
            if (here.line(side) >= 0)
                return {side, here.line(side)};
        }
    }
    return {};
}

std::optional<DiffLayout::Row> DiffView::currentRow() const
{
    return m_content ? std::optional(m_layout.row(m_current)) : std::nullopt;
}

void DiffView::setCurrent(qsizetype row, Extend extend)
{
    m_current = std::clamp<qsizetype>(row, 0, m_layout.rowCount() - 1);
    if (extend == Extend::no)
        m_anchor = m_current;
    ensureVisible(m_current, false);
    viewport()->update();
    emit currentChanged();
}

/// In the middle where it is out of sight and asked for; else only just in sight.
void DiffView::ensureVisible(qsizetype row, bool isInMiddle)
{
    const int top = int(row) * rowHeight();
    const int value = verticalScrollBar()->value();
    const int height = viewport()->height();
    const bool isInSight = top >= value && top + rowHeight() <= value + height;
    if (isInSight)
        return;
    if (isInMiddle)
        verticalScrollBar()->setValue(top - height / 3);
    else
        verticalScrollBar()->setValue(top < value ? top : top + rowHeight() - height);
}

void DiffView::setFolded(bool isFolded)
{
    if (!m_content)
        return;
    const DiffPlace here = place();
    const int inSight = int(m_current) * rowHeight() - verticalScrollBar()->value();
    m_layout.setFolded(isFolded);
    relayout();
    setCurrent(m_layout.rowOf(here.side, here.line), Extend::no);
    // What is looked at stays where it was on the screen.
    verticalScrollBar()->setValue(int(m_current) * rowHeight() - inSight);
}

void DiffView::unfold(qsizetype row)
{
    m_layout.unfold(row);
    relayout();
    setCurrent(row, Extend::no);
}

qsizetype DiffView::currentChange() const
{
    const auto next = std::ranges::upper_bound(m_changes, m_current);
    if (next == m_changes.begin() || m_layout.row(m_current).kind != Kind::changed)
        return 0;
    return next - m_changes.begin();
}

bool DiffView::stepChange(int step)
{
    const auto next =
        step > 0 ? std::ranges::upper_bound(m_changes, m_current) : std::ranges::lower_bound(m_changes, m_current);
    if (step > 0 ? next == m_changes.end() : next == m_changes.begin())
        return false;
    const qsizetype row = step > 0 ? *next : *(next - 1);
    ensureVisible(row, true);
    setCurrent(row, Extend::no);
    return true;
}

void DiffView::setNeedle(const QString &text)
{
    m_needle = text;
    viewport()->update();
}

bool DiffView::stepHit(DiffSearch::Step step)
{
    if (!m_content)
        return false;
    const auto hit = DiffSearch::find(*m_content, m_layout, place(), m_needle, step);
    if (!hit)
        return false;
    m_side = hit->side;
    const qsizetype row = m_layout.reveal(hit->side, hit->line);
    relayout();
    ensureVisible(row, true);
    setCurrent(row, Extend::no);
    const DiffText &text = hit->side == DiffSide::left ? m_content->left.text : m_content->right.text;
    const qsizetype column = text.line(hit->line).indexOf(m_needle, 0, Qt::CaseInsensitive);
    const int left = int(column) * fontMetrics().horizontalAdvance(u'0');
    if (left < horizontalScrollBar()->value() ||
        left > horizontalScrollBar()->value() + horizontalScrollBar()->pageStep())
        horizontalScrollBar()->setValue(left - horizontalScrollBar()->pageStep() / 2);
    return true;
}

QString DiffView::selectedText() const
{
    if (!m_content)
        return {};
    const DiffText &text = m_side == DiffSide::left ? m_content->left.text : m_content->right.text;
    // The lines of one text follow each other, whatever lies between the ends.
    qsizetype first = std::min(m_anchor, m_current);
    qsizetype last = std::max(m_anchor, m_current);
    while (first < last && m_layout.row(first).line(m_side) < 0)
        ++first;
    while (last > first && m_layout.row(last).line(m_side) < 0)
        --last;
    const qsizetype from = m_layout.row(first).line(m_side);
    if (from < 0)
        return {};
    const DiffLayout::Row end = m_layout.row(last);
    const qsizetype to = end.line(m_side) + std::max<qsizetype>(end.folded - 1, 0);
    return text.text().sliced(text.start(from), text.start(to) + text.line(to).size() - text.start(from));
}

void DiffView::copy() const
{
    if (const QString text = selectedText(); !text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

void DiffView::selectAll()
{
    m_anchor = 0;
    m_current = m_layout.rowCount() - 1;
    viewport()->update();
}

void DiffView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), Theme::color(Theme::Color::base));
    if (!m_content || m_layout.rowCount() == 0)
        return;
    const DiffPainter rows(*m_content, *this, horizontalScrollBar()->value());
    const auto [first, last] = std::minmax(m_anchor, m_current);
    for (qsizetype row = rowAt(event->rect().top()); row <= rowAt(event->rect().bottom()); ++row) {
        const QRect rect(0, int(row * rowHeight()) - verticalScrollBar()->value(), viewport()->width(), rowHeight());
        DiffPainter::State state{m_side, row >= first && row <= last, row == m_current, hasFocus()};
        rows.paint(painter, rect, m_layout.row(row), state, m_needle);
    }
    painter.fillRect(QRect(viewport()->width() / 2, 0, 1, viewport()->height()), Theme::color(Theme::Color::border));
}

void DiffView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    arrange();
}

void DiffView::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::StyleChange || event->type() == QEvent::FontChange)
        arrange();
}

bool DiffView::moveByKey(const QKeyEvent &event)
{
    const qsizetype page = std::max(viewport()->height() / rowHeight() - 1, 1);
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
    if (m_content && event->buttons().testFlag(Qt::LeftButton))
        setCurrent(rowAt(event->position().toPoint().y()), Extend::yes);
}

void DiffView::contextMenuEvent(QContextMenuEvent *event)
{
    if (!m_content)
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
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
