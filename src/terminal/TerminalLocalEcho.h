// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "terminal/TerminalEmulator.h"

#include <QObject>
#include <QSet>
#include <QTimer>

#include <optional>
#include <utility>
#include <vector>

namespace moorix {

/// Guesses what a server far away will show of typed characters, so that they can be painted over the emulator's screen
/// before the echo arrives. Nothing is ever written into the screen: a guess goes as soon as the screen shows it, when
/// the screen shows something else there, and after a second.
///
/// So that nothing is painted where nothing is echoed, a guess is kept to itself until the line it is on has echoed a
/// character since the last Enter, or another line that began with the same prompt has. Lines without a prompt and
/// those that ask for a password are not taken for others. Other keys than printable ones and backspace (over guesses)
/// move the cursor nobody knows where to: guessing pauses for twice the server's delay then. So it does in full-screen
/// programs, in front of text, and at the right margin. Main thread.
class TerminalLocalEcho final : public QObject
{
    Q_OBJECT

public:
    /// Follows `emulator`, which outlives it.
    explicit TerminalLocalEcho(const TerminalEmulator &emulator, Clock clock = systemNow, QObject *parent = nullptr);

    void setEnabled(bool isEnabled);
    bool isEnabled() const { return m_isEnabled; }

    /// The user caused these bytes, which have been sent.
    void typed(const QByteArray &bytes);

    /// Nothing that was typed will be answered any more.
    void forget() { pause(); }

    /// What to paint over the screen; none twice.
    std::vector<std::pair<TerminalPoint, QString>> cells() const;
    /// Where the cursor will be; nothing where it is.
    std::optional<TerminalPoint> cursor() const;

signals:
    /// What is to be painted has changed.
    void changed();

private:
    struct Guess
    {
        TerminalPoint place;
        char32_t character = 0;
        int width = 1;
        QDateTime typedAt;
        /// What the screen held there, and what was typed there and erased again, which it may show for a moment.
        QString before;
        QStringList earlier;
    };

    void guess(char32_t character);
    void erase();
    /// Something was sent whose effect is not known.
    void pause();
    void drop();
    void compare();
    void expire();
    void confirm(const Guess &guess);
    bool begin();
    bool mayGuess() const;
    QString shownAt(TerminalPoint place) const;
    QString textBefore(TerminalPoint place) const;
    bool isBlankFrom(TerminalPoint place) const;

    const TerminalEmulator &m_emulator;
    Clock m_clock;
    QTimer m_expiry;
    bool m_isEnabled = false;
    std::vector<Guess> m_guesses;
    /// Guesses that were erased again and whose echo is still on its way.
    std::vector<Guess> m_erased;
    /// Where the next character goes, as long as anything is on its way.
    std::optional<TerminalPoint> m_next;
    /// Whether the guesses are painted.
    bool m_isEchoing = false;
    /// The line that has echoed since the last Enter.
    std::optional<qint64> m_echoingLine;
    QString m_prompt;
    QSet<QString> m_echoingPrompts;
    QDateTime m_pausedAt;
    qint64 m_delay = 250;
};

} // namespace moorix
