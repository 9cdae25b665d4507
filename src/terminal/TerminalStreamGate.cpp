// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalStreamGate.h"

#include "terminal/TerminalUtf8.h"
#include "terminal/TerminalWidths.h"

#include <QChar>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

namespace moorix {

namespace {

constexpr char escapeByte = '\x1b';
constexpr std::ptrdiff_t longestSequence = 256;
constexpr std::ptrdiff_t mostIntermediates = 4;

/// From `at` to the first byte that is an escape or not ASCII.
const char *skipPlain(const char *at, const char *end)
{
    constexpr quint64 ones = 0x0101010101010101;
    constexpr quint64 highs = 0x8080808080808080;
    for (; end - at >= 8; at += 8) {
        quint64 word;
        std::memcpy(&word, at, 8);
        const quint64 escapes = word ^ (ones * uchar(escapeByte));
        if (((word | ((escapes - ones) & ~escapes)) & highs) != 0)
            break;
    }
    while (at < end && *at != escapeByte && (uchar(*at) & 0x80) == 0)
        ++at;
    return at;
}

struct Decoded
{
    /// 0 for bytes that are no character.
    char32_t character = 0;
    int length = 1;
    bool isCut = false;
};

/// The character that begins with a byte above 0x7F. Of a broken one the bytes that could have begun one are taken
/// together.
Decoded decodeAny(const char *at, const char *end)
{
    const auto first = uchar(*at);
    const int length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4)
        return {};
    char32_t character = first & (0x7F >> length);
    for (int index = 1; index < length; ++index) {
        if (at + index == end)
            return {0, index, true};
        const auto byte = uchar(at[index]);
        const uchar low = index > 1 ? 0x80 : first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
        const uchar high = index > 1 ? 0xBF : first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
        if (byte < low || byte > high)
            return {0, index, false};
        character = character << 6 | (byte & 0x3F);
    }
    return {character, length, false};
}

/// Nearly all are whole, and how long they are cannot be foretold: without branches.
inline Decoded decode(const char *at, const char *end)
{
    if (end - at < 4)
        return decodeAny(at, end);
    constexpr char32_t least[] = {0, 0x110000, 0x80, 0x800, 0x10000};
    const auto goesOn = [at](int index) { return unsigned((uchar(at[index]) & 0xC0) == 0x80); };
    const int size = TerminalUtf8::length(*at);
    const unsigned wanted = (1U << (size - 1)) - 1;
    const unsigned found = goesOn(1) | goesOn(2) << 1 | goesOn(3) << 2;
    const char32_t character = TerminalUtf8::fromFour(at, size);
    if ((found & wanted) != wanted || character < least[size] || QChar::isSurrogate(character) ||
        character > QChar::LastValidCodePoint || uchar(*at) > 0xF4)
        return decodeAny(at, end);
    return {character, size, false};
}

bool isWithoutWidth(char32_t character)
{
    // Vowels and ends of Korean syllables.
    if ((character >= 0x1160 && character <= 0x11FF) || (character >= 0xD7B0 && character <= 0xD7FF))
        return true;
    const QChar::Category category = QChar::category(character);
    return (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
            category == QChar::Other_Format) &&
           !TerminalWidths::isCorrected(character);
}

bool hasNoWidth(char32_t character)
{
    // Looked up for every letter that is not Latin.
    using Table = std::bitset<0x20000>;
    static const auto table = [] {
        auto made = std::make_unique<Table>();
        for (std::size_t each = 0x300; each < made->size(); ++each)
            made->set(each, isWithoutWidth(char32_t(each)));
        return made;
    }();
    return character < table->size() ? table->test(character) : isWithoutWidth(character);
}

/// Two of these are the flag of a country.
bool isRegional(char32_t character)
{
    return character >= 0x1F1E6 && character <= 0x1F1FF;
}

} // namespace

TerminalStreamGate::TerminalStreamGate(Receiver &receiver)
    : m_receiver(receiver)
{
}

void TerminalStreamGate::feed(QByteArrayView bytes)
{
    QByteArray joined;
    if (!m_held.isEmpty()) {
        joined = std::move(m_held);
        m_held.clear();
        joined.append(bytes);
        bytes = joined;
    }
    const char *at = bytes.begin();
    while (at != bytes.end())
        at = m_string == String::none ? text(at, bytes.end()) : string(at, bytes.end());
}

void TerminalStreamGate::reset()
{
    m_held.clear();
    m_text.clear();
    m_string = String::none;
    m_tooLong = m_escapeInString = m_skipsSequence = false;
    m_last = 0;
}

/// Hands on what may be handed on in one piece, and then what follows it.
const char *TerminalStreamGate::text(const char *at, const char *end)
{
    if (m_skipsSequence)
        return sequence(at, end);
    const char *const start = at;
    Decoded decoded;
    while (at < end) {
        if ((uchar(*at) & 0x80) == 0) {
            at = skipPlain(at, end);
            m_last = 0;
            if (at == end || *at == escapeByte)
                break;
        }
        decoded = decode(at, end);
        const char32_t character = decoded.character;
        if (character < 0xA0 || hasNoWidth(character) || (isRegional(character) && isRegional(m_last)))
            break;
        m_last = character;
        at += decoded.length;
    }
    if (at > start)
        m_receiver.plain({start, at - start});
    return at == end ? end : special(at, end);
}

