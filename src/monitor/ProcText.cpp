// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/ProcText.h"

#include "base/FileDescriptor.h"

#include <QFile>

#include <cerrno>
#include <limits>

#include <fcntl.h>

namespace moorix::procText {

std::optional<QByteArrayView> read(int folder, const char *path, QByteArray &buffer, qsizetype mostBytes)
{
    // A path below a prepared root may be anything, a pipe for one.
    const FileDescriptor file(::openat(folder, path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen())
        return std::nullopt;
    constexpr qsizetype atFirst = 4096;
    if (buffer.size() < atFirst)
        buffer.resize(atFirst);
    qsizetype filled = 0;
    while (true) {
        const ssize_t count = ::read(file.value(), buffer.data() + filled, size_t(buffer.size() - filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        filled += count;
        if (count == 0 || filled >= mostBytes)
            return QByteArrayView(buffer.constData(), std::min(filled, mostBytes));
        if (filled == buffer.size())
            buffer.resize(buffer.size() * 2);
    }
}

QString readText(const QString &path)
{
    QByteArray buffer;
    constexpr qsizetype mostBytes = 4096;
    const auto content = read(AT_FDCWD, QFile::encodeName(path).constData(), buffer, mostBytes);
    return content ? QString::fromUtf8(*content).trimmed() : QString();
}

std::optional<qint64> readInteger(const QString &path)
{
    bool isRead = false;
    const qint64 value = readText(path).toLongLong(&isRead);
    return isRead ? std::optional(value) : std::nullopt;
}

QByteArrayView takeWord(QByteArrayView &text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    qsizetype begin = 0;
    while (begin < text.size() && isBlank(text[begin]))
        ++begin;
    qsizetype end = begin;
    while (end < text.size() && !isBlank(text[end]))
        ++end;
    const QByteArrayView word = text.sliced(begin, end - begin);
    text = text.sliced(end);
    return word;
}

QByteArrayView takeLine(QByteArrayView &text)
{
    const qsizetype end = text.indexOf('\n');
    const QByteArrayView line = end < 0 ? text : text.first(end);
    text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
    return line;
}

quint64 unsignedNumber(QByteArrayView word)
{
    constexpr quint64 most = std::numeric_limits<quint64>::max();
    constexpr quint64 base = 10;
    quint64 value = 0;
    for (const char c : word) {
        if (c < '0' || c > '9')
            break;
        const quint64 digit = quint64(c - '0');
        if (value > (most - digit) / base)
            return most;
        value = value * base + digit;
    }
    return value;
}

} // namespace moorix::procText
