// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/TerminalPen.h"

#include <QByteArray>

#include <array>
#include <span>

namespace moorix {

/// A whole control sequence ("CSI"), such as ESC [ ? 25 h.
struct TerminalSequence
{
    /// One of <=>? or 0.
    char leader = 0;
    /// The last of the characters from blank to slash before the end, or 0; more than one makes a sequence unknown.
    char intermediate = 0;
    char final = 0;
    /// At least one, with an absent value if there is none.
    std::span<const TerminalPen::Parameter> parameters;

    int value(std::size_t index, int fallback) const
    {
        return index < parameters.size() && parameters[index].value != TerminalPen::Parameter::absent
                   ? parameters[index].value
                   : fallback;
    }
};

/// One number for each kind of sequence.
constexpr int sequenceKey(char final, char intermediate = 0, char leader = 0)
{
    return leader << 16 | intermediate << 8 | final;
}

/// Takes the bytes of a program apart, however they were cut into pieces, into what an interpreter can rely on: it
/// gets whole characters and whole sequences only, with numbers in bounds and nothing of unbounded length.
class TerminalStreamGate final
{
public:
    static constexpr int largestNumber = 9999;
    static constexpr std::size_t mostParameters = 32;
    /// Longer strings are dropped as a whole: enough for half a megabyte of clipboard.
    static constexpr qsizetype longestString = 1024 * 1024;

    class Receiver
    {
    public:
        /// Valid UTF-8 and controls below blank; no escape, no controls above 0x7F, nothing without a width.
        virtual void plain(QByteArrayView bytes) = 0;
        /// A character that belongs to the one before: a mark, a joiner, or the second half of a flag.
        virtual void combining(char32_t character) = 0;
        /// An escape sequence without the escape, such as "7" or "(0".
        virtual void escape(QByteArrayView bytes) = 0;
        virtual void sequence(const TerminalSequence &sequence) = 0;
        virtual void operatingSystemCommand(QByteArrayView text) = 0;
        virtual void deviceControl(QByteArrayView text) = 0;

    protected:
        ~Receiver() = default;
    };

    /// The receiver must outlive the gate.
    explicit TerminalStreamGate(Receiver &receiver);

    void feed(QByteArrayView bytes);
    /// Forgets what has begun and not ended.
    void reset();
    /// How the last operating system command ended, which is how its answer ends.
    QByteArrayView commandEnd() const { return m_endedByBell ? "\a" : "\x1b\\"; }

private:
    enum class String { none, operatingSystemCommand, deviceControl, ignored };

    const char *text(const char *at, const char *end);
    const char *special(const char *at, const char *end);
    const char *escape(const char *at, const char *end);
    const char *sequence(const char *at, const char *end);
    const char *string(const char *at, const char *end);
    void passControls(const char *at, const char *end);
    void startString(char kind);
    void endString();

    Receiver &m_receiver;
    /// The beginning of a character or sequence whose end has not come yet; a few dozen bytes at most.
    QByteArray m_held;
    String m_string = String::none;
    /// What came of the string; too long, it is dropped and marked so.
    QByteArray m_text;
    bool m_tooLong = false;
    bool m_escapeInString = false;
    bool m_endedByBell = false;
    /// Those of the sequence that is being read.
    std::array<TerminalPen::Parameter, mostParameters> m_parameters;
    /// Within a control sequence that is too long to be one.
    bool m_skipsSequence = false;
    /// The character before, 0 if nothing can join it.
    char32_t m_last = 0;
};

} // namespace moorix
