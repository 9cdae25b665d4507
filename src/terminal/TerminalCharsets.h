// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>

#include <array>
#include <string>

namespace moorix {

/// The character sets that a program has chosen for ASCII: ASCII itself, the line drawing one, the British one. Others
/// count as ASCII.
class TerminalCharsets final
{
public:
    /// Whether it was an escape sequence of character sets, such as "(0" or "N".
    bool escape(QByteArrayView bytes);
    /// A control above carriage return chooses a set, perhaps.
    void control(char control);
    /// Nothing is to be translated in these bytes, whatever their controls choose.
    bool leaves(QByteArrayView bytes) const;
    /// Whole characters of UTF-8 and controls, with the controls that choose a set taken out.
    std::string translated(QByteArrayView bytes);

    friend bool operator==(const TerminalCharsets &, const TerminalCharsets &) = default;

private:
    /// By the last character of the sequence that chooses them: B, 0 or A.
    std::array<char, 4> m_sets{'B', 'B', 'B', 'B'};
    /// The one that is used.
    quint8 m_used = 0;
    /// The one that is used for the next character only, or 0.
    quint8 m_once = 0;
    bool m_allAscii = true;
};

} // namespace moorix
