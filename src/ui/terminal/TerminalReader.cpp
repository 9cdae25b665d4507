// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalReader.h"

#include <QWidget>

#include <algorithm>

namespace moorix {

namespace {

/// Programs write a line in several pieces, and a flood is not read out line by line.
constexpr int restMilliseconds = 100;

} // namespace

TerminalReader::TerminalReader(TerminalEmulator &emulator, QWidget &widget)
    : QObject(&widget)
    , m_emulator(emulator)
    , m_widget(widget)
    , m_isHeard(QAccessible::isActive())
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TerminalReader::tell);
    connect(&emulator, &TerminalEmulator::changed, this, &TerminalReader::follow);
    QAccessible::installActivationObserver(this);
}

TerminalReader::~TerminalReader()
{
    QAccessible::removeActivationObserver(this);
}

void TerminalReader::accessibilityActiveChanged(bool active)
{
    m_isHeard = active;
    m_told.reset();
}

const TerminalTranscript &TerminalReader::transcript()
{
    if (std::exchange(m_isOld, false))
        m_transcript = TerminalTranscript(m_emulator);
    return m_transcript;
}

void TerminalReader::follow()
{
    m_isOld = true;
    if (m_isHeard && !m_timer.isActive())
        m_timer.start(restMilliseconds);
}

void TerminalReader::tellSelection(const TerminalRange &range)
{
    if (!m_isHeard)
        return;
    QAccessibleTextSelectionEvent event(&m_widget, transcript().offsetOf(range.start),
                                        transcript().offsetOf(range.end));
    send(event);
}

void TerminalReader::send(QAccessibleEvent &event)
{
    emit telling(&event);
    QAccessible::updateAccessibility(&event);
}

void TerminalReader::tell()
{
    // What went on unseen is no news when it comes to sight.
    if (!m_widget.isVisible()) {
        m_told.reset();
        return;
    }
    const TerminalTranscript &now = transcript();
    const bool isFirst = !m_told;
    const int oldCursor = isFirst ? -1 : m_told->cursor();
    if (!isFirst)
        tellText(now);
    m_told = now;
    if (now.cursor() != oldCursor) {
        QAccessibleTextCursorEvent event(&m_widget, now.cursor());
        send(event);
    }
}

/// Lines that have left at the top first; of the rest what is not the same from the start on and up to the end.
void TerminalReader::tellText(const TerminalTranscript &now)
{
    QString old = m_told->text();
    const int gone = m_told->startOf(now.pointAt(0).line);
    if (gone > 0) {
        QAccessibleTextRemoveEvent event(&m_widget, 0, old.first(gone));
        send(event);
        old.remove(0, gone);
    }
    const QString &text = now.text();
    const qsizetype shared = std::min(old.size(), text.size());
    const qsizetype start = std::mismatch(old.begin(), old.begin() + shared, text.begin()).first - old.begin();
    const auto ends = std::mismatch(old.rbegin(), old.rbegin() + (shared - start), text.rbegin());
    const qsizetype same = ends.first - old.rbegin();
    const QString removed = old.sliced(start, old.size() - same - start);
    const QString added = text.sliced(start, text.size() - same - start);
    if (removed.isEmpty() && added.isEmpty())
        return;
    if (removed.isEmpty()) {
        QAccessibleTextInsertEvent event(&m_widget, int(start), added);
        send(event);
    } else if (added.isEmpty()) {
        QAccessibleTextRemoveEvent event(&m_widget, int(start), removed);
        send(event);
    } else {
        QAccessibleTextUpdateEvent event(&m_widget, int(start), removed, added);
        send(event);
    }
}

} // namespace moorix
