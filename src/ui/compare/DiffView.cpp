// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffView.h"

#include "ui/Theme.h"
#include "ui/compare/DiffOverview.h"
#include "ui/compare/DiffPainter.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>

#include <algorithm>

namespace moorix {

using Kind = DiffLayout::Row::Kind;

DiffView::DiffView(QWidget *parent)
    : QAbstractScrollArea(parent)
    , m_overview(new DiffOverview(this))
{
    setObjectName(QStringLiteral("diffView"));
    setAccessibleName(tr("Both files, line by line"));
    setFrameShape(NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setViewportMargins(0, 0, DiffOverview::usualWidth(), 0);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setMouseTracking(true);
    connect(m_overview, &DiffOverview::wanted, this, [this](double place) {
        const int whole = verticalScrollBar()->maximum() + verticalScrollBar()->pageStep();
        verticalScrollBar()->setValue(int(place * whole) - verticalScrollBar()->pageStep() / 2);
    });
}

void DiffView::setContent(std::shared_ptr<const DiffContent> content, DiffSide steady)
{
    const bool isAnew = m_content != nullptr;
    const DiffPlace before = isAnew ? place(steady) : DiffPlace();
    const auto opened = m_layout.opened(steady);
    m_content = std::move(content);
    m_layout = DiffLayout(m_content->runs);
    m_layout.setFolded(m_isFolded);
    // Where nothing is folded, what is open says nothing of later.
    if (m_isFolded)
        m_layout.open(steady, opened);
    const qsizetype last = m_content->side(before.side).text.lineCount() - 1;
    const std::vector<qsizetype> changes = m_layout.changes();
    const qsizetype row = isAnew            ? m_layout.reveal(before.side, std::min(before.line, last))
                          : changes.empty() ? 0
                                            : changes.front();
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
    m_hovered.reset();
    measure();
    arrange();
    viewport()->update();
}

/// Wrapped lines are counted anew only where there is another room for them, or they are others.
/// With the font of the view: that of its viewport is the program's as soon as a style sheet has been applied.
DiffPainter DiffView::rowPainter(int scrolled) const
{
    return {*m_content, font(), viewport()->size(), scrolled, m_wrap};
}

void DiffView::measure()
{
    if (!m_content)
        return;
    m_wrap = LineWrap(m_isWrapped ? rowPainter().columnsIn(viewport()->width()) : 0, DiffContent::tabWidth);
    m_heights = DiffHeights(*m_content, m_layout, m_wrap);
    m_overview->setChanges(m_layout, m_heights);
}

void DiffView::arrange()
{
    if (!m_content)
        return;
    const int height = viewport()->height();
    verticalScrollBar()->setRange(0, int(std::max<qsizetype>(m_heights.total() * rowHeight() - height, 0)));
    verticalScrollBar()->setSingleStep(rowHeight());
    verticalScrollBar()->setPageStep(height);
    const int room = rowPainter().textRect(QRect(0, 0, viewport()->width(), 1), DiffSide::left).width();
    const int wanted = int((m_content->columns + 2) * fontMetrics().horizontalAdvance(u'0'));
    horizontalScrollBar()->setRange(0, m_isWrapped ? 0 : std::max(wanted - room, 0));
    horizontalScrollBar()->setSingleStep(4 * fontMetrics().horizontalAdvance(u'0'));
    horizontalScrollBar()->setPageStep(room);
    followOverview();
}

void DiffView::followOverview()
{
    const double whole = double(std::max<qsizetype>(m_heights.total() * rowHeight(), viewport()->height()));
    const int value = verticalScrollBar()->value();
    m_overview->setInSight(value / whole, (value + viewport()->height()) / whole);
}

qsizetype DiffView::rowAt(int y) const
{
    return m_heights.rowAt((y + verticalScrollBar()->value()) / rowHeight());
}

QRect DiffView::rowRect(qsizetype row) const
{
    return {0, int(m_heights.top(row) * rowHeight()) - verticalScrollBar()->value(), viewport()->width(),
            int(m_heights.height(row)) * rowHeight()};
}

bool DiffView::startsHunk(qsizetype row) const
{
    return std::ranges::binary_search(m_changes, row);
}

QRect DiffView::copyButton(qsizetype row, DiffSide to) const
{
    return rowPainter().buttonRect(rowRect(row), to);
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
        for (const DiffSide side : {m_side, otherSide(m_side)}) {
            if (here.line(side) >= 0)
                return {side, here.line(side)};
        }
    }
    return {};
}

DiffPlace DiffView::place(DiffSide side) const
{
    for (qsizetype row = m_current; row < m_layout.rowCount(); ++row) {
        if (const qsizetype line = m_layout.row(row).line(side); line >= 0)
            return {side, line};
    }
    return {side, m_content->side(side).text.lineCount() - 1};
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
    const int top = int(m_heights.top(row)) * rowHeight();
    const int value = verticalScrollBar()->value();
    const int height = viewport()->height();
    // Of a row that is higher than the window the beginning is enough.
    const int needed = std::min(int(m_heights.height(row)) * rowHeight(), height);
    const bool isInSight = top >= value && top + needed <= value + height;
    if (isInSight)
        return;
    if (isInMiddle)
        verticalScrollBar()->setValue(top - height / 3);
    else
        verticalScrollBar()->setValue(top < value ? top : top + needed - height);
}

void DiffView::setFolded(bool isFolded)
{
    m_isFolded = isFolded;
    if (!m_content)
        return;
    const DiffPlace here = place();
    const int inSight = rowRect(m_current).top();
    m_layout.setFolded(isFolded);
    relayout();
    setCurrent(m_layout.rowOf(here.side, here.line), Extend::no);
    // What is looked at stays where it was on the screen.
    verticalScrollBar()->setValue(int(m_heights.top(m_current)) * rowHeight() - inSight);
}

void DiffView::setWrapped(bool isWrapped)
{
    m_isWrapped = isWrapped;
    if (!m_content)
        return;
    const int inSight = rowRect(m_current).top();
    relayout();
    verticalScrollBar()->setValue(int(m_heights.top(m_current)) * rowHeight() - inSight);
    ensureVisible(m_current, false);
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

std::optional<DiffLayout::Hunk> DiffView::currentHunk() const
{
    return m_content ? m_layout.hunkAt(m_current) : std::nullopt;
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
    const DiffText &text = m_content->side(hit->side).text;
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
    const DiffText &text = m_content->side(m_side).text;
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
    const DiffPainter rows = rowPainter(horizontalScrollBar()->value());
    const auto [first, last] = std::minmax(m_anchor, m_current);
    for (qsizetype row = rowAt(event->rect().top()); row <= rowAt(event->rect().bottom()); ++row) {
        DiffPainter::State state{m_side, row >= first && row <= last, row == m_current, hasFocus(), startsHunk(row)};
        if (m_hovered && m_hovered->row == row)
            state.hovered = m_hovered->to;
        rows.paint(painter, rowRect(row), m_layout.row(row), state, m_needle);
    }
}

void DiffView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    const QRect area = viewport()->geometry();
    m_overview->setGeometry(area.right() + 1, area.top(), DiffOverview::usualWidth(), area.height());
    if (m_isWrapped && m_layout.rowCount() > 0 && event->size().width() != event->oldSize().width()) {
        const qsizetype first = rowAt(0);
        measure();
        arrange();
        verticalScrollBar()->setValue(int(m_heights.top(first)) * rowHeight());
    }
    arrange();
}

void DiffView::scrollContentsBy(int dx, int dy)
{
    QAbstractScrollArea::scrollContentsBy(dx, dy);
    followOverview();
}

void DiffView::leaveEvent(QEvent *event)
{
    QAbstractScrollArea::leaveEvent(event);
    hover({});
}

void DiffView::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::StyleChange || event->type() == QEvent::FontChange) {
        measure();
        arrange();
    }
}

} // namespace moorix
