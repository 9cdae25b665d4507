// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/RemoteCharset.h"

#include "files/FileServiceError.h"
#include "files/NativePath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iconv.h>

namespace moorix {

namespace {

constexpr char16_t escapeBase = 0xDC00;
constexpr auto utf16 = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? "UTF-16LE" : "UTF-16BE";

/// One direction of the system's conversion. One thread.
class Converter final
{
public:
    Converter(const char *to, const char *from)
        : m_handle(::iconv_open(to, from))
    {
    }
    ~Converter()
    {
        if (isOpen())
            ::iconv_close(m_handle);
    }
    Q_DISABLE_COPY_MOVE(Converter)

    bool isOpen() const { return m_handle != iconv_t(-1); }

    /// Converts from the front of `rest`, which becomes what could not be converted, as far as it can.
    QByteArray convert(QByteArrayView &rest)
    {
        QByteArray result;
        std::array<char, 1024> buffer{};
        ::iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
        bool isFull = !rest.isEmpty();
        while (isFull) {
            // The call's type has no const, but it leaves its input alone.
            char *in = const_cast<char *>(rest.data());
            size_t inLeft = size_t(rest.size());
            char *out = buffer.data();
            size_t outLeft = buffer.size();
            isFull = ::iconv(m_handle, &in, &inLeft, &out, &outLeft) == size_t(-1) && errno == E2BIG;
            result.append(buffer.data(), qsizetype(buffer.size() - outLeft));
            rest = rest.last(qsizetype(inLeft));
        }
        return result;
    }

private:
    iconv_t m_handle;
};

bool isUtf8(const QString &name)
{
    return name.compare(QStringLiteral("UTF-8"), Qt::CaseInsensitive) == 0 ||
           name.compare(QStringLiteral("UTF8"), Qt::CaseInsensitive) == 0;
}

QString escaped(char byte)
{
    return QString(QChar(static_cast<char16_t>(escapeBase + static_cast<unsigned char>(byte))));
}

bool isEscape(const QString &text, qsizetype at)
{
    const char16_t unit = text.at(at).unicode();
    const bool isPair = at > 0 && text.at(at - 1).isHighSurrogate();
    return unit >= escapeBase + 0x80 && unit <= escapeBase + 0xFF && !isPair;
}

bool isAscii(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

RemoteCharset::RemoteCharset(const QString &name)
    : m_name(name)
{
    if (isUtf8(name))
        return;
    const QByteArray converter = name.toLatin1();
    const bool isKnown = !name.isEmpty() && QString::fromLatin1(converter) == name && !converter.contains('/') &&
                         Converter(utf16, converter.constData()).isOpen();
    if (!isKnown) {
        throw FileServiceError::connectionFailed(
            QStringLiteral("the character set “%1” is not known. UTF-8 is right for almost every server.").arg(name));
    }
    m_converterName = converter;
    const QByteArray plain("/.-_ AZaz09");
    QByteArrayView rest(plain);
    const QByteArray converted = Converter(utf16, converter.constData()).convert(rest);
    const QString text(reinterpret_cast<const QChar *>(converted.constData()), converted.size() / 2);
    if (text != QString::fromLatin1(plain)) {
        throw FileServiceError::connectionFailed(
            QStringLiteral("the character set “%1” cannot be used for names on a server.").arg(name));
    }
}

QString RemoteCharset::decode(QByteArrayView bytes) const
{
    if (!m_converterName)
        return NativePath::text(bytes);
    if (isAscii(bytes))
        return QString::fromLatin1(bytes);
    Converter converter(utf16, m_converterName->constData());
    QString text;
    QByteArrayView rest = bytes;
    while (!rest.isEmpty()) {
        const QByteArray converted = converter.convert(rest);
        text += QString(reinterpret_cast<const QChar *>(converted.constData()), converted.size() / 2);
        if (!rest.isEmpty()) {
            text += escaped(rest.front());
            rest = rest.sliced(1);
        }
    }
    // Some sets have two ways to write one character; only the exact bytes reach the entry.
    if (encode(text) == bytes.toByteArray())
        return text;
    QString exact;
    for (const char byte : bytes)
        exact += static_cast<unsigned char>(byte) < 0x80 ? QString(QLatin1Char(byte)) : escaped(byte);
    return exact;
}

std::optional<QByteArray> RemoteCharset::encode(const QString &text) const
{
    QByteArray bytes;
    qsizetype done = 0;
    const auto encodeUpTo = [&](qsizetype end) {
        const QStringView part = QStringView(text).sliced(done, end - done);
        if (!part.isValidUtf16())
            return false;
        if (!m_converterName) {
            bytes += part.toUtf8();
            return true;
        }
        QByteArrayView rest(reinterpret_cast<const char *>(part.data()), part.size() * 2);
        bytes += Converter(m_converterName->constData(), utf16).convert(rest);
        return rest.isEmpty();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isEscape(text, i))
            continue;
        if (!encodeUpTo(i))
            return std::nullopt;
        bytes += static_cast<char>(text.at(i).unicode() - escapeBase);
        done = i + 1;
    }
    return encodeUpTo(text.size()) ? std::optional(bytes) : std::nullopt;
}

} // namespace moorix
