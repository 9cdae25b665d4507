// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/NativePath.h"

#include <algorithm>

namespace moorix::NativePath {

namespace {

constexpr char16_t escapeBase = 0xDC00;

bool isEscapedByte(QChar unit)
{
    return unit.unicode() >= escapeBase + 0x80 && unit.unicode() <= escapeBase + 0xFF;
}

/// The length of the well-formed sequence that begins at `at`, or 0. Overlong forms and surrogates are malformed.
qsizetype sequenceLength(QByteArrayView bytes, qsizetype at, char32_t &codePoint)
{
    const auto byte = [&bytes](qsizetype index) { return static_cast<unsigned char>(bytes[index]); };
    const unsigned char lead = byte(at);
    const qsizetype length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
    if (length == 0 || at + length > bytes.size())
        return 0;
    codePoint = length == 1 ? lead : lead & (0xFFU >> (length + 1));
    for (qsizetype i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80)
            return 0;
        codePoint = (codePoint << 6) | (byte(at + i) & 0x3FU);
    }
    const bool isOverlong = (length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000);
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return isOverlong || isSurrogate || codePoint > 0x10FFFF ? 0 : length;
}

} // namespace

QString text(QByteArrayView bytes)
{
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return QString::fromLatin1(bytes);
    // Not QString::fromUtf8: it drops a leading U+FEFF, which may be part of a name.
    QString result;
    result.reserve(bytes.size());
    for (qsizetype at = 0; at < bytes.size();) {
        char32_t codePoint = 0;
        const qsizetype length = sequenceLength(bytes, at, codePoint);
        if (length == 0)
            result += QChar(static_cast<char16_t>(escapeBase + static_cast<unsigned char>(bytes[at])));
        else
            result += QChar::fromUcs4(codePoint);
        at += std::max<qsizetype>(length, 1);
    }
    return result;
}

QByteArray bytes(const QString &text)
{
    QByteArray result;
    result.reserve(text.size());
    qsizetype done = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            ++i;
        } else if (text.at(i).isSurrogate()) {
            result += QStringView(text).sliced(done, i - done).toUtf8();
            if (isEscapedByte(text.at(i)))
                result += static_cast<char>(text.at(i).unicode() - escapeBase);
            else
                result += "\xEF\xBF\xBD";
            done = i + 1;
        }
    }
    return result + QStringView(text).sliced(done).toUtf8();
}

bool isUnicode(const QString &text)
{
    return text.isValidUtf16();
}

} // namespace moorix::NativePath
