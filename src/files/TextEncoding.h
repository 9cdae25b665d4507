// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>

namespace moorix {

/// How the bytes of a text file stand for characters. All but `utf8` and `latin1` begin with a mark that tells them.
enum class TextEncoding {
    utf8,
    utf8Marked,
    utf16LittleEndian,
    utf16BigEndian,
    utf32LittleEndian,
    utf32BigEndian,
    latin1
};
inline constexpr std::array textEncodings{
    TextEncoding::utf8,           TextEncoding::utf8Marked,        TextEncoding::utf16LittleEndian,
    TextEncoding::utf16BigEndian, TextEncoding::utf32LittleEndian, TextEncoding::utf32BigEndian,
    TextEncoding::latin1};

/// "UTF-8", "UTF-8 with a mark", "UTF-16 LE", "Latin-1".
QString nameOf(TextEncoding encoding);

/// The text of a file, without the mark of its encoding.
struct DecodedText
{
    QString text;
    TextEncoding encoding = TextEncoding::utf8;
};

/// Reads what begins with the mark of an encoding by that, and other bytes as UTF-8 or, where they are none, as
/// Latin-1, which any bytes are. Nothing for bytes that are no text: those with a zero byte, or not of their own mark's
/// encoding.
std::optional<DecodedText> decodedText(const QByteArray &bytes);

/// Reads bytes by an encoding that somebody chose, whose mark may be missing. Nothing where they are not of it.
std::optional<QString> decodedTextAs(const QByteArray &bytes, TextEncoding encoding);

/// The bytes of a file with that text, the encoding's mark first; `decodedText` reads them back as they were. Nothing
/// where the encoding has no bytes for one of the characters.
std::optional<QByteArray> encodedText(const QString &text, TextEncoding encoding);

/// All characters of UTF-8, also a mark at the beginning, which QString::fromUtf8 drops.
QString textOfUtf8(QByteArrayView bytes);

} // namespace moorix
