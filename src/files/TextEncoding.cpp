// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/TextEncoding.h"

#include <QStringConverter>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

struct Form
{
    QStringConverter::Encoding converter;
    QLatin1StringView name;
    QByteArrayView mark = {};
    /// How many bytes its smallest character has.
    qsizetype unit = 1;
};

Form formOf(TextEncoding encoding)
{
    switch (encoding) {
    case TextEncoding::utf8:
        return {QStringConverter::Utf8, "UTF-8"_L1};
    case TextEncoding::utf8Marked:
        return {QStringConverter::Utf8, "UTF-8 with a mark"_L1, {"\xEF\xBB\xBF", 3}};
    case TextEncoding::utf16LittleEndian:
        return {QStringConverter::Utf16LE, "UTF-16 LE"_L1, {"\xFF\xFE", 2}, 2};
    case TextEncoding::utf16BigEndian:
        return {QStringConverter::Utf16BE, "UTF-16 BE"_L1, {"\xFE\xFF", 2}, 2};
    case TextEncoding::utf32LittleEndian:
        return {QStringConverter::Utf32LE, "UTF-32 LE"_L1, {"\xFF\xFE\0\0", 4}, 4};
    case TextEncoding::utf32BigEndian:
        return {QStringConverter::Utf32BE, "UTF-32 BE"_L1, {"\0\0\xFE\xFF", 4}, 4};
    case TextEncoding::latin1:
        return {QStringConverter::Latin1, "Latin-1"_L1};
    }
    return {};
}

TextEncoding marked(QStringConverter::Encoding converter)
{
    switch (converter) {
    case QStringConverter::Utf16LE:
        return TextEncoding::utf16LittleEndian;
    case QStringConverter::Utf16BE:
        return TextEncoding::utf16BigEndian;
    case QStringConverter::Utf32LE:
        return TextEncoding::utf32LittleEndian;
    case QStringConverter::Utf32BE:
        return TextEncoding::utf32BigEndian;
    default:
        return TextEncoding::utf8Marked;
    }
}

/// The mark is cut off before, so that one more at the beginning stays a character of the text.
constexpr QStringConverter::Flags decodingFlags =
    QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom;

std::optional<QString> decoded(QByteArrayView bytes, const Form &form)
{
    if (bytes.size() % form.unit != 0)
        return std::nullopt;
    // Bytes that break off within a character are an error, not the first part of a longer text.
    QStringDecoder decoder(form.converter, decodingFlags);
    QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

QString nameOf(TextEncoding encoding)
{
    return formOf(encoding).name;
}

std::optional<DecodedText> decodedText(const QByteArray &bytes)
{
    if (const auto mark = QStringConverter::encodingForData(bytes)) {
        const TextEncoding encoding = marked(*mark);
        const Form form = formOf(encoding);
        auto text = decoded(QByteArrayView(bytes).sliced(form.mark.size()), form);
        // Text in two or four bytes a character is full of zero bytes; that its characters are whole is all there is
        // to ask for.
        if (!text || (encoding == TextEncoding::utf8Marked && bytes.contains('\0')))
            return std::nullopt;
        return DecodedText{*std::move(text), encoding};
    }
    if (bytes.contains('\0'))
        return std::nullopt;
    if (auto text = decoded(bytes, formOf(TextEncoding::utf8)))
        return DecodedText{*std::move(text), TextEncoding::utf8};
    return DecodedText{QString::fromLatin1(bytes), TextEncoding::latin1};
}

std::optional<QString> decodedTextAs(const QByteArray &bytes, TextEncoding encoding)
{
    if (encoding == TextEncoding::latin1)
        return QString::fromLatin1(bytes);
    const Form form = formOf(encoding);
    const bool isMarked = !form.mark.isEmpty() && bytes.startsWith(form.mark);
    return decoded(QByteArrayView(bytes).sliced(isMarked ? form.mark.size() : 0), form);
}

std::optional<QByteArray> encodedText(const QString &text, TextEncoding encoding)
{
    // Qt's encoder puts question marks without a word.
    const auto isLatin1 = [](QChar c) { return c.unicode() <= 0xFF; };
    if (encoding == TextEncoding::latin1 && !std::ranges::all_of(text, isLatin1))
        return std::nullopt;
    const Form form = formOf(encoding);
    QStringEncoder encoder(form.converter, QStringConverter::Flag::Stateless);
    const QByteArray bytes = encoder(text);
    if (encoder.hasError())
        return std::nullopt;
    return form.mark.toByteArray() + bytes;
}

QString textOfUtf8(QByteArrayView bytes)
{
    return QStringDecoder(QStringConverter::Utf8, decodingFlags)(bytes);
}

} // namespace moorix
