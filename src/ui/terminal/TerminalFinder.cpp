// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalFinder.h"

#include <QElapsedTimer>
#include <QLocale>

#include <algorithm>

namespace moorix {

namespace {

constexpr qint64 linesAtOnce = 200;
constexpr qint64 sliceMilliseconds = 4;
constexpr int settleMilliseconds = 150;

} // namespace

TerminalFinder::TerminalFinder(const TerminalEmulator &emulator, QObject *parent)
    : QObject(parent)
    , m_emulator(emulator)
{
    m_again.setSingleShot(true);
    m_again.setInterval(settleMilliseconds);
    connect(&m_slices, &QTimer::timeout, this, &TerminalFinder::scanSlice);
    connect(&m_again, &QTimer::timeout, this, &TerminalFinder::scanAgain);
}

void TerminalFinder::setNeedle(const QString &needle, Qt::CaseSensitivity sensitivity)
{
    m_needle = needle;
    m_sensitivity = sensitivity;
    restart();
}

void TerminalFinder::restart()
{
    m_current = {};
    m_starts.clear();
    m_scannedTo = m_emulator.firstLine();
    m_settled = m_scannedTo;
    m_isComplete = true;
    m_again.stop();
    m_slices.stop();
    if (!m_needle.isEmpty())
        scanAgain();
}

void TerminalFinder::textChanged()
{
    if (!m_needle.isEmpty() && !m_again.isActive())
        m_again.start();
}

void TerminalFinder::scanAgain()
{
    if (m_emulator.endLine() < m_scannedTo)
        return restart();
    // A line that had not ended may be found to hold more now.
    while (m_settled > m_emulator.firstLine() && m_emulator.wraps(m_settled - 1))
        --m_settled;
    const auto isBefore = [](TerminalPoint point, qint64 line) { return point.line < line; };
    m_starts.erase(std::lower_bound(m_starts.begin(), m_starts.end(), std::min(m_settled, m_scannedTo), isBefore),
                   m_starts.end());
    m_starts.erase(m_starts.begin(),
                   std::lower_bound(m_starts.begin(), m_starts.end(), m_emulator.firstLine(), isBefore));
    m_scannedTo = std::max(std::min(m_settled, m_scannedTo), m_emulator.firstLine());
    m_settled = m_emulator.screenLine();
    m_isComplete = false;
    m_slices.start(0);
}

void TerminalFinder::scanSlice()
{
    QElapsedTimer clock;
    clock.start();
    while (m_scannedTo < m_emulator.endLine() && int(m_starts.size()) < most && clock.elapsed() < sliceMilliseconds) {
        m_scannedTo = std::max(m_scannedTo, m_emulator.firstLine());
        const qint64 end = std::min(m_scannedTo + linesAtOnce, m_emulator.endLine());
        for (const TerminalRange &hit : m_emulator.findAll(m_needle, m_scannedTo, end, m_sensitivity)) {
            // Over wrapped lines it may begin above, and was counted there.
            if (m_starts.empty() || hit.start > m_starts.back())
                m_starts.push_back(hit.start);
        }
        m_scannedTo = end;
    }
    if (m_scannedTo >= m_emulator.endLine() || int(m_starts.size()) >= most) {
        m_slices.stop();
        m_isComplete = true;
        emit counted();
    }
}

std::optional<TerminalRange> TerminalFinder::step(bool isBackward, TerminalPoint from)
{
    if (m_needle.isEmpty())
        return std::nullopt;
    const TerminalPoint top{m_emulator.firstLine(), 0};
    const TerminalPoint bottom{m_emulator.endLine(), 0};
    std::optional<TerminalRange> found;
    if (isBackward) {
        found = m_emulator.findBackward(m_needle, m_current.isEmpty() ? from : m_current.start, m_sensitivity);
        if (!found)
            found = m_emulator.findBackward(m_needle, bottom, m_sensitivity);
    } else {
        const TerminalPoint after{m_current.start.line, m_current.start.column + 1};
        found = m_emulator.findForward(m_needle, m_current.isEmpty() ? from : after, m_sensitivity);
        if (!found)
            found = m_emulator.findForward(m_needle, top, m_sensitivity);
    }
    m_current = found.value_or(TerminalRange{});
    emit counted();
    return found;
}

std::vector<TerminalRange> TerminalFinder::hits(qint64 firstLine, qint64 endLine) const
{
    if (m_needle.isEmpty())
        return {};
    return m_emulator.findAll(m_needle, std::max(firstLine, m_emulator.firstLine()),
                              std::min(endLine, m_emulator.endLine()), m_sensitivity);
}

QString TerminalFinder::countText() const
{
    if (m_needle.isEmpty() || (!m_isComplete && m_current.isEmpty()))
        return {};
    if (!m_isComplete)
        return tr("…");
    const int total = int(m_starts.size());
    if (total == 0)
        return tr("No matches");
    if (total >= most)
        return tr("more than %L1").arg(most - 1);
    const auto place = std::lower_bound(m_starts.begin(), m_starts.end(), m_current.start);
    if (m_current.isEmpty() || place == m_starts.end() || *place != m_current.start)
        return tr("%L1 found").arg(total);
    return tr("%L1 of %L2").arg(place - m_starts.begin() + 1).arg(total);
}

} // namespace moorix
