// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalLocalEcho.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <utility>

namespace moorix {

namespace {

constexpr qint64 lifeMilliseconds = 1000;
constexpr qsizetype mostPrompts = 64;
/// More at once is a paste.
constexpr qsizetype mostBytes = 16;

bool isErasing(char32_t character)
{
    return character == 0x7F || character == 0x08;
}

/// The columns that a character takes; 0 for what is not guessed: controls, and what joins the character before it.
int columnsOf(char32_t character)
{
    static constexpr std::array<std::pair<char32_t, char32_t>, 9> wide{{{0x1100, 0x115F},
                                                                        {0x2E80, 0x303E},
                                                                        {0x3041, 0xA4CF},
                                                                        {0xAC00, 0xD7A3},
                                                                        {0xF900, 0xFAFF},
                                                                        {0xFE30, 0xFE6F},
                                                                        {0xFF00, 0xFF60},
                                                                        {0x1F300, 0x1F64F},
                                                                        {0x20000, 0x3FFFD}}};
    if (!QChar::isPrint(character) || QChar::isMark(character) || QChar::category(character) == QChar::Other_Format)
        return 0;
    const bool isWide = std::ranges::any_of(
        wide, [character](const auto &range) { return character >= range.first && character <= range.second; });
    return isWide ? 2 : 1;
}

QString textOf(char32_t character)
{
    return QString::fromUcs4(&character, 1);
}

/// Blank cells and those that nothing was written to look alike.
QString asShown(const QString &text)
{
    return text == QStringLiteral(" ") ? QString() : text;
}

bool asksForSecret(const QString &prompt)
{
    static const QRegularExpression words(
        QStringLiteral("pass(word|phrase|code)|kennwort|passwort|secret|verification code|\\bpin\\b|token"),
        QRegularExpression::CaseInsensitiveOption);
    return words.match(prompt).hasMatch();
}

} // namespace

TerminalLocalEcho::TerminalLocalEcho(const TerminalEmulator &emulator, Clock clock, QObject *parent)
    : QObject(parent)
    , m_emulator(emulator)
    , m_clock(std::move(clock))
{
    m_expiry.setInterval(100);
    connect(&m_expiry, &QTimer::timeout, this, &TerminalLocalEcho::expire);
    connect(&emulator, &TerminalEmulator::changed, this, &TerminalLocalEcho::compare);
    connect(&emulator, &TerminalEmulator::relocated, this, &TerminalLocalEcho::pause);
}

void TerminalLocalEcho::setEnabled(bool isEnabled)
{
    m_isEnabled = isEnabled;
    if (!isEnabled)
        pause();
}

void TerminalLocalEcho::typed(const QByteArray &bytes)
{
    if (!m_isEnabled)
        return;
    expire();
    const QList<uint> characters = QString::fromUtf8(bytes).toUcs4();
    for (const char32_t character : characters) {
        if (bytes.size() > mostBytes) {
            pause();
        } else if (columnsOf(character) > 0) {
            guess(character);
        } else if (isErasing(character)) {
            erase();
        } else {
            pause();
            // Enter, and what gives a line up.
            if (character == U'\r' || character == 0x03 || character == 0x04)
                m_echoingLine.reset();
            // The rest of a key's sequence is no text.
            break;
        }
    }
    emit changed();
}

bool TerminalLocalEcho::mayGuess() const
{
    const qint64 settling = std::clamp<qint64>(2 * m_delay, 60, lifeMilliseconds);
    return !m_emulator.showsAlternateScreen() && m_emulator.cursor().visible &&
           m_emulator.mouse() == TerminalMouse::none &&
           (!m_pausedAt.isValid() || m_pausedAt.msecsTo(m_clock()) >= settling);
}

/// Whether guessing can begin where the cursor is now.
bool TerminalLocalEcho::begin()
{
    const TerminalPoint place = m_emulator.cursor().position;
    if (!mayGuess() || !isBlankFrom(place))
        return false;
    const QString before = textBefore(place);
    if (m_echoingLine != place.line)
        m_prompt = before.trimmed();
    if (asksForSecret(before))
        return false;
    m_isEchoing = m_echoingLine == place.line || m_echoingPrompts.contains(m_prompt);
    m_next = place;
    return true;
}

void TerminalLocalEcho::guess(char32_t character)
{
    const int width = columnsOf(character);
    if ((!m_next && !begin()) || m_next->column + width >= m_emulator.size().columns) {
        pause();
        return;
    }
    Guess guess{*m_next, character, width, m_clock(), shownAt(*m_next), {}};
    for (const Guess &erased : m_erased) {
        if (erased.place == guess.place)
            guess.earlier << erased.earlier << asShown(textOf(erased.character));
    }
    m_guesses.push_back(guess);
    m_next->column += width;
    m_expiry.start();
}

void TerminalLocalEcho::erase()
{
    if (m_guesses.empty()) {
        pause();
        return;
    }
    m_next = m_guesses.back().place;
    m_erased.push_back(std::move(m_guesses.back()));
    m_guesses.pop_back();
}

void TerminalLocalEcho::pause()
{
    m_pausedAt = m_clock();
    drop();
}

void TerminalLocalEcho::drop()
{
    const bool wasShown = !cells().empty();
    m_guesses.clear();
    m_erased.clear();
    m_next.reset();
    m_expiry.stop();
    if (wasShown)
        emit changed();
}

void TerminalLocalEcho::confirm(const Guess &guess)
{
    m_delay = std::max<qint64>(guess.typedAt.msecsTo(m_clock()), 0);
    m_isEchoing = true;
    if (m_echoingLine == guess.place.line)
        return;
    m_echoingLine = guess.place.line;
    if (m_echoingPrompts.size() >= mostPrompts)
        m_echoingPrompts.clear();
    if (!m_prompt.isEmpty())
        m_echoingPrompts.insert(m_prompt);
}

/// The screen has changed.
void TerminalLocalEcho::compare()
{
    if (!m_next)
        return;
    const TerminalPoint cursor = m_emulator.cursor().position;
    if (m_emulator.showsAlternateScreen() || cursor.line != m_next->line) {
        pause();
        return;
    }
    while (!m_guesses.empty()) {
        const Guess &first = m_guesses.front();
        const QString shown = shownAt(first.place);
        const bool isPassed = cursor.column >= first.place.column + first.width;
        if (isPassed && shown == asShown(textOf(first.character))) {
            confirm(first);
            m_guesses.erase(m_guesses.begin());
        } else if (shown == first.before || first.earlier.contains(shown)) {
            break;
        } else {
            // A prompt that answers with stars has echoed nothing.
            m_echoingPrompts.remove(m_prompt);
            m_echoingLine.reset();
            pause();
            return;
        }
    }
    if (m_guesses.empty() && cursor == *m_next)
        drop();
    emit changed();
}

void TerminalLocalEcho::expire()
{
    const QDateTime now = m_clock();
    const auto isOld = [&now](const Guess &guess) { return guess.typedAt.msecsTo(now) >= lifeMilliseconds; };
    if (std::ranges::none_of(m_guesses, isOld) && std::ranges::none_of(m_erased, isOld))
        return;
    m_echoingPrompts.remove(m_prompt);
    m_echoingLine.reset();
    pause();
}

std::vector<std::pair<TerminalPoint, QString>> TerminalLocalEcho::cells() const
{
    std::vector<std::pair<TerminalPoint, QString>> shown;
    for (const Guess &guess : m_guesses) {
        if (m_isEchoing)
            shown.emplace_back(guess.place, textOf(guess.character));
    }
    return shown;
}

std::optional<TerminalPoint> TerminalLocalEcho::cursor() const
{
    return m_isEchoing && !m_guesses.empty() ? m_next : std::nullopt;
}

/// Empty where nothing is.
QString TerminalLocalEcho::shownAt(TerminalPoint place) const
{
    if (place.line < m_emulator.firstLine() || place.line >= m_emulator.endLine())
        return {};
    const auto cells = m_emulator.line(place.line);
    if (place.column >= int(cells.size()))
        return {};
    const TerminalCell cell = cells[std::size_t(place.column)];
    return cell.character == 0 ? QString() : asShown(m_emulator.text(cell));
}

QString TerminalLocalEcho::textBefore(TerminalPoint place) const
{
    return m_emulator.text(TerminalRange{{place.line, 0}, place});
}

bool TerminalLocalEcho::isBlankFrom(TerminalPoint place) const
{
    for (TerminalPoint next = place; next.column < m_emulator.size().columns; ++next.column) {
        if (!shownAt(next).isEmpty())
            return false;
    }
    return true;
}

} // namespace moorix
