// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalAccessible.h"

#include "ui/terminal/TerminalReader.h"
#include "ui/terminal/TerminalWidget.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

QAccessibleInterface *make(const QString & /*className*/, QObject *object)
{
    auto *const terminal = qobject_cast<TerminalWidget *>(object);
    return terminal ? new TerminalAccessible(*terminal) : nullptr;
}

const TerminalStyle *styleAt(const TerminalEmulator &emulator, TerminalPoint point)
{
    const std::span<const TerminalCell> cells = emulator.line(point.line);
    return point.column < int(cells.size()) ? &cells[std::size_t(point.column)].style : nullptr;
}

/// As accessibility has them: "name:value;" each.
QString described(const TerminalStyle *style)
{
    QString text;
    if (style && style->bold)
        text += u"font-weight:bold;"_s;
    if (style && style->italic)
        text += u"font-style:italic;"_s;
    if (style && style->underline != TerminalUnderline::none)
        text += u"text-underline-style:solid;"_s;
    return text;
}

} // namespace

void TerminalAccessible::install()
{
    QAccessible::installFactory(make);
}

TerminalAccessible::TerminalAccessible(TerminalWidget &terminal)
    : QAccessibleWidget(&terminal, QAccessible::Terminal)
{
}

TerminalWidget &TerminalAccessible::terminal() const
{
    return *static_cast<TerminalWidget *>(widget());
}

const TerminalTranscript &TerminalAccessible::transcript() const
{
    return terminal().reader().transcript();
}

void *TerminalAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State TerminalAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.multiLine = true;
    state.selectableText = true;
    return state;
}

int TerminalAccessible::characterCount() const
{
    return transcript().length();
}

QString TerminalAccessible::text(int start, int end) const
{
    const TerminalTranscript &transcript = this->transcript();
    start = std::clamp(start, 0, transcript.length());
    end = end < 0 ? transcript.length() : std::clamp(end, start, transcript.length());
    return transcript.text().sliced(start, end - start);
}

/// The row of a character, unless it is none.
QString TerminalAccessible::row(int inside, int *start, int *end) const
{
    *start = *end = -1;
    if (inside < 0 || inside > characterCount())
        return {};
    const TerminalTranscript::Extent row = transcript().rowAt(inside);
    *start = row.start;
    *end = row.end;
    return text(row.start, row.end);
}

QString TerminalAccessible::textBeforeOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const
{
    if (type != QAccessible::LineBoundary)
        return QAccessibleTextInterface::textBeforeOffset(offset, type, start, end);
    return row(transcript().rowAt(offset).start - 1, start, end);
}

QString TerminalAccessible::textAtOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const
{
    if (type != QAccessible::LineBoundary)
        return QAccessibleTextInterface::textAtOffset(offset, type, start, end);
    return row(offset, start, end);
}

QString TerminalAccessible::textAfterOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const
{
    if (type != QAccessible::LineBoundary)
        return QAccessibleTextInterface::textAfterOffset(offset, type, start, end);
    const int next = transcript().rowAt(offset).end;
    return row(next < characterCount() ? next : -1, start, end);
}

int TerminalAccessible::cursorPosition() const
{
    return transcript().cursor();
}

void TerminalAccessible::setCursorPosition(int /*position*/) {}

int TerminalAccessible::selectionCount() const
{
    return terminal().selection().isEmpty() ? 0 : 1;
}

void TerminalAccessible::selection(int index, int *start, int *end) const
{
    *start = *end = 0;
    if (index != 0 || selectionCount() == 0)
        return;
    const TerminalRange range = terminal().selection().range();
    *start = transcript().offsetOf(range.start);
    *end = transcript().offsetOf(range.end);
}

void TerminalAccessible::addSelection(int start, int end)
{
    terminal().select(transcript().pointAt(start), transcript().pointAt(end));
}

void TerminalAccessible::removeSelection(int index)
{
    if (index == 0)
        terminal().select({}, {});
}

void TerminalAccessible::setSelection(int index, int start, int end)
{
    if (index == 0)
        addSelection(start, end);
}

QRect TerminalAccessible::characterRect(int offset) const
{
    const TerminalPoint point = transcript().pointAt(offset);
    const TerminalGeometry &geometry = terminal().geometry();
    if (offset < 0 || offset > characterCount() || !geometry.shows(point.line))
        return {};
    const std::span<const TerminalCell> cells = terminal().emulator().line(point.line);
    const int columns = point.column < int(cells.size()) ? std::max<int>(cells[std::size_t(point.column)].width, 1) : 1;
    const QRect rect = geometry.rect(point, columns).toAlignedRect();
    return {terminal().viewport()->mapToGlobal(rect.topLeft()), rect.size()};
}

int TerminalAccessible::offsetAtPoint(const QPoint &point) const
{
    const QPoint inside = terminal().viewport()->mapFromGlobal(point);
    return terminal().viewport()->rect().contains(inside) ? transcript().offsetOf(terminal().geometry().cellAt(inside))
                                                          : -1;
}

void TerminalAccessible::scrollToSubstring(int start, int /*end*/)
{
    terminal().reveal(transcript().pointAt(start).line);
}

QString TerminalAccessible::attributes(int offset, int *start, int *end) const
{
    const TerminalTranscript &transcript = this->transcript();
    const TerminalEmulator &emulator = terminal().emulator();
    const auto at = [&](int place) { return described(styleAt(emulator, transcript.pointAt(place))); };
    const TerminalTranscript::Extent row = transcript.rowAt(offset);
    const QString found = at(offset);
    *start = *end = std::clamp(offset, 0, transcript.length());
    while (*start > row.start && at(*start - 1) == found)
        --*start;
    while (*end < row.end && at(*end) == found)
        ++*end;
    return found;
}

} // namespace moorix