const char *TerminalStreamGate::special(const char *at, const char *end)
{
    if (*at == escapeByte) {
        m_last = 0;
        return escape(at + 1, end);
    }
    const Decoded decoded = decode(at, end);
    if (decoded.isCut) {
        m_held = QByteArray(at, end - at);
        return end;
    }
    if (decoded.character == 0) {
        m_receiver.plain("\xEF\xBF\xBD");
        m_last = 0;
    } else if (decoded.character >= 0xA0) {
        m_receiver.combining(decoded.character);
        m_last = 0;
    }
    return at + decoded.length;
}

/// `at` is behind the escape; what has no end yet is held back. Controls within have their effect at once.
const char *TerminalStreamGate::escape(const char *at, const char *end)
{
    std::array<char, mostIntermediates + 1> bytes;
    qsizetype size = 0;
    const char *next = at;
    for (; next < end && (*next <= '/' || *next == '\x7f') && (uchar(*next) & 0x80) == 0; ++next) {
        if (*next == escapeByte)
            return next;
        if (*next == '\x18' || *next == '\x1a')
            return next + 1;
        if (*next < ' ')
            m_receiver.plain({next, 1});
        else if (*next != '\x7f' && size < mostIntermediates)
            bytes[std::size_t(size++)] = *next;
        else if (*next != '\x7f')
            return next;
    }
    if (next == end) {
        m_held = escapeByte + QByteArray(bytes.data(), size);
        return end;
    }
    if (size == 0 && *next == '[')
        return sequence(next + 1, end);
    if (size == 0 && std::strchr("]P_^X", *next)) {
        startString(*next);
        return next + 1;
    }
    if ((uchar(*next) & 0x80) != 0)
        return next;
    bytes[std::size_t(size++)] = *next;
    m_receiver.escape({bytes.data(), size});
    return next + 1;
}

/// `at` is behind the bracket.
const char *TerminalStreamGate::sequence(const char *at, const char *end)
{
    std::array<TerminalPen::Parameter, mostParameters> &parameters = m_parameters;
    parameters[0] = {};
    std::size_t count = 1;
    TerminalSequence found;
    bool isKnown = true;
    bool hasControls = false;
    const char *next = at;
    if (next < end && *next >= '<' && *next <= '?')
        found.leader = *next++;
    for (; next < end; ++next) {
        const char c = *next;
        if (c >= '0' && c <= '9') {
            int &value = parameters[count - 1].value;
            value = std::min((value == TerminalPen::Parameter::absent ? 0 : value) * 10 + (c - '0'), largestNumber);
            isKnown = isKnown && found.intermediate == 0;
        } else if (c == ';' || c == ':') {
            if (count < mostParameters)
                parameters[count++] = {TerminalPen::Parameter::absent, c == ':'};
            else
                isKnown = false;
        } else if (c >= '@' && c <= '~') {
            found.final = c;
            found.parameters = std::span(parameters).first(count);
            const bool isWhole = !std::exchange(m_skipsSequence, false) && next - at < longestSequence;
            if (isWhole && hasControls)
                passControls(at, next);
            if (isWhole && isKnown)
                m_receiver.sequence(found);
            return next + 1;
        } else if (c >= ' ' && c <= '/') {
            isKnown = isKnown && found.intermediate == 0;
            found.intermediate = c;
        } else if (c == escapeByte || c == '\x18' || c == '\x1a' || (uchar(c) & 0x80) != 0) {
            m_skipsSequence = false;
            return c == '\x18' || c == '\x1a' ? next + 1 : next;
        } else if (uchar(c) < ' ') {
            hasControls = true;
        } else if (c != '\x7f') {
            isKnown = false;
        }
    }
    if (end - at < longestSequence && !m_skipsSequence)
        m_held = "\x1b[" + QByteArray(at, end - at);
    else
        m_skipsSequence = true;
    return end;
}

/// Controls within a sequence have their effect before it.
void TerminalStreamGate::passControls(const char *at, const char *end)
{
    QByteArray controls;
    std::copy_if(at, end, std::back_inserter(controls), [](char c) { return uchar(c) < ' '; });
    m_receiver.plain(controls);
}

void TerminalStreamGate::startString(char kind)
{
    m_string = kind == ']' ? String::operatingSystemCommand : kind == 'P' ? String::deviceControl : String::ignored;
    m_text.clear();
    m_tooLong = m_escapeInString = false;
}

/// `at` is within a string, which ends with ESC \, or BEL if it is a command, and is abandoned by anything else that
/// begins with an escape.
const char *TerminalStreamGate::string(const char *at, const char *end)
{
    if (m_escapeInString) {
        m_escapeInString = false;
        if (*at == '\\') {
            m_endedByBell = false;
            endString();
            return at + 1;
        }
        m_string = String::none;
        m_text.clear();
        return escape(at, end);
    }
    const char *next = at;
    const bool endsWithBell = m_string == String::operatingSystemCommand;
    while (next < end && (*next != '\a' || !endsWithBell) && *next != escapeByte && *next != '\x18' && *next != '\x1a')
        ++next;
    if (m_string != String::ignored && !m_tooLong) {
        m_tooLong = m_text.size() + (next - at) > longestString;
        if (!m_tooLong)
            m_text.append(at, next - at);
    }
    if (next == end)
        return end;
    if (*next == '\a') {
        m_endedByBell = true;
        endString();
    } else if (*next == escapeByte) {
        m_escapeInString = true;
    } else {
        m_string = String::none;
    }
    return next + 1;
}

void TerminalStreamGate::endString()
{
    const String kind = std::exchange(m_string, String::none);
    const QByteArray text = std::exchange(m_text, {});
    if (m_tooLong)
        return;
    if (kind == String::operatingSystemCommand)
        m_receiver.operatingSystemCommand(text);
    else if (kind == String::deviceControl)
        m_receiver.deviceControl(text);
}

} // namespace moorix
