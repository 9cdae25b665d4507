// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalTranscript.h"

#include <QAccessible>
#include <QTimer>

#include <optional>

class QWidget;

namespace moorix {

/// Tells screen readers what has become of a terminal's text, a moment after it has: what was added, what is gone, and
/// where the cursor is. Costs nothing as long as there is no screen reader. Main thread.
class TerminalReader final : public QObject, private QAccessible::ActivationObserver
{
    Q_OBJECT

public:
    /// `widget` is what shows the terminal. Both must outlive the reader.
    TerminalReader(TerminalEmulator &emulator, QWidget &widget);
    ~TerminalReader() override;

    /// The text as it is now.
    const TerminalTranscript &transcript();
    void tellSelection(const TerminalRange &range);

signals:
    /// What screen readers are told, for the time of the call.
    void telling(QAccessibleEvent *event);

private:
    void accessibilityActiveChanged(bool active) override;
    void follow();
    void tell();
    void tellText(const TerminalTranscript &now);
    void send(QAccessibleEvent &event);

    TerminalEmulator &m_emulator;
    QWidget &m_widget;
    QTimer m_timer;
    TerminalTranscript m_transcript;
    bool m_isOld = true;
    bool m_isHeard;
    /// What was told, if anything.
    std::optional<TerminalTranscript> m_told;
};

} // namespace moorix
