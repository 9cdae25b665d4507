// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/TextDecoding.h"

#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

std::optional<QString> decoded(const QByteArray &bytes, QStringConverter::Encoding encoding)
{
    QStringDecoder decoder(encoding);
    QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

std::optional<DecodedText> decodedText(const QByteArray &bytes)
{
    const auto marked = QStringConverter::encodingForData(bytes);
    const bool hasZeros = bytes.contains('\0');
    if (marked && *marked != QStringConverter::Utf8) {
        const auto text = decoded(bytes, *marked);
        const QString name = QString::fromLatin1(QStringConverter::nameForEncoding(*marked));
        return text ? std::optional(DecodedText{*text, name.left(6)}) : std::nullopt;
    }
    if (hasZeros)
        return std::nullopt;
    if (const auto text = decoded(bytes, QStringConverter::Utf8))
        return DecodedText{*text, marked ? u"UTF-8 with a mark"_s : u"UTF-8"_s};
    return DecodedText{QString::fromLatin1(bytes), u"Latin-1"_s};
}

} // namespace moorix
