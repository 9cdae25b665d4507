// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalKeys.h"

#include <QStringEncoder>

namespace moorix::TerminalKeys {

namespace {

constexpr char escape = '\x1b';

/// 1 without modifiers; what xterm puts behind the semicolon.
int modifierNumber(TerminalModifiers modifiers)
{
    return 1 + modifiers.shift + 2 * modifiers.alt + 4 * modifiers.control;
}

QByteArray withAlt(QByteArray bytes, TerminalModifiers modifiers)
{
    return modifiers.alt ? escape + bytes : bytes;
}

/// Keys that end in a letter: ESC [ A, ESC O A where the program asks for it, ESC [ 1 ; 5 A with modifiers.
QByteArray letterKey(char letter, bool application, TerminalModifiers modifiers)
{
    const int number = modifierNumber(modifiers);
    if (number > 1)
        return "\x1b[1;" + QByteArray::number(number) + letter;
    return QByteArray(application ? "\x1bO" : "\x1b[") + letter;
}

/// Keys with a number: ESC [ 3 ~, ESC [ 3 ; 5 ~.
QByteArray numberKey(int key, TerminalModifiers modifiers)
{
    const int number = modifierNumber(modifiers);
    return "\x1b[" + QByteArray::number(key) + (number > 1 ? ";" + QByteArray::number(number) : QByteArray()) + '~';
}

QByteArray functionKey(int index, TerminalModifiers modifiers)
{
    static constexpr int numbers[] = {15, 17, 18, 19, 20, 21, 23, 24};
    return index < 4 ? letterKey(char('P' + index), true, modifiers) : numberKey(numbers[index - 4], modifiers);
}

QByteArray keypadKey(TerminalKey key, TerminalModifiers modifiers, const TerminalModes &modes)
{
    const auto index = std::size_t(int(key) - int(TerminalKey::keypad0));
    if (modes.applicationKeypad) {
        constexpr std::string_view letters = "pqrstuvwxyjklmnoMX";
        return letterKey(letters[index], true, modifiers);
    }
    constexpr std::string_view plain = "0123456789*+,-./\r=";
    return withAlt(modes.newLine && plain[index] == '\r' ? QByteArray("\r\n") : QByteArray(1, plain[index]), modifiers);
}

/// The character that Control makes of another one, or -1.
int controlOf(char32_t character)
{
    if (character >= U'a' && character <= U'z')
        return int(character - U'a') + 1;
    if (character >= U'@' && character <= U'_')
        return int(character - U'@');
    switch (character) {
    case U' ':
    case U'2':
    case U'`':
        return 0;
    case U'3':
    case U'4':
    case U'5':
    case U'6':
    case U'7':
        return int(character - U'3') + 0x1B;
    case U'/':
        return 0x1F;
    case U'8':
    case U'?':
        return 0x7F;
    default:
        return -1;
    }
}

void appendMouseNumber(QByteArray &bytes, int number, TerminalModes::MouseBytes kind)
{
    if (kind == TerminalModes::MouseBytes::utf8)
        bytes += QString(QChar(char16_t(std::min(number + 32, 0x7FF)))).toUtf8();
    else
        bytes += char(std::min(number + 32, 0xFF));
}

} // namespace

QByteArray key(TerminalKey key, TerminalModifiers modifiers, const TerminalModes &modes)
{
    if (key >= TerminalKey::keypad0)
        return keypadKey(key, modifiers, modes);
    if (key >= TerminalKey::f1)
        return functionKey(int(key) - int(TerminalKey::f1), modifiers);
    switch (key) {
    case TerminalKey::enter:
        return withAlt(modes.newLine ? "\r\n" : "\r", modifiers);
    case TerminalKey::tab:
        return modifiers.shift ? withAlt("\x1b[Z", modifiers) : withAlt("\t", modifiers);
    case TerminalKey::backspace:
        return withAlt(modifiers.control ? "\b" : "\x7f", modifiers);
    case TerminalKey::escape:
        return withAlt("\x1b", modifiers);
    case TerminalKey::up:
        return letterKey('A', modes.applicationCursor, modifiers);
    case TerminalKey::down:
        return letterKey('B', modes.applicationCursor, modifiers);
    case TerminalKey::right:
        return letterKey('C', modes.applicationCursor, modifiers);
    case TerminalKey::left:
        return letterKey('D', modes.applicationCursor, modifiers);
    case TerminalKey::home:
        return letterKey('H', modes.applicationCursor, modifiers);
    case TerminalKey::end:
        return letterKey('F', modes.applicationCursor, modifiers);
    case TerminalKey::insert:
        return numberKey(2, modifiers);
    case TerminalKey::del:
        return numberKey(3, modifiers);
    case TerminalKey::pageUp:
        return numberKey(5, modifiers);
    case TerminalKey::pageDown:
        return numberKey(6, modifiers);
    default:
        return {};
    }
}

QByteArray character(char32_t character, TerminalModifiers modifiers)
{
    if (modifiers.control) {
        if (const int control = controlOf(character); control >= 0)
            return withAlt(QByteArray(1, char(control)), modifiers);
    }
    if (character == 0 || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
        return {};
    return withAlt(QString::fromUcs4(&character, 1).toUtf8(), modifiers);
}

QByteArray paste(const QString &text, const TerminalModes &modes)
{
    QString clean;
    clean.reserve(text.size());
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char16_t c = text[at].unicode();
        if (c == u'\n' && at > 0 && text[at - 1] == u'\r')
            continue;
        if (c == u'\n' || c == u'\r')
            clean += u'\r';
        else if (c == u'\t' || (c >= u' ' && c != 0x7F && !(c >= 0x80 && c < 0xA0)))
            clean += QChar(c);
    }
    const QByteArray bytes = clean.toUtf8();
    if (bytes.isEmpty() || !modes.bracketedPaste)
        return bytes;
    return "\x1b[200~" + bytes + "\x1b[201~";
}

QByteArray mouse(MouseEvent event, int button, int row, int column, TerminalModifiers modifiers,
                 const TerminalModes &modes)
{
    using Bytes = TerminalModes::MouseBytes;
    int code = button == 0 ? 3 : button < 4 ? button - 1 : 64 + button - 4;
    if (event == MouseEvent::release && modes.mouseBytes != Bytes::sgr)
        code = 3;
    if (event == MouseEvent::move)
        code += 32;
    code += 4 * modifiers.shift + 8 * modifiers.alt + 16 * modifiers.control;

    if (modes.mouseBytes == Bytes::sgr || modes.mouseBytes == Bytes::decimal) {
        const bool isSgr = modes.mouseBytes == Bytes::sgr;
        return QByteArray(isSgr ? "\x1b[<" : "\x1b[") + QByteArray::number(isSgr ? code : code + 32) + ';' +
               QByteArray::number(column + 1) + ';' + QByteArray::number(row + 1) +
               (isSgr && event == MouseEvent::release ? 'm' : 'M');
    }
    QByteArray bytes = "\x1b[M";
    for (const int number : {code, column + 1, row + 1})
        appendMouseNumber(bytes, number, modes.mouseBytes);
    return bytes;
}

} // namespace moorix::TerminalKeys
