// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalEmulator.h"

#include <QTimer>

#include <optional>
#include <vector>

namespace moorix {

/// Looks for a text in a terminal. The next place is found at once; all of them are counted in slices, so that a long
/// scrollback holds nothing up, and again when there is new output.
class TerminalFinder final : public QObject
{
    Q_OBJECT

public:
    /// No more are counted than this.
    static constexpr int most = 10'000;

    explicit TerminalFinder(const TerminalEmulator &emulator, QObject *parent = nullptr);

    /// An empty text ends the search.
    void setNeedle(const QString &needle, Qt::CaseSensitivity sensitivity);
    const QString &needle() const { return m_needle; }
    /// The next place above or below the current one, or above `from` at first; goes on at the other end.
    std::optional<TerminalRange> step(bool isBackward, TerminalPoint from);
    /// Empty while there is none.
    const TerminalRange &current() const { return m_current; }
    std::vector<TerminalRange> hits(qint64 firstLine, qint64 endLine) const;
    /// "3 of 28", "No matches", …; empty without a needle.
    QString countText() const;
    bool hasFailed() const { return !m_needle.isEmpty() && m_isComplete && m_starts.empty(); }
    void textChanged();
    /// No place is where it was.
    void restart();

signals:
    void counted();

private:
    void scanAgain();
    void scanSlice();

    const TerminalEmulator &m_emulator;
    QString m_needle;
    Qt::CaseSensitivity m_sensitivity = Qt::CaseInsensitive;
    TerminalRange m_current;
    /// Where the places found so far begin, in order.
    std::vector<TerminalPoint> m_starts;
    qint64 m_scannedTo = 0;
    /// Lines above this one no longer change.
    qint64 m_settled = 0;
    bool m_isComplete = true;
    QTimer m_slices;
    QTimer m_again;
};

} // namespace moorix
